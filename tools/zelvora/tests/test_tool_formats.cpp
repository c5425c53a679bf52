// The tool's table of raw formats and output layouts, checked against the
// library's own classification.
#include <gtest/gtest.h>

#include "error.hpp"
#include "formats.hpp"
#include "rawinput.hpp"
#include "zelvora.h"

using namespace zelvora;

TEST(ToolFormats, EveryNameAndCodeFindsItsFormat) {
    for (const InputFormat& f : inputFormats()) {
        EXPECT_EQ(&findInputFormat(f.name), &f);
        char hex[16];
        std::snprintf(hex, sizeof hex, "0x%08X", f.code);
        EXPECT_EQ(&findInputFormat(hex), &f);
        std::snprintf(hex, sizeof hex, "0X%08x", f.code);
        EXPECT_EQ(&findInputFormat(hex), &f);
    }
    EXPECT_EQ(findInputFormat("bayerrg12packed").code, 0x010C002Bu);
}

TEST(ToolFormats, UnknownNamesAndCodesAreRefusedByName) {
    for (const char* text : {"BayerRG14", "RGB8", "0x02180015", "0x", "0x1G", "12"}) {
        try {
            findInputFormat(text);
            ADD_FAILURE() << text << " accepted";
        } catch (const UsageError& e) {
            EXPECT_NE(std::string(e.what()).find(text), std::string::npos) << e.what();
        }
    }
}

// The table holds exactly the codes the library classifies, and its depth of
// 16-bit containers is the library's shift plus eight.
TEST(ToolFormats, TableAgreesWithTheLibrary) {
    EXPECT_EQ(inputFormats().size(), 31u);
    for (const InputFormat& f : inputFormats()) {
        ZelImage image{4, 4, f.code, nullptr, 4};
        ZelPixelType reduced = 0;
        int32_t shift = 0;
        ASSERT_EQ(demosaicDataInit(&image, nullptr, &reduced, &shift), 0) << f.name;
        const int32_t expected = f.packing == Packing::Words ? f.bits - 8 : f.packing == Packing::Packed ? -1 : 0;
        EXPECT_EQ(shift, expected) << f.name;
        EXPECT_EQ(reduced == ZEL_PIX_MONO8, f.order == Order::Mono) << f.name;
    }
}

TEST(ToolFormats, LayoutsAreTheSevenOutputCodes) {
    ZelHandle* handle = nullptr;
    ASSERT_EQ(zelCreate(&handle), 0);
    for (const OutputLayout& layout : outputLayouts()) {
        const ZelPixelType code = layout.code;
        EXPECT_EQ(zelDemosaicSetConfig(handle, &code), 0) << layout.name;
        EXPECT_EQ(&findOutputLayout(layout.name), &layout);
        EXPECT_EQ(&outputLayoutByCode(layout.code), &layout);
    }
    zelRelease(&handle);
    EXPECT_THROW(findOutputLayout("bgr16"), UsageError);
    EXPECT_EQ(findMethod("EDGE").value, 2);
    EXPECT_THROW(findMethod("vng"), UsageError);
}

TEST(ToolFormats, RowBytesAndStrides) {
    struct Case {
        const char* format;
        int32_t width;
        int64_t row;
    };
    for (const Case& c : {Case{"BayerRG8", 5, 5}, Case{"BayerRG12", 5, 10}, Case{"Mono16", 3, 6},
                          Case{"BayerRG12Packed", 4, 6}, Case{"BayerGB10Packed", 5, 9}}) {
        const InputFormat& f = findInputFormat(c.format);
        EXPECT_EQ(rowBytes(f, c.width), c.row) << c.format;
        EXPECT_EQ(checkedStride(f, {c.width, 4}, std::nullopt), c.row) << c.format;
        EXPECT_EQ(checkedStride(f, {c.width, 4}, c.row + 2), c.row + 2) << c.format;
        EXPECT_THROW(checkedStride(f, {c.width, 4}, c.row - 1), UsageError) << c.format;
    }
    // Rows of 16-bit containers start on even bytes.
    EXPECT_THROW(checkedStride(findInputFormat("BayerRG12"), {4, 4}, 9), UsageError);
}
