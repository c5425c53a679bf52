// Handle life cycle, grow-only scratch buffer and output configuration.
#include <cstdlib>

#include "core/formats.hpp"
#include "core/report.hpp"
#include "zelvora.h"

using zel::fail;

extern "C" {

ZEL_API void zelInit(ZelHandle* handle) {
    handle->outputFormat = ZEL_PIX_BGR8;
    handle->presets[0].values[0] = 12;
    handle->presets[0].values[1] = 1;
    handle->presets[0].values[2] = 0;
    handle->presets[1].values[0] = 8;
    handle->presets[1].values[1] = 1;
    handle->presets[1].values[2] = 0;
    handle->presets[2].values[0] = 8;
    handle->presets[2].values[1] = 1;  // the third word of the third triple is left as it is
    // A buffer the handle may already hold is deliberately not released here:
    // resetting a handle that has demosaiced a frame forgets its scratch.
    handle->scratch.data = nullptr;
    handle->scratch.capacity = 0;
}

ZEL_API int32_t zelCreate(ZelHandle** handle) {
    if (handle == nullptr) return fail(13, errInvalidParameter);
    *handle = static_cast<ZelHandle*>(std::malloc(sizeof(ZelHandle)));
    if (*handle == nullptr) return fail(20, errNoMemory);
    (*handle)->spare[0] = 0;
    (*handle)->spare[1] = 0;
    zelInit(*handle);
    return ZEL_OK;
}

ZEL_API int32_t zelRelease(ZelHandle** handle) {
    if (handle == nullptr) return fail(41, errInvalidParameter);
    // The handle itself is not checked; a null one simply has nothing to release.
    if (ZelHandle* h = *handle) {
        std::free(h->scratch.data);
        h->scratch.data = nullptr;
        h->scratch.capacity = 0;
        std::free(h);
    }
    *handle = nullptr;
    return ZEL_OK;
}

ZEL_API int32_t zelMemRealloc(ZelScratch* scratch, int32_t size) {
    if (scratch->capacity >= size) return ZEL_OK;  // grow-only; sizes <= 0 never allocate
    // The old buffer goes first and its contents are not kept, so a failed
    // request leaves the scratch empty.
    std::free(scratch->data);
    scratch->capacity = 0;
    scratch->data = static_cast<uint8_t*>(std::malloc(static_cast<size_t>(size)));
    if (scratch->data == nullptr) return fail(42, errNoMemory);
    scratch->capacity = size;
    return ZEL_OK;
}

ZEL_API int32_t zelDemosaicGetConfig(ZelHandle* handle, ZelPixelType* format) {
    if (format == nullptr || handle == nullptr) return fail(52, errInvalidParameter);
    *format = handle->outputFormat;
    return ZEL_OK;
}

ZEL_API int32_t zelDemosaicSetConfig(ZelHandle* handle, const ZelPixelType* format) {
    if (format == nullptr || handle == nullptr) return fail(70, errInvalidParameter);
    if (!zel::isOutputFormat(*format)) return fail(74, errUnsupportedOutput);
    handle->outputFormat = *format;
    return ZEL_OK;
}

}  // extern "C"
