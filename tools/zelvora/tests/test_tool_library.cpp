// Library statuses by name, the capture of the library's diagnostics, and the
// checks on raw input files.
#include <gtest/gtest.h>

#include "error.hpp"
#include "library.hpp"
#include "rawinput.hpp"
#include "tool_test_support.hpp"

using namespace zelvora;

TEST(ToolLibrary, StatusNames) {
    const std::pair<int32_t, const char*> names[] = {
        {0, "ZEL_OK"},
        {-101, "errComputeFailed"},
        {-102, "errUnsupportedInput"},
        {-104, "errBadImageSize"},
        {-107, "errUnsupportedOutput"},
        {-111, "errInvalidParameter"},
        {-117, "errNoMemory"},
        {-5, "status -5"},
    };
    for (const auto& [status, name] : names) EXPECT_EQ(statusName(status), name);
}

// The library prints "error line = [96]" for a 3-row frame; the message ends
// up in the tool's error instead of on standard output.
TEST(ToolLibrary, DiagnosticsAreCaughtAndReported) {
    Handle handle;
    Diagnostics diagnostics;
    std::vector<uint8_t> frame(12), out(36);
    ZelImage in{3, 4, ZEL_PIX_BAYER_RG8, frame.data(), 4};
    ZelImage result{0, 0, 0, out.data(), 0};
    testing::internal::CaptureStdout();
    const int32_t status = diagnostics.run([&] { return zelDemosaicing(handle.get(), &in, 0, &result); });
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(status, errBadImageSize);
    EXPECT_EQ(diagnostics.text(), "error line = [96]");
    try {
        checkStatus("zelDemosaicing", status, diagnostics);
        ADD_FAILURE() << "no failure";
    } catch (const Failure& e) {
        EXPECT_STREQ(e.what(),
                     "zelDemosaicing failed: errBadImageSize (-104), the library reports \"error line = [96]\"");
    }
    // A later quiet call leaves nothing behind from the earlier one.
    in.height = 4;
    frame.resize(16);
    in.data = frame.data();
    out.resize(48);
    result.data = out.data();
    EXPECT_EQ(diagnostics.run([&] { return zelDemosaicing(handle.get(), &in, 0, &result); }), 0);
    EXPECT_EQ(diagnostics.text(), "");
}

TEST(ToolRawInput, FileLengthMustMatchTheFrames) {
    tooltest::ScratchDir dir;
    const InputFormat& f = findInputFormat("BayerRG12Packed");
    tooltest::writeBytes(dir / "two.raw", std::vector<uint8_t>(2 * 6 * 4, 7));  // two 4x4 frames
    RawInput input = loadRawInput(dir / "two.raw", f, {4, 4}, std::nullopt, 2);
    EXPECT_EQ(input.frames, 2);
    EXPECT_EQ(input.frameBytes(), 24);
    EXPECT_EQ(input.frame(1)[0], 7);

    const auto messageOf = [&](Size size, std::optional<int64_t> stride, std::optional<int64_t> frames) {
        try {
            loadRawInput(dir / "two.raw", f, size, stride, frames);
        } catch (const Failure& e) {
            return std::string(e.what());
        }
        return std::string("accepted");
    };
    EXPECT_NE(messageOf({4, 4}, std::nullopt, std::nullopt).find("add --frames 2"), std::string::npos);
    EXPECT_NE(messageOf({4, 4}, std::nullopt, 3).find("holds 48 bytes, but a frame of BayerRG12Packed 4x4 with "
                                                      "stride 6 takes 24 and --frames asks for 3"),
              std::string::npos);
    EXPECT_NE(messageOf({4, 4}, 8, std::nullopt).find("stride 8 takes 32"), std::string::npos);
    EXPECT_NE(messageOf({4, 4}, 5, std::nullopt).find("stride 5 is shorter than one row"), std::string::npos);
    EXPECT_NE(messageOf({4, 4}, std::nullopt, std::nullopt).find("two.raw"), std::string::npos);
}
