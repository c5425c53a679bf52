// The optional OpenCV comparison module of `zelvora bench`: a small shared
// object built only when OpenCV is found, loaded at run time, so that the
// zelvora program itself never depends on OpenCV.
#pragma once

#include <cstdint>

extern "C" {

// What the module exports under the name "zelvoraOpenCvModule".
struct ZelvoraOpenCvModule {
    const char* version;  // OpenCV's version string
    // One cv::cvtColor of an RG-order mosaic (8 or 16-bit samples, rows packed)
    // into 3 x width x height B, G, R samples of the same depth; edgeAware
    // picks the edge-aware conversion. Returns 0, or -1 when OpenCV throws.
    int (*convert)(const void* mosaic, int width, int height, int sixteenBits, int edgeAware, void* bgr);
};

}
