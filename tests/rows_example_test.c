/* The README's threading example, compiled as it stands there, gives the
 * bytes of one zelDemosaicing call for every method; the whole-frame call
 * goes through a handle configured and released as a C caller does it. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "rows_example.c"

int main(void) {
    enum { H = 97, W = 61 };
    static uint8_t raw[H * W], copy[H * W], threaded[H * W * 3], whole[H * W * 3];
    const ZelPixelType layout = ZEL_PIX_BGR8;
    int32_t method;
    int i;
    for (i = 0; i < H * W; ++i) raw[i] = (uint8_t)(i * 2654435761u >> 13);
    for (method = 0; method < 3; ++method) {
        const ZelImage in = {H, W, ZEL_PIX_BAYER_GR8, raw, W};
        ZelImage wholeIn = in, out = {0, 0, 0, whole, 0};
        ZelHandle* handle = NULL;
        memcpy(copy, raw, sizeof raw);
        wholeIn.data = copy;
        if (zelCreate(&handle) != ZEL_OK || zelDemosaicSetConfig(handle, &layout) != ZEL_OK) return 1;
        if (zelDemosaicing(handle, &wholeIn, method, &out) != ZEL_OK || out.pixelFormat != ZEL_PIX_BGR8) return 2;
        if (zelRelease(&handle) != ZEL_OK || handle != NULL) return 3;
        if (convertOnThreads(&in, threaded, method) != 0) return 4;
        if (memcmp(threaded, whole, sizeof whole) != 0) {
            printf("method %d: threaded bands differ from the whole frame\n", (int)method);
            return 5;
        }
    }
    return 0;
}
