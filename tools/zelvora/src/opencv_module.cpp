// zelvora-opencv.so: OpenCV's Bayer conversions for `zelvora bench`.
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include "opencv_module.hpp"

namespace {

// OpenCV names a Bayer pattern by its second row's second and third pixels:
// its "BG" codes are for data whose first row starts R G, as here.
int convert(const void* mosaic, int width, int height, int sixteenBits, int edgeAware, void* bgr) {
    try {
        cv::setNumThreads(1);
        const int type = sixteenBits != 0 ? CV_16UC1 : CV_8UC1;
        const cv::Mat src(height, width, type, const_cast<void*>(mosaic));
        cv::Mat dst(height, width, sixteenBits != 0 ? CV_16UC3 : CV_8UC3, bgr);
        cv::cvtColor(src, dst, edgeAware != 0 ? cv::COLOR_BayerBG2BGR_EA : cv::COLOR_BayerBG2BGR);
        return dst.data == bgr ? 0 : -1;
    } catch (const cv::Exception&) {
        return -1;
    }
}

}  // namespace

extern "C" __attribute__((visibility("default"))) const ZelvoraOpenCvModule zelvoraOpenCvModule{CV_VERSION, convert};
