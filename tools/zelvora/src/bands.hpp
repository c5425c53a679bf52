// One frame demosaiced on several threads: the frame is cut into a few bands
// of rows per thread, and each thread runs zelDemosaicingRows with its own
// handle on the next band nobody has taken. The workers live as long as the
// runner, so a frame costs a wake-up rather than a thread start. When every
// thread can have a core of its own, the caller's thread and each worker are
// tied to one for the runner's life, and between frames that follow closely
// they poll for the next one instead of sleeping, which would cost a wake-up
// too.
#pragma once

#include <sched.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <thread>
#include <vector>

#include "args.hpp"
#include "library.hpp"

namespace zelvora {

// The number of online cores, at least 1: the default of --threads.
int onlineCores();
// --threads: a positive count up to kMaxThreads, or onlineCores().
inline constexpr int kMaxThreads = 256;
int threadsFrom(const Args& args);

class BandRunner {
public:
    explicit BandRunner(int threads);  // 1 runs every band on the caller's thread
    ~BandRunner();  // gives the caller's thread its cores back
    BandRunner(const BandRunner&) = delete;
    BandRunner& operator=(const BandRunner&) = delete;

    int threads() const { return static_cast<int>(handles_.size()); }
    // Every handle's output layout; the first failing status.
    int32_t setLayout(ZelPixelType code);
    // The whole frame into out (filled as zelDemosaicing fills it). Returns
    // the first band's failing status, or 0. What the library prints goes to
    // standard output from whichever thread fails (a Diagnostics run around
    // this call catches it).
    int32_t demosaic(const ZelImage& in, int32_t method, ZelImage& out);

private:
    // Bands per thread, and the fewest rows of a band: enough bands to even
    // out threads slowed down by other work, few enough that cutting costs
    // next to nothing.
    static constexpr int kBandsPerThread = 2;
    static constexpr int32_t kLeastBandRows = 8;
    int bandCount(int32_t height) const;
    void work(int thread, bool pinned);
    int32_t runBand(int thread, int band);
    int32_t runBands(int thread);  // until none is left; the first failing status

    std::vector<std::unique_ptr<Handle>> handles_;
    std::vector<std::thread> workers_;
    // Each thread tied to a core of its own; the cores the caller could use.
    bool pinned_ = false;
    cpu_set_t callerCpus_{};
    // Bumped for every frame (and to stop); the workers still on the frame;
    // the next band to take. Each on its own cache line: the workers poll the
    // first, the caller the second, and every thread takes from the third.
    alignas(64) std::atomic<uint32_t> generation_{0};
    alignas(64) std::atomic<int32_t> pending_{0};
    alignas(64) std::atomic<int> next_{0};
    alignas(64) bool stopping_ = false;
    // The frame in hand, its bands, and one already run (-1: none).
    const ZelImage* in_ = nullptr;
    int bands_ = 1;
    int done_ = -1;
    int32_t method_ = 0;
    ZelImage out_{};
    // By thread: the first failing status, and the output record it fills.
    std::vector<int32_t> statuses_;
    std::vector<ZelImage> records_;
    // The last frame that passed the library's checks.
    struct Shape {
        int32_t height, width;
        uint32_t pixelFormat;
        int32_t stride, method;
        bool operator==(const Shape&) const = default;
    };
    bool passed_ = false;
    Shape shape_{};
};

}  // namespace zelvora
