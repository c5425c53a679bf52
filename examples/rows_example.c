#include <pthread.h>
#include <stdint.h>
#include <zelvora.h>

/* One frame on THREADS threads, one band of rows each. Every thread has its
 * own handle and its own output record; they share the input and the output
 * buffer, of which each writes only its own rows. */
enum { THREADS = 4 };

typedef struct Band {
    const ZelImage* in;
    ZelImage out;
    int32_t method, firstRow, rowCount, status;
} Band;

static void* runBand(void* arg) {
    Band* b = (Band*)arg;
    ZelHandle* handle = NULL;
    b->status = zelCreate(&handle);
    if (b->status == 0)
        b->status = zelDemosaicingRows(handle, b->in, b->method, &b->out, b->firstRow, b->rowCount);
    zelRelease(&handle);
    return NULL;
}

/* in: a raw frame of at least THREADS rows; out: its whole BGR8 buffer. */
int32_t convertOnThreads(const ZelImage* in, uint8_t* out, int32_t method) {
    pthread_t threads[THREADS];
    int started[THREADS];
    Band bands[THREADS];
    int32_t status = 0;
    for (int t = 0; t < THREADS; ++t) {
        const int32_t first = (int32_t)((int64_t)in->height * t / THREADS);
        const int32_t end = (int32_t)((int64_t)in->height * (t + 1) / THREADS);
        const Band band = {in, {0, 0, 0, out, 0}, method, first, end - first, 0};
        bands[t] = band;
        started[t] = pthread_create(&threads[t], NULL, runBand, &bands[t]) == 0;
        if (!started[t]) runBand(&bands[t]); /* no thread to be had: run it here */
    }
    for (int t = 0; t < THREADS; ++t) {
        if (started[t]) pthread_join(threads[t], NULL);
        if (bands[t].status != 0) status = bands[t].status;
    }
    return status;
}
