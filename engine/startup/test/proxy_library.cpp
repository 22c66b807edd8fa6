// A proxy library that tells through the environment which of its entries was called.
#include <cstdlib>

extern "C" {
__attribute__((visibility("default"))) int DllRegisterServer() {
    ::setenv("PROXY_LIBRARY_CALLED", "DllRegisterServer", 1);
    return 1;
}
}
