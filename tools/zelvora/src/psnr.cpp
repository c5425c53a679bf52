#include "psnr.hpp"

#include <cmath>
#include <limits>

namespace zelvora {

double psnr(std::span<const uint8_t> picture, std::span<const uint8_t> reference, double peak) {
    double sum = 0;
    for (size_t i = 0; i < picture.size(); ++i) {
        const double d = static_cast<double>(picture[i]) - static_cast<double>(reference[i]);
        sum += d * d;
    }
    if (sum == 0 || picture.empty()) return std::numeric_limits<double>::infinity();
    const double mse = sum / static_cast<double>(picture.size());
    return 10.0 * std::log10(peak * peak / mse);
}

}  // namespace zelvora
