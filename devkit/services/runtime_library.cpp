// A runtime as a package brings it: the library that the manager's folder must hold.

extern "C" __attribute__((visibility("default"))) const char* orlixRuntimeName()
{
    return ORLIX_RUNTIME_NAME;
}
