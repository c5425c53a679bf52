// The library prints its check numbers on standard output; the library
// targets send them to /dev/null so that libFuzzer's report stands alone.
#include <cstdio>

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    if (std::freopen("/dev/null", "w", stdout) == nullptr) std::perror("/dev/null");
    return 0;
}
