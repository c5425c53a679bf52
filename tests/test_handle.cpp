#include <gtest/gtest.h>

#include "zelvora.h"

TEST(Handle, CreateGivesBgr8) {
    ZelHandle* h = nullptr;
    ASSERT_EQ(zelCreate(&h), 0);
    ZelPixelType f = 0;
    EXPECT_EQ(zelDemosaicGetConfig(h, &f), 0);
    EXPECT_EQ(f, 0x02180015u);
    EXPECT_EQ(zelRelease(&h), 0);
}
