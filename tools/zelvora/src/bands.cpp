#include "bands.hpp"

#include <pthread.h>
#include <sched.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>

namespace zelvora {
namespace {

// How long a thread polls a word before it sleeps on it: longer than a frame
// of the usual sizes takes to go round, far shorter than writing a picture.
constexpr std::chrono::microseconds kSpinTime{1000};

void relax() {
#if defined(__x86_64__) || defined(__i386__)
    __builtin_ia32_pause();
#elif defined(__arm__) || defined(__aarch64__)
    asm volatile("yield");
#endif
}

// The first value of word that `done` accepts: polled for a while when spin
// is set, then slept on.
template <typename T, typename Done>
T await(const std::atomic<T>& word, Done done, bool spin) {
    T value = word.load(std::memory_order_acquire);
    if (spin) {
        const auto until = std::chrono::steady_clock::now() + kSpinTime;
        for (int polls = 1; !done(value); ++polls) {
            relax();
            if (polls % 64 == 0 && std::chrono::steady_clock::now() > until) break;
            value = word.load(std::memory_order_acquire);
        }
    }
    while (!done(value)) {
        word.wait(value, std::memory_order_acquire);
        value = word.load(std::memory_order_acquire);
    }
    return value;
}

// Ties the calling thread to one core.
bool pinTo(int cpu) {
    cpu_set_t set;
    CPU_ZERO(&set);
    CPU_SET(cpu, &set);
    return pthread_setaffinity_np(pthread_self(), sizeof set, &set) == 0;
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
    // Polling threads must never share a core: one would hold off the other
    // it waits for, and a thread woken on a busy machine is often queued on
    // its waker's core. With a core for each thread, the caller's thread
    // stays on the core it runs on and each worker is tied to one of the
    // following cores the caller may use, and they poll; otherwise they only
    // sleep and wake.
    std::vector<int> cpus;
    if (this->threads() > 1 && pthread_getaffinity_np(pthread_self(), sizeof callerCpus_, &callerCpus_) == 0) {
        for (int cpu = 0; cpu < CPU_SETSIZE; ++cpu)
            if (CPU_ISSET(cpu, &callerCpus_)) cpus.push_back(cpu);
    }
    const auto here = std::find(cpus.begin(), cpus.end(), sched_getcpu());
    if (here != cpus.end()) std::rotate(cpus.begin(), here, cpus.end());
    pinned_ = this->threads() > 1 && this->threads() <= static_cast<int>(cpus.size()) && pinTo(cpus[0]);
    // Thread 0 is the caller's, every other one a worker. The workers start
    // with every signal blocked, so that signals reach the caller's thread
    // only: it holds them off while it makes a temporary file and lists it
    // for removal.
    sigset_t all;
    sigset_t saved;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, &saved);
    for (int thread = 1; thread < this->threads(); ++thread) {
        const int cpu = pinned_ ? cpus[static_cast<size_t>(thread)] : -1;
        workers_.emplace_back([this, thread, cpu] {
            // A worker that cannot be tied to its core sleeps between frames.
            work(thread, cpu < 0 || pinTo(cpu));
        });
    }
    pthread_sigmask(SIG_SETMASK, &saved, nullptr);
}

BandRunner::~BandRunner() {
    stopping_ = true;
    generation_.fetch_add(1, std::memory_order_release);
    generation_.notify_all();
    for (std::thread& worker : workers_) worker.join();
    if (pinned_) pthread_setaffinity_np(pthread_self(), sizeof callerCpus_, &callerCpus_);
}

int32_t BandRunner::setLayout(ZelPixelType code) {
    passed_ = false;
    for (const auto& handle : handles_)
        if (const int32_t status = zelDemosaicSetConfig(handle->get(), &code); status != ZEL_OK) return status;
    return ZEL_OK;
}

int BandRunner::bandCount(int32_t height) const {
    return std::max(1, std::min(threads() * kBandsPerThread, height / kLeastBandRows));
}

int32_t BandRunner::runBand(int thread, int band) {
    // Rows split as evenly as they go; each thread writes through its own
    // output record, so that no two threads write the same memory.
    if (band == done_) return ZEL_OK;
    const int64_t height = in_->height;
    const auto first = static_cast<int32_t>(height * band / bands_);
    const auto end = static_cast<int32_t>(height * (band + 1) / bands_);
    return zelDemosaicingRows(handles_[thread]->get(), in_, method_, &records_[thread], first, end - first);
}

int32_t BandRunner::runBands(int thread) {
    int32_t status = ZEL_OK;
    for (int band = next_.fetch_add(1, std::memory_order_relaxed); band < bands_;
         band = next_.fetch_add(1, std::memory_order_relaxed)) {
        const int32_t bandStatus = runBand(thread, band);
        if (status == ZEL_OK) status = bandStatus;
    }
    return status;
}

void BandRunner::work(int thread, bool pinned) {
    uint32_t seen = 0;
    for (;;) {
        seen = await(generation_, [seen](uint32_t now) { return now != seen; }, pinned_ && pinned);
        if (stopping_) return;
        statuses_[thread] = runBands(thread);
        if (pending_.fetch_sub(1, std::memory_order_acq_rel) == 1) pending_.notify_one();
    }
}

int32_t BandRunner::demosaic(const ZelImage& in, int32_t method, ZelImage& out) {
    in_ = &in;
    method_ = method;
    out_ = out;
    bands_ = bandCount(in.height);
    done_ = -1;
    for (ZelImage& record : records_) record = out;
    // Every check of the library is a check of the whole frame, so all bands
    // pass or fail alike. A frame unlike the last one that passed runs its
    // last band alone first: a refusal is then printed once, and the other
    // bands are not started.
    const Shape shape{in.height, in.width, in.pixelFormat, in.stride, method};
    const bool known = passed_ && shape == shape_;
    if (!known) {
        if (const int32_t status = runBand(0, bands_ - 1); status != ZEL_OK) return status;
        done_ = bands_ - 1;
    }
    // The frame above is published by the release of the new generation.
    // The caller's thread takes band 0, so that its record is always filled,
    // and then, like every worker, the next band nobody has taken, until
    // none is left: a thread slowed down by other work does fewer.
    next_.store(1, std::memory_order_relaxed);
    pending_.store(threads() - 1, std::memory_order_relaxed);
    generation_.fetch_add(1, std::memory_order_release);
    generation_.notify_all();
    const int32_t first = runBand(0, 0);
    const int32_t rest = runBands(0);
    statuses_[0] = first != ZEL_OK ? first : rest;
    await(pending_, [](int32_t left) { return left == 0; }, pinned_);
    for (const int32_t status : statuses_) {
        if (status != ZEL_OK) return status;
    }
    passed_ = true;
    shape_ = shape;
    out = records_[0];
    return ZEL_OK;
}

}  // namespace zelvora
