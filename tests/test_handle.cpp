// Handle life cycle, scratch growth and output configuration.
#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>

#include "support.hpp"
#include "zelvora.h"

using zeltest::errorLine;

namespace {

struct HandleTest : testing::Test {
    ZelHandle* handle = nullptr;
    void SetUp() override { ASSERT_EQ(zelCreate(&handle), ZEL_OK); }
    void TearDown() override {
        if (handle) zelRelease(&handle);
    }
};

TEST_F(HandleTest, StartsInTheDefaultState) {
    ZelPixelType format = 0;
    EXPECT_EQ(zelDemosaicGetConfig(handle, &format), ZEL_OK);
    EXPECT_EQ(format, 0x02180015u);
    EXPECT_TRUE(handle->scratch.data == nullptr && handle->scratch.capacity == 0);
    EXPECT_TRUE(handle->spare[0] == 0 && handle->spare[1] == 0);
    // The third word of the third triple is left as it was.
    const int32_t presets[3][2] = {{12, 1}, {8, 1}, {8, 1}};
    for (int i = 0; i < 3; ++i)
        EXPECT_TRUE(handle->presets[i].values[0] == presets[i][0] && handle->presets[i].values[1] == presets[i][1]) << i;
    EXPECT_TRUE(handle->presets[0].values[2] == 0 && handle->presets[1].values[2] == 0);
}

// The seven output layouts are taken; any other code is refused and the
// layout stays as it was.
TEST_F(HandleTest, TakesTheSevenLayoutsOnly) {
    for (ZelPixelType code : {0x01080001ull, 0x02180014ull, 0x02180015ull, 0x02200016ull, 0x02200017ull,
                              0x02180021ull, 0x02180025ull, 0x0108000Bull, 0x01100007ull, 0x0000000102180015ull, 0ull}) {
        const ZelPixelType before = handle->outputFormat;
        const bool layout = (code >> 24) == 2 || code == 0x01080001ull;
        EXPECT_EQ(zeltest::captured([&] { return zelDemosaicSetConfig(handle, &code); }),
                  layout ? zeltest::outcome(ZEL_OK, 0) : zeltest::outcome(errUnsupportedOutput, 74))
            << std::hex << code;
        ZelPixelType back = 0;
        zelDemosaicGetConfig(handle, &back);
        EXPECT_EQ(back, layout ? code : before);
    }
}

TEST_F(HandleTest, NullArgumentsAreRefusedWithTheirNumbers) {
    ZelPixelType format = ZEL_PIX_BGR8;
    struct Case {
        int line;
        std::function<int32_t()> call;
    } cases[] = {
        {13, [] { return zelCreate(nullptr); }},
        {41, [] { return zelRelease(nullptr); }},
        {52, [&] { return zelDemosaicGetConfig(nullptr, &format); }},
        {52, [&] { return zelDemosaicGetConfig(handle, nullptr); }},
        {70, [&] { return zelDemosaicSetConfig(nullptr, &format); }},
        {70, [&] { return zelDemosaicSetConfig(handle, nullptr); }},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(zeltest::captured(c.call), zeltest::outcome(errInvalidParameter, c.line));
    }
}

// Scratch buffers only grow; releasing the handle frees them and clears the
// caller's pointer.
TEST_F(HandleTest, ScratchOnlyGrowsAndReleaseClearsThePointer) {
    ZelScratch& s = handle->scratch;
    for (int32_t size : {0, -5}) {
        EXPECT_EQ(zelMemRealloc(&s, size), ZEL_OK);
        EXPECT_EQ(s.data, nullptr);
    }
    ASSERT_EQ(zelMemRealloc(&s, 64), ZEL_OK);
    uint8_t* first = s.data;
    first[63] = 1;  // the whole capacity is usable
    for (int32_t size : {64, 10}) EXPECT_EQ(zelMemRealloc(&s, size), ZEL_OK);
    EXPECT_TRUE(s.data == first && s.capacity == 64);
    ASSERT_EQ(zelMemRealloc(&s, 4096), ZEL_OK);
    EXPECT_EQ(s.capacity, 4096);
    s.data[4095] = 1;
    EXPECT_EQ(zelRelease(&handle), ZEL_OK);
    EXPECT_EQ(handle, nullptr);
    ZelHandle* none = nullptr;  // nothing to release
    EXPECT_EQ(zelRelease(&none), ZEL_OK);
}

// Resetting a handle forgets its scratch buffer without releasing it; the
// test takes the buffer back itself so that nothing leaks.
TEST_F(HandleTest, InitForgetsTheScratchWithoutReleasingIt) {
    const ZelPixelType mono = ZEL_PIX_MONO8;
    zelDemosaicSetConfig(handle, &mono);
    ASSERT_EQ(zelMemRealloc(&handle->scratch, 128), ZEL_OK);
    uint8_t* kept = handle->scratch.data;
    zelInit(handle);
    EXPECT_EQ(handle->scratch.data, nullptr);
    EXPECT_EQ(handle->scratch.capacity, 0);
    EXPECT_EQ(handle->outputFormat, static_cast<ZelPixelType>(ZEL_PIX_BGR8));
    std::free(kept);
}

}  // namespace
