/* Runs one kernel `calls` times on a 128x128 frame, for counting the
 * instructions a call executes under an emulator (scripts/count_instructions.sh).
 *   instructions KERNEL CALLS */
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "zelvora.h"

enum { kSide = 128 };

static uint8_t src8[kSide * kSide];
static uint16_t src16[kSide * kSide]; /* 12-bit samples */
static uint16_t full16[kSide * kSide]; /* samples of all 16 bits */
static uint8_t dst8[kSide * kSide * 4];
static uint16_t dst16[kSide * kSide * 3];
static uint8_t line[kSide];

static void run(const char* kernel) {
    if (strcmp(kernel, "nearest") == 0) rg8ToBgr8_nearest(src8, kSide, kSide, dst8, 0);
    else if (strcmp(kernel, "bilinear") == 0) rg8ToBgr8_bilinear(src8, kSide, kSide, dst8);
    else if (strcmp(kernel, "bilinear16") == 0) zelDemosaicingBilinearU16(src16, kSide, kSide, dst16);
    else if (strcmp(kernel, "edge") == 0) rg8ToBgr8_edge(src8, kSide, kSide, dst8, 0);
    else if (strcmp(kernel, "edge16") == 0) demosaicingEdgeRGGBU16(src16, kSide, kSide, dst16);
    else if (strcmp(kernel, "edge16full") == 0) demosaicingEdgeRGGBU16(full16, kSide, kSide, dst16);
    else {
        fprintf(stderr, "unknown kernel %s\n", kernel);
        exit(2);
    }
    (void)line;
}

int main(int argc, char** argv) {
    if (argc != 3) {
        fprintf(stderr, "usage: instructions nearest|bilinear|bilinear16|edge|edge16|edge16full CALLS\n");
        return 2;
    }
    uint32_t s = 12345u;
    for (int i = 0; i < kSide * kSide; ++i) {
        s = s * 1664525u + 1013904223u;
        src8[i] = (uint8_t)(s >> 24);
        src16[i] = (uint16_t)(s >> 20);
        full16[i] = (uint16_t)(s >> 16);
    }
    for (int calls = atoi(argv[2]); calls > 0; --calls) run(argv[1]);
    return dst8[0] + dst16[0] == 999 ? 1 : 0;
}
