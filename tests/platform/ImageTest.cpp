#include "platform/image/Image.h"

#include <gtest/gtest.h>

namespace {

TEST(Image, MemoryImageStartsClearedAndTakesTiles) {
    kv::TempReference<ilSPMemoryImg> image(
        new ilSPMemoryImg(ilSize(4, 3, 1, 4), ilUChar, ilInterleaved, true));
    ASSERT_NE(image->getData(), nullptr);
    EXPECT_EQ(image->getDataSize(), 4u * 3u * 4u);
    for (std::size_t i = 0; i < image->getDataSize(); ++i)
        ASSERT_EQ(image->getData()[i], 0);

    const unsigned char tile[2 * 2 * 4] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
    ASSERT_TRUE(image->setTile(2, 1, 0, 2, 2, 1, tile));
    const unsigned char* px = image->getData();
    EXPECT_EQ(px[(1 * 4 + 2) * 4], 1);
    EXPECT_EQ(px[(1 * 4 + 3) * 4 + 3], 8);
    EXPECT_EQ(px[(2 * 4 + 2) * 4], 9);
    EXPECT_EQ(px[(2 * 4 + 3) * 4 + 3], 16);
    EXPECT_EQ(px[(1 * 4 + 1) * 4], 0);
}

TEST(Image, TilesOutsideTheImageAreRefused) {
    ilSPMemoryImg image(ilSize(4, 4, 1, 1), ilUChar, ilInterleaved, true);
    const unsigned char tile[16] = {};
    EXPECT_FALSE(image.setTile(3, 0, 0, 2, 1, 1, tile));
    EXPECT_FALSE(image.setTile(-1, 0, 0, 1, 1, 1, tile));
    EXPECT_FALSE(image.setTile(0, 0, 1, 1, 1, 1, tile));
    EXPECT_FALSE(image.setTile(0, 0, 0, 0, 1, 1, tile));
    EXPECT_FALSE(image.setTile(0, 0, 0, 1, 1, 1, nullptr));
    EXPECT_FALSE(image.setTile(0, 0, 0, 2147483647, 1, 1, tile));
}

TEST(Image, UnsupportedOrHugeLayoutsGiveAnEmptyImage) {
    for (const ilSize& size : {ilSize(0, 4, 1, 4), ilSize(4, 4, 1, 5), ilSize(1 << 20, 1 << 20, 1, 4),
                               ilSize(65536, 65536, 65536, 4), ilSize(-4, -4, 1, 4)}) {
        ilSPMemoryImg image(size, ilUChar, ilInterleaved, false);
        EXPECT_EQ(image.getData(), nullptr);
        EXPECT_EQ(image.getSize().x, 0);
    }
    ilSPMemoryImg wrongOrder(ilSize(2, 2, 1, 4), ilUChar, static_cast<ilOrder>(0), false);
    EXPECT_EQ(wrongOrder.getData(), nullptr);
    ilSPMemoryImg floats(ilSize(2, 2, 1, 4), ilFloat, ilInterleaved, true);
    EXPECT_EQ(floats.getDataSize(), 64u);
}

} // namespace
