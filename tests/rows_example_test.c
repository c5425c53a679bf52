/* The README's threading example, compiled as it stands there, gives the
 * bytes of one zelDemosaicing call for every method, on plain, padded and
 * 16-bit rows; the whole-frame call goes through a handle configured and
 * released as a C caller does it. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "rows_example.c"

int main(void) {
    enum { H = 97, W = 61 };
    static uint8_t raw[H * 2 * W], copy[H * 2 * W], threaded[H * W * 3], whole[H * W * 3];
    const ZelImage frames[3] = {{H, W, ZEL_PIX_BAYER_GR8, raw, W},
                                {H, W - 5, ZEL_PIX_BAYER_RG8, raw, W},
                                {H, W - 1, ZEL_PIX_BAYER_GB10, raw, 2 * W}};
    const ZelPixelType layout = ZEL_PIX_BGR8;
    int32_t method;
    int i, f;
    for (i = 0; i < H * 2 * W; ++i) raw[i] = (uint8_t)(i * 2654435761u >> 13);
    for (f = 0; f < 3; ++f)
        for (method = 0; method < 3; ++method) {
            const ZelImage in = frames[f];
            ZelImage wholeIn = in, out = {0, 0, 0, whole, 0};
            ZelHandle* handle = NULL;
            memcpy(copy, raw, sizeof raw); /* the whole-frame call may pack padded 8-bit rows in place */
            wholeIn.data = copy;
            if (zelCreate(&handle) != ZEL_OK || zelDemosaicSetConfig(handle, &layout) != ZEL_OK) return 1;
            if (zelDemosaicing(handle, &wholeIn, method, &out) != ZEL_OK || out.pixelFormat != ZEL_PIX_BGR8) return 2;
            if (zelRelease(&handle) != ZEL_OK || handle != NULL) return 3;
            if (convertOnThreads(&in, threaded, method) != 0) return 4;
            if (memcmp(threaded, whole, (size_t)in.height * in.width * 3) != 0) {
                printf("frame %d, method %d: threaded bands differ from the whole frame\n", f, (int)method);
                return 5;
            }
        }
    return 0;
}
