// What the system tells the library of the threads of its process.

#include <openssl/crypto.h>
#include <windows.h>

// What OpenSSL keeps for a thread, some kilobytes, would stay for good: linked into the library, it
// is not told itself that a thread has ended, and most of those that call the library are the
// host's.
extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD event, LPVOID)
{
    if (event == DLL_THREAD_DETACH)
        OPENSSL_thread_stop();
    return TRUE;
}
