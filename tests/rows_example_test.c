/* The README's threading example, compiled as it stands there, gives the
 * bytes of one zelDemosaicing call for every method. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "rows_example.c"

int main(void) {
    enum { H = 97, W = 61 };
    static uint8_t raw[H * W], copy[H * W], threaded[H * W * 3], whole[H * W * 3];
    for (int i = 0; i < H * W; ++i) raw[i] = (uint8_t)(i * 2654435761u >> 13);
    for (int32_t method = 0; method < 3; ++method) {
        memcpy(copy, raw, sizeof raw);
        const ZelImage in = {H, W, ZEL_PIX_BAYER_GR8, raw, W};
        ZelImage wholeIn = in, out = {0, 0, 0, whole, 0};
        wholeIn.data = copy;
        ZelHandle* handle = NULL;
        if (zelCreate(&handle) != 0 || zelDemosaicing(handle, &wholeIn, method, &out) != 0) return 1;
        zelRelease(&handle);
        if (convertOnThreads(&in, threaded, method) != 0) return 2;
        if (memcmp(threaded, whole, sizeof whole) != 0) {
            printf("method %d: threaded bands differ from the whole frame\n", (int)method);
            return 3;
        }
    }
    return 0;
}
