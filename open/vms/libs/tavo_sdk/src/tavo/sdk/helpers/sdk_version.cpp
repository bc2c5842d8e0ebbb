#include <tavo/sdk/exports.h>

const char* tavoSdkVersion()
{
    return "6.1.3 R1";
}
