/* The public header as a C99 program sees it: create a handle, configure it
 * and demosaic a small frame through the shared library. */
#include <stdio.h>
#include <string.h>

#include "zelvora.h"

int main(void) {
    ZelHandle* handle = NULL;
    ZelPixelType format = ZEL_PIX_RGB8;
    uint8_t raw[8 * 8];
    uint8_t out[8 * 8 * 3];
    ZelImage in;
    ZelImage result;
    int32_t status;

    memset(raw, 100, sizeof raw);
    in.height = 8;
    in.width = 8;
    in.pixelFormat = ZEL_PIX_BAYER_RG8;
    in.data = raw;
    in.stride = 8;
    result = in;
    result.data = out;

    if (zelCreate(&handle) != ZEL_OK) return 1;
    if (zelDemosaicSetConfig(handle, &format) != ZEL_OK) return 2;
    status = zelDemosaicing(handle, &in, ZEL_DEMOSAIC_NEAREST, &result);
    if (status != ZEL_OK || result.pixelFormat != ZEL_PIX_RGB8) return 3;
    if (out[0] != 100 || out[sizeof out - 1] != 100) return 4;
    if (zelRelease(&handle) != ZEL_OK || handle != NULL) return 5;
    printf("C99 client ok\n");
    return 0;
}
