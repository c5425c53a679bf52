// Pictures from the library's layouts, and the files written from them.
#include <gtest/gtest.h>

#include "error.hpp"
#include "formats.hpp"
#include "library.hpp"
#include "picture.hpp"
#include "rawio.hpp"
#include "tool_test_support.hpp"
#include "writers.hpp"

using namespace zelvora;
using tooltest::ScratchDir;

namespace {

// A 6 x 4 BayerRG8 frame of distinct values, demosaiced by the library.
std::vector<uint8_t> demosaicTo(const OutputLayout& layout) {
    std::vector<uint8_t> frame(24);
    for (size_t i = 0; i < frame.size(); ++i) frame[i] = static_cast<uint8_t>(10 * i + 3);
    return tooltest::libraryOutput(frame, ZEL_PIX_BAYER_RG8, 6, 4, 6, layout.code, layout.bytesPerPixel);
}

Picture tiny(int channels, int bits) {
    Picture p{5, 4, channels, bits, {}};
    for (int i = 0; i < 5 * 4 * channels; ++i) p.samples.push_back(static_cast<uint16_t>((i * 37) % (1 << bits)));
    return p;
}

}  // namespace

// All six colour layouts of one frame are the same picture.
TEST(ToolPicture, ColourLayoutsGiveOnePicture) {
    const Picture reference = pictureFromLayout(demosaicTo(findOutputLayout("rgb8")).data(), 6, 4,
                                                findOutputLayout("rgb8"));
    for (const OutputLayout& layout : outputLayouts()) {
        const Picture p = pictureFromLayout(demosaicTo(layout).data(), 6, 4, layout);
        if (layout.code == ZEL_PIX_MONO8) {
            EXPECT_EQ(p.channels, 1);
            continue;
        }
        EXPECT_EQ(p.samples, reference.samples) << layout.name;
    }
    // The red sample at (0, 0) of an RG mosaic is the frame's first byte.
    EXPECT_EQ(reference.samples[0], 3);
}

TEST(ToolPicture, WideningFillsTheSixteenBits) {
    struct Case {
        uint16_t value;
        int bits;
        uint16_t wide;
    };
    for (const Case& c : {Case{255, 8, 0xFFFF}, Case{0x80, 8, 0x8080}, Case{0xABC, 12, 0xABCA},
                          Case{4095, 12, 0xFFFF}, Case{5000, 12, 0xFFFF}, Case{1023, 10, 0xFFFF},
                          Case{0x200, 10, 0x8020}, Case{0, 12, 0}, Case{1234, 16, 1234}}) {
        EXPECT_EQ(widenTo16(c.value, c.bits), c.wide) << c.value << " at " << c.bits;
    }
}

TEST(ToolWriters, KindFromExtension) {
    EXPECT_EQ(fileKindOf("a/b.PNG"), FileKind::Png);
    EXPECT_EQ(fileKindOf("x.bmp"), FileKind::Bmp);
    EXPECT_EQ(fileKindOf("x.ppm"), FileKind::Ppm);
    EXPECT_EQ(fileKindOf("x.pgm"), FileKind::Pgm);
    EXPECT_EQ(fileKindOf("x.bin"), FileKind::Raw);
    for (const char* path : {"x.jpg", "noextension", "dir.png/file"}) EXPECT_THROW(fileKindOf(path), UsageError);
}

TEST(ToolWriters, PngRoundTrip) {
    ScratchDir dir;
    Handle handle;
    Diagnostics diagnostics;
    for (const Picture& p : {tiny(3, 8), tiny(1, 8), tiny(3, 12), tiny(1, 10)}) {
        writePicture(dir / "p.png", p, handle, diagnostics);
        const tooltest::PngPicture back = tooltest::readPng(dir / "p.png");
        EXPECT_EQ(back.width, 5);
        EXPECT_EQ(back.height, 4);
        EXPECT_EQ(back.channels, p.channels);
        EXPECT_EQ(back.bitDepth, p.bits == 8 ? 8 : 16);
        EXPECT_EQ(back.significantBits, p.bits == 8 ? 0 : p.bits);
        for (size_t i = 0; i < p.samples.size(); ++i)
            ASSERT_EQ(back.samples[i], p.bits == 8 ? p.samples[i] : widenTo16(p.samples[i], p.bits)) << i;
    }
}

// 5 pixels of 3 bytes pad to 16 bytes a row; rows bottom-up, B, G, R.
TEST(ToolWriters, BmpRowsArePaddedAndBottomUp) {
    ScratchDir dir;
    Handle handle;
    Diagnostics diagnostics;
    const Picture p = tiny(3, 8);
    writePicture(dir / "p.bmp", p, handle, diagnostics);
    const std::string file = tooltest::readText(dir / "p.bmp");
    ASSERT_EQ(file.size(), 54u + 16u * 4u);
    const auto byte = [&](size_t i) { return static_cast<uint8_t>(file[i]); };
    EXPECT_EQ(file.substr(0, 2), "BM");
    EXPECT_EQ(byte(2), 54 + 64);
    EXPECT_EQ(byte(10), 54);
    for (int fileRow = 0; fileRow < 4; ++fileRow) {
        const size_t start = 54 + 16 * static_cast<size_t>(fileRow);
        const size_t pictureRow = 3 - static_cast<size_t>(fileRow);
        for (size_t x = 0; x < 5; ++x) {
            const uint16_t* rgb = &p.samples[(pictureRow * 5 + x) * 3];
            EXPECT_EQ(byte(start + 3 * x), rgb[2]);
            EXPECT_EQ(byte(start + 3 * x + 1), rgb[1]);
            EXPECT_EQ(byte(start + 3 * x + 2), rgb[0]);
        }
        EXPECT_EQ(byte(start + 15), 0);
    }
}

TEST(ToolWriters, PnmHeadersAndWideSamples) {
    ScratchDir dir;
    Handle handle;
    Diagnostics diagnostics;
    writePicture(dir / "p.ppm", tiny(1, 8), handle, diagnostics);  // grey written as colour
    EXPECT_EQ(tooltest::readText(dir / "p.ppm").substr(0, 11), "P6\n5 4\n255\n");
    EXPECT_EQ(tooltest::readText(dir / "p.ppm").size(), 11u + 60u);
    Picture deep = tiny(1, 12);
    deep.samples[0] = 0x0ABC;
    writePicture(dir / "p.pgm", deep, handle, diagnostics);
    const std::string pgm = tooltest::readText(dir / "p.pgm");
    EXPECT_EQ(pgm.substr(0, 12), "P5\n5 4\n4095\n");
    EXPECT_EQ(static_cast<uint8_t>(pgm[12]), 0x0A);  // big-endian
    EXPECT_EQ(static_cast<uint8_t>(pgm[13]), 0xBC);
    EXPECT_THROW(writePicture(dir / "c.pgm", tiny(3, 8), handle, diagnostics), UsageError);
}

TEST(ToolWriters, OutputAppearsOnlyWhenCommitted) {
    ScratchDir dir;
    {
        OutputFile abandoned(dir / "a.raw");
        abandoned.write(std::vector<uint8_t>(100, 1));
    }
    EXPECT_TRUE(dir.list().empty());
    writeWholeFile(dir / "b.raw", std::vector<uint8_t>{1, 2, 3});
    EXPECT_EQ(dir.list(), std::vector<std::string>{"b.raw"});
    EXPECT_EQ(tooltest::readText(dir / "b.raw"), "\x01\x02\x03");
    try {
        OutputFile nowhere(dir / "missing/c.raw");
        ADD_FAILURE() << "opened a file in a missing directory";
    } catch (const Failure& e) {
        EXPECT_NE(std::string(e.what()).find("cannot write"), std::string::npos) << e.what();
    }
}
