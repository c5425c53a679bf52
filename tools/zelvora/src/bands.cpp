#include "bands.hpp"

#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>

namespace zelvora {
namespace {

// How long a thread polls a word before it sleeps on it: longer than a frame
// of the usual sizes takes to go round, far shorter than writing a picture.
// Polling yields the core at every turn: on a busy machine the thread the
// poller waits for may be queued behind it on the same core.
constexpr std::chrono::microseconds kSpinTime{1000};

// The first value of word that `done` accepts: polled for a while when spin
// is set, then slept on.
template <typename T, typename Done>
T await(const std::atomic<T>& word, Done done, bool spin) {
    T value = word.load(std::memory_order_acquire);
    if (spin) {
        const auto until = std::chrono::steady_clock::now() + kSpinTime;
        while (!done(value) && std::chrono::steady_clock::now() < until) {
            std::this_thread::yield();
            value = word.load(std::memory_order_acquire);
        }
    }
    while (!done(value)) {
        word.wait(value, std::memory_order_acquire);
        value = word.load(std::memory_order_acquire);
    }
    return value;
}

}  // namespace

int onlineCores() {
    const long cores = sysconf(_SC_NPROCESSORS_ONLN);
    return cores > 0 ? static_cast<int>(cores) : 1;
}

int threadsFrom(const Args& args) {
    const auto text = args.value("threads");
    return text ? static_cast<int>(parsePositive(*text, "threads", kMaxThreads)) : std::min(onlineCores(), kMaxThreads);
}

BandRunner::BandRunner(int threads) : statuses_(threads > 1 ? threads : 1), records_(statuses_.size()) {
    for (size_t i = 0; i < statuses_.size(); ++i) handles_.push_back(std::make_unique<Handle>());
    spin_ = this->threads() <= onlineCores();
    // Band 0 runs on the caller's thread, every other band on a worker. The
    // workers start with every signal blocked, so that signals reach the
    // caller's thread only: it holds them off while it makes a temporary
    // file and lists it for removal.
    sigset_t all;
    sigset_t saved;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, &saved);
    for (int band = 1; band < this->threads(); ++band) workers_.emplace_back([this, band] { work(band); });
    pthread_sigmask(SIG_SETMASK, &saved, nullptr);
}

BandRunner::~BandRunner() {
    stopping_ = true;
    generation_.fetch_add(1, std::memory_order_release);
    generation_.notify_all();
    for (std::thread& worker : workers_) worker.join();
}

int32_t BandRunner::setLayout(ZelPixelType code) {
    passed_ = false;
    for (const auto& handle : handles_)
        if (const int32_t status = zelDemosaicSetConfig(handle->get(), &code); status != ZEL_OK) return status;
    return ZEL_OK;
}

int32_t BandRunner::runBand(int band) {
    // Rows split as evenly as they go; each band writes through its own
    // output record, so that no two threads write the same memory.
    const int64_t height = in_->height;
    const auto first = static_cast<int32_t>(height * band / threads());
    const auto end = static_cast<int32_t>(height * (band + 1) / threads());
    if (band == done_) return ZEL_OK;
    records_[band] = out_;
    if (end == first && band != threads() - 1) return ZEL_OK;  // more threads than rows
    return zelDemosaicingRows(handles_[band]->get(), in_, method_, &records_[band], first, end - first);
}

void BandRunner::work(int band) {
    uint32_t seen = 0;
    for (;;) {
        seen = await(generation_, [seen](uint32_t now) { return now != seen; }, spin_);
        if (stopping_) return;
        statuses_[band] = runBand(band);
        if (pending_.fetch_sub(1, std::memory_order_acq_rel) == 1) pending_.notify_one();
    }
}

int32_t BandRunner::demosaic(const ZelImage& in, int32_t method, ZelImage& out) {
    in_ = &in;
    method_ = method;
    out_ = out;
    done_ = -1;
    // Every check of the library is a check of the whole frame, so all bands
    // pass or fail alike. A frame unlike the last one that passed runs its
    // last band alone first: a refusal is then printed once, and the other
    // bands are not started.
    const Shape shape{in.height, in.width, in.pixelFormat, in.stride, method};
    const int last = threads() - 1;
    const bool known = passed_ && shape == shape_;
    if (!known) {
        if (const int32_t status = runBand(last); status != ZEL_OK) return status;
        done_ = last;
    }
    // The frame above is published by the release of the new generation.
    pending_.store(threads() - 1, std::memory_order_relaxed);
    generation_.fetch_add(1, std::memory_order_release);
    generation_.notify_all();
    statuses_[0] = runBand(0);
    await(pending_, [](int32_t left) { return left == 0; }, spin_);
    for (int band = 0; band < threads(); ++band) {
        if (statuses_[band] != ZEL_OK) return statuses_[band];
    }
    passed_ = true;
    shape_ = shape;
    out = records_[last];
    return ZEL_OK;
}

}  // namespace zelvora
