/*
 * libZelvora: raw sensor frames to display pictures.
 *
 * The one public header of the library. It compiles as C99 and as C++ and
 * declares every record, code and exported function. All sizes are signed
 * 32-bit; every public operation returns a signed 32-bit status, 0 on success.
 */
#ifndef ZELVORA_H
#define ZELVORA_H

#include <stdint.h>

#if defined(_WIN32)
#define ZEL_API
#else
#define ZEL_API __attribute__((visibility("default")))
#endif

/* The shading table ends in a flexible array: standard C99, an extension that
 * GCC accepts silently in C++ when marked as such. */
#if defined(__cplusplus) && defined(__GNUC__)
#define ZEL_FLEXIBLE_ARRAY __extension__
#else
#define ZEL_FLEXIBLE_ARRAY
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ------------------------------------------------------------------------ */
/* Pixel-format codes (GigE Vision) and statuses                             */
/* ------------------------------------------------------------------------ */

/* A GigE Vision pixel-format code as held by the handle and the dispatchers.
 * Image records store the same codes in 32 bits. */
typedef uint64_t ZelPixelType;

enum {
    /* monochrome input */
    ZEL_PIX_MONO8 = 0x01080001,
    ZEL_PIX_MONO10 = 0x01100003,
    ZEL_PIX_MONO12 = 0x01100005,
    ZEL_PIX_MONO14 = 0x01100025,
    ZEL_PIX_MONO16 = 0x01100007,
    ZEL_PIX_MONO10_PACKED = 0x010C0004,
    ZEL_PIX_MONO12_PACKED = 0x010C0006,
    /* Bayer GR */
    ZEL_PIX_BAYER_GR8 = 0x01080008,
    ZEL_PIX_BAYER_GR10 = 0x0110000C,
    ZEL_PIX_BAYER_GR12 = 0x01100010,
    ZEL_PIX_BAYER_GR16 = 0x0110002E,
    ZEL_PIX_BAYER_GR10_PACKED = 0x010C0026,
    ZEL_PIX_BAYER_GR12_PACKED = 0x010C002A,
    /* Bayer RG */
    ZEL_PIX_BAYER_RG8 = 0x01080009,
    ZEL_PIX_BAYER_RG10 = 0x0110000D,
    ZEL_PIX_BAYER_RG12 = 0x01100011,
    ZEL_PIX_BAYER_RG16 = 0x0110002F,
    ZEL_PIX_BAYER_RG10_PACKED = 0x010C0027,
    ZEL_PIX_BAYER_RG12_PACKED = 0x010C002B,
    /* Bayer GB */
    ZEL_PIX_BAYER_GB8 = 0x0108000A,
    ZEL_PIX_BAYER_GB10 = 0x0110000E,
    ZEL_PIX_BAYER_GB12 = 0x01100012,
    ZEL_PIX_BAYER_GB16 = 0x01100030,
    ZEL_PIX_BAYER_GB10_PACKED = 0x010C0028,
    ZEL_PIX_BAYER_GB12_PACKED = 0x010C002C,
    /* Bayer BG */
    ZEL_PIX_BAYER_BG8 = 0x0108000B,
    ZEL_PIX_BAYER_BG10 = 0x0110000F,
    ZEL_PIX_BAYER_BG12 = 0x01100013,
    ZEL_PIX_BAYER_BG16 = 0x01100031,
    ZEL_PIX_BAYER_BG10_PACKED = 0x010C0029,
    ZEL_PIX_BAYER_BG12_PACKED = 0x010C002D,
    /* output layouts */
    ZEL_PIX_RGB8 = 0x02180014,
    ZEL_PIX_BGR8 = 0x02180015,
    ZEL_PIX_RGBA8 = 0x02200016,
    ZEL_PIX_BGRA8 = 0x02200017,
    ZEL_PIX_RGB8_PLANAR = 0x02180021,
    ZEL_PIX_BGR8_PLANAR = 0x02180025 /* the library's own code for planar B, G, R */
};

/* Statuses. */
enum {
    ZEL_OK = 0,
    errComputeFailed = -101,
    errUnsupportedInput = -102,
    errBadImageSize = -104,
    errUnsupportedOutput = -107,
    errInvalidParameter = -111,
    errNoMemory = -117
};

/* Demosaicing methods. */
enum {
    ZEL_DEMOSAIC_NEAREST = 0,
    ZEL_DEMOSAIC_BILINEAR = 1,
    ZEL_DEMOSAIC_EDGE = 2
};

/* ------------------------------------------------------------------------ */
/* Records                                                                   */
/* ------------------------------------------------------------------------ */

/* The handle's grow-only work buffer. */
typedef struct ZelScratch {
    uint8_t* data;    /* buffer from the general allocator, or null */
    int32_t capacity; /* usable bytes of data; 0 when data is null */
} ZelScratch;

/* A preset parameter triple: written by zelInit, read by nothing. */
typedef struct ZelPreset {
    int32_t values[3];
} ZelPreset;

/* The processing handle. */
typedef struct ZelHandle {
    ZelPixelType outputFormat; /* layout zelDemosaicing writes; BGR8 by default */
    uint8_t reserved[64];      /* never read or written by the library */
    ZelPreset presets[3];
    uint32_t spare[2]; /* cleared at creation */
    ZelScratch scratch;
} ZelHandle;

/* An input or output frame. */
typedef struct ZelImage {
    int32_t height;       /* rows */
    int32_t width;        /* pixels per row */
    uint32_t pixelFormat; /* GigE Vision code */
    uint8_t* data;        /* the caller's buffer */
    int32_t stride;       /* bytes between row starts (input frames only) */
} ZelImage;

/* ------------------------------------------------------------------------ */
/* Handle and output configuration                                           */
/* ------------------------------------------------------------------------ */

ZEL_API int32_t zelCreate(ZelHandle** handle);
ZEL_API int32_t zelRelease(ZelHandle** handle);
ZEL_API void zelInit(ZelHandle* handle);
ZEL_API int32_t zelMemRealloc(ZelScratch* scratch, int32_t size);
ZEL_API int32_t zelDemosaicGetConfig(ZelHandle* handle, ZelPixelType* format);
ZEL_API int32_t zelDemosaicSetConfig(ZelHandle* handle, const ZelPixelType* format);

/* ------------------------------------------------------------------------ */
/* Input classification and reduction to 8 bits                              */
/* ------------------------------------------------------------------------ */

ZEL_API int32_t demosaicDataInit(const ZelImage* image, ZelHandle* handle, ZelPixelType* reducedFormat,
                                 int32_t* sampleShift);
ZEL_API void u8Tou8(const uint8_t* src, int32_t height, int32_t width, int32_t stride, uint8_t* dst);
ZEL_API void u16Tou8_old(const uint8_t* src, int32_t height, int32_t width, int32_t shift, uint8_t* dst);
ZEL_API void u16Tou8(const uint8_t* src, int32_t height, int32_t width, int32_t stride, int32_t shift,
                     uint8_t* dst);
ZEL_API void unpacked_old(const uint8_t* src, int32_t height, int32_t width, uint8_t* dst);
ZEL_API void unpacked(const uint8_t* src, int32_t height, int32_t width, int32_t stride, uint8_t* dst);

/* ------------------------------------------------------------------------ */
/* Demosaicing entry and dispatchers                                         */
/* ------------------------------------------------------------------------ */

/* Demosaics one frame into the handle's output layout. The library checks
 * none of the buffer sizes; with W = width, H = height and S = stride the
 * caller must supply:
 *  - output: H * W * 3 bytes for BGR8, RGB8 and both planar layouts,
 *    H * W * 4 for BGRA8 and RGBA8, H * W for Mono8.
 *  - 8-bit input: H * W bytes when S = W. Any other S compacts the rows in
 *    place (row r is read at r * S and written at r * W), so the buffer is
 *    modified and must hold max((H - 1) * S + W, H * W) bytes: with S < W
 *    that is H * W bytes, more than S * H.
 *  - 16-bit containers (10 to 16 bits): 2 * H * W bytes when S = 2 * W;
 *    otherwise row r is read at r * (S rounded down to even), so
 *    (H - 1) * (S & ~1) + 2 * W bytes, more than S * H when S < 2 * W.
 *  - packed input: read in whole three-byte pairs. With S = W + W / 2 the
 *    frame is read as one run of pairs, 3 * ceil(H * W / 2) bytes (for an
 *    odd W more than S * H, and rows run on without a break). Otherwise
 *    (H - 1) * S + 3 * ceil(W / 2) bytes: an odd W reads one byte past the
 *    ceil(3 * W / 2) bytes that hold a row's pixels.
 * Returns 0, or errInvalidParameter, errBadImageSize (a dimension or the
 * stride 3 or less, or W * H overflowing; the edge-directed kernels need
 * W and H of at least 6 for Bayer input), errUnsupportedInput, errNoMemory
 * or errUnsupportedOutput. A failed call writes no output; 8-bit input may
 * already be packed. */
ZEL_API int32_t zelDemosaicing(ZelHandle* handle, const ZelImage* input, int32_t method, ZelImage* output);

/* Demosaics output rows firstRow .. firstRow + rowCount - 1 only, so that a
 * frame can be cut into row bands that run on several threads, or converted
 * as its rows arrive. Every byte written is the byte zelDemosaicing leaves in
 * those rows for the same input, method and handle output format (each plane
 * of planar output: those rows of the plane); nothing outside them is
 * written. `output->data` is the whole frame's buffer, of the size
 * zelDemosaicing needs. Reads only the input rows the band needs (the band
 * and, by method, up to four rows above and below it), never modifies the
 * input (padded 8-bit rows are read where they are), and uses the handle's
 * scratch for the band alone: about width x (rowCount + 9) bytes for deep or
 * packed input, width + 64 bytes otherwise. Bands on separate handles may
 * run at the same time; give each thread its own handle and its own output
 * record (sharing the data pointer). Checks and statuses as zelDemosaicing
 * (94, 95, 96, 104, 110, 115, 119; the edge-directed method refuses frames
 * below 6 x 6 with its kernel's number), and also: a stride shorter than one
 * input row (width bytes; 2 x width for 16-bit samples; width + width / 2
 * packed) prints 131 and returns -104; a band not inside the frame (firstRow
 * < 0, rowCount <= 0, or firstRow + rowCount > height) prints 133 and returns
 * -111. On success the output record's height, width and pixelFormat are
 * filled as zelDemosaicing fills them. */
ZEL_API int32_t zelDemosaicingRows(ZelHandle* handle, const ZelImage* input, int32_t method, ZelImage* output,
                                   int32_t firstRow, int32_t rowCount);
ZEL_API int32_t mono8Convert(const uint8_t* frame, uint8_t* dst, int32_t height, int32_t width,
                             ZelPixelType outputFormat);
ZEL_API int32_t rg8Convert(const uint8_t* frame, uint8_t* dst, int32_t height, int32_t width,
                           ZelPixelType outputFormat, int32_t method, uint8_t* greenLine);
ZEL_API int32_t bg8Convert(const uint8_t* frame, uint8_t* dst, int32_t height, int32_t width,
                           ZelPixelType outputFormat, int32_t method, uint8_t* greenLine);
ZEL_API int32_t gb8Convert(const uint8_t* frame, uint8_t* dst, int32_t height, int32_t width,
                           ZelPixelType outputFormat, int32_t method, uint8_t* greenLine);
ZEL_API int32_t gr8Convert(const uint8_t* frame, uint8_t* dst, int32_t height, int32_t width,
                           ZelPixelType outputFormat, int32_t method, uint8_t* greenLine);

/* ------------------------------------------------------------------------ */
/* 8-bit nearest-neighbour kernels (native orders RG and GB)                 */
/* ------------------------------------------------------------------------ */

ZEL_API int32_t rg8ToBgr8_nearest(const uint8_t* src, int32_t height, int32_t width, uint8_t* dst, int32_t swapRB);
ZEL_API int32_t rg8ToBgra8_nearest(const uint8_t* src, int32_t height, int32_t width, uint8_t* dst, int32_t swapRB);
ZEL_API int32_t rg8ToBgr8P_nearest(const uint8_t* src, int32_t height, int32_t width, uint8_t* redPlane,
                                   uint8_t* greenPlane, uint8_t* bluePlane);
ZEL_API int32_t rg8ToMono8_nearest(const uint8_t* src, int32_t height, int32_t width, uint8_t* dst, int32_t swapRB);
ZEL_API int32_t gb8ToBgr8_nearest(const uint8_t* src, int32_t height, int32_t width, uint8_t* dst, int32_t swapRB);
ZEL_API int32_t gb8ToBgra8_nearest(const uint8_t* src, int32_t height, int32_t width, uint8_t* dst, int32_t swapRB);
ZEL_API int32_t gb8ToBgr8P_nearest(const uint8_t* src, int32_t height, int32_t width, uint8_t* redPlane,
                                   uint8_t* greenPlane, uint8_t* bluePlane);
ZEL_API int32_t gb8ToMono8_nearest(const uint8_t* src, int32_t height, int32_t width, uint8_t* dst, int32_t swapRB);

/* ------------------------------------------------------------------------ */
/* 8-bit bilinear kernels                                                    */
/* ------------------------------------------------------------------------ */

/* Interleaved kernels for all four native orders (3 or 4 bytes per pixel, the
 * fourth byte 0); planar and mono kernels for RG and GR. The GR planar and
 * mono kernels also serve GB data: pTop and weights[0] belong to the colour
 * that shares row 0 with green, pBottom and weights[2] to the colour of row 1.
 * No checks; height and width >= 4; always 0. */
ZEL_API int32_t rg8ToBgr8_bilinear(const uint8_t* src, int32_t height, int32_t width, uint8_t* dst);
ZEL_API int32_t bg8ToBgr8_bilinear(const uint8_t* src, int32_t height, int32_t width, uint8_t* dst);
ZEL_API int32_t gb8ToBgr8_bilinear(const uint8_t* src, int32_t height, int32_t width, uint8_t* dst);
ZEL_API int32_t gr8ToBgr8_bilinear(const uint8_t* src, int32_t height, int32_t width, uint8_t* dst);
ZEL_API int32_t rg8ToBgra8_bilinear(const uint8_t* src, int32_t height, int32_t width, uint8_t* dst);
ZEL_API int32_t bg8ToBgra8_bilinear(const uint8_t* src, int32_t height, int32_t width, uint8_t* dst);
ZEL_API int32_t gb8ToBgra8_bilinear(const uint8_t* src, int32_t height, int32_t width, uint8_t* dst);
ZEL_API int32_t gr8ToBgra8_bilinear(const uint8_t* src, int32_t height, int32_t width, uint8_t* dst);
ZEL_API int32_t rg8ToBgr8P_bilinear(const uint8_t* src, int32_t height, int32_t width, uint8_t* pRed,
                                    uint8_t* pGreen, uint8_t* pBlue);
ZEL_API int32_t gr8ToBgr8P_bilinear(const uint8_t* src, int32_t height, int32_t width, uint8_t* pTop,
                                    uint8_t* pGreen, uint8_t* pBottom);
ZEL_API int32_t rg8ToMono8_bilinear(const uint8_t* src, int32_t height, int32_t width, const uint32_t* weights,
                                    uint8_t* dst);
ZEL_API int32_t gr8ToMono8_bilinear(const uint8_t* src, int32_t height, int32_t width, const uint32_t* weights,
                                    uint8_t* dst);


/* ------------------------------------------------------------------------ */
/* 8-bit edge-directed kernels (native orders RG and GB)                     */
/* ------------------------------------------------------------------------ */

/* Edge-directed drivers. rg8 takes mosaics whose row 0 is R G R G, gb8 those
 * whose row 0 is G B G B; swapRB puts the native red in byte 0 instead of 2
 * (mono: exchanges the red and blue weights). Frames need width and height of
 * at least 6: smaller ones print the driver's check number and return -104
 * with nothing written. The interleaved drivers keep one row of greens in the
 * last `width` bytes of their own output; the four-byte ones never write byte
 * 3, so in the last quarter of the last row it is left holding carried greens
 * rather than the caller's byte. Planar and mono take `width` bytes of scratch
 * as greenLine. */
ZEL_API int32_t rg8ToBgr8_edge(const uint8_t* src, int32_t height, int32_t width, uint8_t* dst, int32_t swapRB);
ZEL_API int32_t gb8ToBgr8_edge(const uint8_t* src, int32_t height, int32_t width, uint8_t* dst, int32_t swapRB);
ZEL_API int32_t rg8ToBgra8_edge(const uint8_t* src, int32_t height, int32_t width, uint8_t* dst, int32_t swapRB);
ZEL_API int32_t gb8ToBgra8_edge(const uint8_t* src, int32_t height, int32_t width, uint8_t* dst, int32_t swapRB);
ZEL_API int32_t rg8ToBgr8P_edge(const uint8_t* src, int32_t height, int32_t width, uint8_t* redPlane,
                                uint8_t* greenPlane, uint8_t* bluePlane, uint8_t* greenLine);
ZEL_API int32_t gb8ToBgr8P_edge(const uint8_t* src, int32_t height, int32_t width, uint8_t* redPlane,
                                uint8_t* greenPlane, uint8_t* bluePlane, uint8_t* greenLine);
ZEL_API int32_t rg8ToMono8_edge(const uint8_t* src, int32_t height, int32_t width, uint8_t* dst, int32_t swapRB,
                                uint8_t* greenLine);
ZEL_API int32_t gb8ToMono8_edge(const uint8_t* src, int32_t height, int32_t width, uint8_t* dst, int32_t swapRB,
                                uint8_t* greenLine);

/* ------------------------------------------------------------------------ */
/* 16-bit bilinear kernels                                                   */
/* ------------------------------------------------------------------------ */

/* Where a bilinear body stopped: the first column of the last-columns region
 * and the first row of the last-rows region. */
typedef struct BilinearBodyEnd {
    uint32_t lastColsStart;
    uint32_t lastRowsStart;
} BilinearBodyEnd;

/* RGGB 16-bit samples to interleaved B, G, R samples, or to three planes.
 * Null pointer: -111; height or width <= 3: -104. */
ZEL_API int32_t zelDemosaicingBilinearU16(const uint16_t* src, int32_t height, int32_t width, uint16_t* dst);
ZEL_API int32_t zelDemosaicingBilinearU16P(const uint16_t* src, int32_t height, int32_t width, uint16_t* pBlue,
                                           uint16_t* pGreen, uint16_t* pRed);
/* The same without checks, and the pieces they are made of: each piece writes
 * one region of the frame (row 0; column 0 below it; the body; the last rows
 * from startRow between column 0 and the last columns; the last columns from
 * startCol below row 0). swapRB = 1 exchanges samples 0 and 2 of every pixel;
 * the planar pieces ignore it. No checks: frames of at least 4 x 4, start
 * positions as the body returns them. */
ZEL_API int32_t demosaicingBilinearRGGBU16(const uint16_t* src, int32_t height, int32_t width, uint16_t* dst);
ZEL_API int32_t demosaicingBilinearRGGBU16P(const uint16_t* src, int32_t height, int32_t width, uint16_t* pBlue,
                                            uint16_t* pGreen, uint16_t* pRed);
ZEL_API void bilinearFirstRowsRGGBU16(const uint16_t* src, uint16_t* dst, int32_t width, uint32_t swapRB);
ZEL_API void bilinearFirstColsRGGBU16(const uint16_t* src, uint16_t* dst, int32_t height, int32_t width,
                                      uint32_t swapRB);
ZEL_API BilinearBodyEnd bilinearBodyRGGBU16(const uint16_t* src, uint16_t* dst, int32_t height, int32_t width,
                                            uint32_t swapRB);
ZEL_API void bilinearLastRowsRGGBU16(const uint16_t* src, uint16_t* dst, int32_t height, int32_t width,
                                     uint32_t startRow, uint32_t swapRB);
ZEL_API void bilinearLastColsRGGBU16(const uint16_t* src, uint16_t* dst, int32_t height, int32_t width,
                                     uint32_t startCol, uint32_t swapRB);
ZEL_API void bilinearFirstRowsRGGBU16P(const uint16_t* src, uint16_t* pBlue, uint16_t* pGreen, uint16_t* pRed,
                                       int32_t width);
ZEL_API void bilinearFirstColsRGGBU16P(const uint16_t* src, uint16_t* pBlue, uint16_t* pGreen, uint16_t* pRed,
                                       int32_t height, int32_t width);
ZEL_API BilinearBodyEnd bilinearBodyRGGBU16P(const uint16_t* src, uint16_t* pBlue, uint16_t* pGreen, uint16_t* pRed,
                                             int32_t height, int32_t width, uint32_t swapRB);
ZEL_API void bilinearLastRowsRGGBU16P(const uint16_t* src, uint16_t* pBlue, uint16_t* pGreen, uint16_t* pRed,
                                      int32_t height, int32_t width, uint32_t startRow, uint32_t swapRB);
ZEL_API void bilinearLastColsRGGBU16P(const uint16_t* src, uint16_t* pBlue, uint16_t* pGreen, uint16_t* pRed,
                                      int32_t height, int32_t width, uint32_t startCol, uint32_t swapRB);

/* ------------------------------------------------------------------------ */
/* 16-bit edge-directed kernels                                              */
/* ------------------------------------------------------------------------ */

/* 16-bit edge-directed demosaicing, one entry per Bayer order, into
 * interleaved 16-bit pixels: value 0 blue, 1 green, 2 red, whatever the order.
 * Greens already produced are read back from the output, so source and
 * output must be separate buffers. Interpolated values are clamped to
 * 0..4095 by the RGGB entry and to 0..65535 by the other three. Nothing is
 * validated (frames of 8 x 8 and more); the result is always 0. Frames up to
 * 8192 columns wide use 16 KiB of the caller's stack beyond the usual few
 * KiB (edgeSecRGGBU16 keeps a row of greens there). */
ZEL_API uint32_t demosaicingEdgeRGGBU16(const uint16_t* src, int32_t height, int32_t width, uint16_t* dst);
ZEL_API uint32_t demosaicingEdgeGRBGU16(const uint16_t* src, int32_t height, int32_t width, uint16_t* dst);
ZEL_API uint32_t demosaicingEdgeGBRGU16(const uint16_t* src, int32_t height, int32_t width, uint16_t* dst);
ZEL_API uint32_t demosaicingEdgeBGGRU16(const uint16_t* src, int32_t height, int32_t width, uint16_t* dst);

/* Where edgeSecRGGBU16 stopped: the column from which edgeLastColsRGGBU16
 * computes greens (it completes pixels from the column before) and the
 * number of rows the interior pair loop covered. */
typedef struct EdgeSecEnd {
    int32_t stopColumn;
    int32_t stopRow;
} EdgeSecEnd;

/* The pieces the four entries call, in this order. columnPhase is 2 when red
 * lies in even columns and 3 when in odd ones; maxValue is the clamp bound.
 * First rows: every column of the rows above the first interior pair (rows
 * 0-1 with red in row 0, rows 0-2 with red in row 1). First and last columns:
 * a frame of `rows` rows starting at the first red row, from its row 1 on.
 * Interior: src and dst at the first interior row (2 or 3), `rows` the rows
 * left (height - 4, or height - 5 with red in odd rows); it also writes all
 * but the red of column stopColumn - 1 and, from column columnPhase on, of
 * its last row (those reds need samples beyond; the last columns and last
 * rows pieces add them). Last rows: the interior columns from `firstRow`
 * (stopRow + 2, or + 3) to the bottom. */
ZEL_API uint32_t edgeFirstRowsRGGBU16(const uint16_t* src, uint16_t* dst, int32_t width, int32_t columnPhase,
                                      int32_t maxValue);
ZEL_API uint32_t edgeFirstRowsGBRGU16(const uint16_t* src, uint16_t* dst, int32_t width, int32_t columnPhase,
                                      int32_t maxValue);
ZEL_API uint32_t edgeFirstColsRGGBU16(const uint16_t* src, uint16_t* dst, int32_t rows, int32_t width,
                                      int32_t maxValue);
ZEL_API uint32_t edgeFirstColsGRBGU16(const uint16_t* src, uint16_t* dst, int32_t rows, int32_t width,
                                      int32_t maxValue);
ZEL_API EdgeSecEnd edgeSecRGGBU16(const uint16_t* src, uint16_t* dst, int32_t rows, int32_t width,
                                  int32_t columnPhase, int32_t maxValue);
ZEL_API uint32_t edgeLastRowsRGGBU16(const uint16_t* src, uint16_t* dst, int32_t height, int32_t width,
                                     int32_t firstRow, int32_t columnPhase, int32_t maxValue);
ZEL_API uint32_t edgeLastColsRGGBU16(const uint16_t* src, uint16_t* dst, int32_t rows, int32_t width,
                                     int32_t firstColumn, int32_t maxValue);

/* ------------------------------------------------------------------------ */
/* Lens shading: estimation and correction                                   */
/* ------------------------------------------------------------------------ */

/* Reference frames are row-major float arrays, width samples per row with no
 * gap between rows, in the sample units of the camera's bit depth. */

/* Input of zelGetLSCParameter. */
typedef struct ZelLSCInput {
    uint32_t mode;      /* 0: one entry per 2x2 block; 1: one entry per pixel */
    uint32_t bitDepth;  /* bits per sample of the frames to correct; scales the offset */
    int32_t width;      /* samples per row: even, at least 32 */
    int32_t height;     /* rows: even, at least 32 */
    const float* grey;  /* flat-field frame */
    const float* dark;  /* dark frame */
} ZelLSCInput;

/* Input of zelGetBasicLSCParameter. */
typedef struct ZelBasicLSCInput {
    uint32_t mode;        /* must be 0 */
    uint32_t bitDepth;    /* 8, 10 or 12 */
    uint32_t regionKind;  /* 2, 3 or 4 */
    int32_t width;        /* samples per row: at least 32 */
    int32_t height;       /* rows: at least 32 */
    uint32_t blockWidth;  /* region width: 16 or 32 columns */
    uint32_t blockHeight; /* region height: 16 rows */
    const float* grey;    /* flat-field frame */
    float darkLevel;      /* black level of the whole frame, in sample units */
} ZelBasicLSCInput;

/* A gain/offset table: an array of 32-bit words, caller-allocated, of
 * 12 + 4n bytes for n entries (the size is not checked). Mode 1 has one entry per pixel
 * (n = height * width, entry y * width + x for pixel (x, y)); mode 0 one per
 * 2x2 block (n = (height / 2) * (width / 2), entry i * (width / 2) + j for
 * rows 2i, 2i+1 and columns 2j, 2j+1).
 * Entry bits 31..12: gain G, factor G / 131072 (at most 0xFFFFF);
 * bits 11..0: offset B, the dark level on a 12-bit scale. */
typedef struct ZelLSCTable {
    uint32_t mode;      /* word 0: 0 or 1 */
    int32_t height;     /* word 1: rows of the frames the table fits */
    int32_t width;      /* word 2: samples per row of those frames */
    ZEL_FLEXIBLE_ARRAY uint32_t entries[]; /* words 3 to 3 + n - 1 */
} ZelLSCTable;

/* Computes a table from a grey and a dark frame; writes the three header
 * words and the entries. */
ZEL_API int32_t zelGetLSCParameter(const ZelLSCInput* input, ZelLSCTable* table);
/* Computes the regional table: (height / 16) * (width / blockWidth) entries
 * of 3 bytes, region row-major, no header. Each entry is a 24-bit big-endian
 * word: bits 23..11 gain K (factor K / 4096), bits 10..0 the offset in
 * two's complement on an 11-bit sample scale. */
ZEL_API int32_t zelGetBasicLSCParameter(const ZelBasicLSCInput* input, uint8_t* bytes);

/* The estimation steps. */
ZEL_API int32_t dataInit2x2(const float* dark, const float* grey, int32_t height, int32_t width, float* blockDark,
                            float* blockGrey);
ZEL_API int32_t grayDataInit(const float* grey, int32_t height, int32_t rowLength, int32_t regionWidth,
                             int32_t regionHeight, int32_t regionRows, int32_t regionColumns, int32_t divisor,
                             float* averages);
ZEL_API double getTargetLSCMono(const float* dark, const float* grey, int32_t count);
ZEL_API int32_t getLSCKBMono(const float* dark, const float* grey, int32_t count, uint32_t bitDepth,
                             uint32_t* entries, double target);
ZEL_API int32_t getLSCKBMono_REGION(const float* dark, const float* grey, int32_t count, uint32_t bitDepth,
                                    uint8_t* bytes, double target, float darkLevel);

/* Applies a table to an 8-, 10- or 12-bit mono or Bayer frame (2 bytes per
 * sample above 8 bits). Rows are width samples with no gap; the strides are
 * not read. Of the destination record only the data pointer is used; it may
 * be the source's. Other pixel types succeed without writing anything. */
ZEL_API int32_t zelLSCorrection(const ZelImage* source, const ZelImage* destination, const ZelLSCTable* table);
/* 8, 10 or 12 for the pixel types zelLSCorrection accepts, else -102. */
ZEL_API int32_t getBits(ZelPixelType pixelType);
ZEL_API int32_t LSCcorrect8_2x2(const uint8_t* src, uint8_t* dst, uint32_t mode, const uint32_t* entries,
                                int32_t height, int32_t width);
ZEL_API int32_t LSCcorrect16_2x2(const uint16_t* src, uint16_t* dst, uint32_t mode, const uint32_t* entries,
                                 int32_t height, int32_t width, int32_t bitDepth);

/* ------------------------------------------------------------------------ */
/* Vector instruction set                                                    */
/* ------------------------------------------------------------------------ */

/* The instruction set the library's vector code runs on in this process:
 * "AVX3" (AVX-512), "AVX2", "SSE4", "NEON", or "scalar" when it has none for
 * this processor. Results are the same bytes whichever it is. The choice is
 * made once, at the first call into the library, from what the processor
 * supports; the environment variable ZELVORA_INSTRUCTION_SET, set to one of
 * these names, narrows it to that set when the processor supports it. The
 * returned string is static. (A query, not an operation: no status.) */
ZEL_API const char* zelInstructionSet(void);

/* ------------------------------------------------------------------------ */
/* Frame utilities                                                           */
/* ------------------------------------------------------------------------ */

/* Pads the rows of a packed 3-byte-per-pixel frame in place to a multiple of
 * 4 bytes, as device-independent bitmaps want: the buffer must hold
 * height * (3 * width rounded up to a multiple of 4) bytes. */
ZEL_API int32_t zelBMPAdjust(ZelHandle* handle, ZelImage* image);
/* Widens 3 bytes per pixel to 4, the fourth byte 0; channel order kept. */
ZEL_API void bgrToBgra(const uint8_t* src, int32_t height, int32_t width, uint8_t* dst);

#ifdef __cplusplus
}
#endif

#endif /* ZELVORA_H */
