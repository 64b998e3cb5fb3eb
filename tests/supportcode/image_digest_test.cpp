#include "support/ImageDigest.h"

#include <gtest/gtest.h>

#include <string>

namespace
{

std::string digestOf(const std::string& bytes)
{
    return mvgeo::imageDigest(reinterpret_cast<const unsigned char*>(bytes.data()),
                              static_cast<unsigned int>(bytes.size()));
}

// ba7816bf 8f01cfea 414140de 5dae2223 b00361a3 96177a9c b410ff61 f20015ad, byte by byte in decimal.
TEST(ImageDigest, OfAbcIsTheStandardsExampleInDecimal)
{
    EXPECT_EQ(digestOf("abc"), "18612022191"
                               "1431207234"
                               "656564222"
                               "931743435"
                               "176397163"
                               "15023122156"
                               "1801625597"
                               "242021173");
}

TEST(ImageDigest, OfNothingIsEmpty)
{
    const unsigned char byte = 7;
    EXPECT_EQ(mvgeo::imageDigest(nullptr, 0), "");
    EXPECT_EQ(mvgeo::imageDigest(nullptr, 10), "");
    EXPECT_EQ(mvgeo::imageDigest(&byte, 0), "");
}

// Found by trying numbers until a digest began with 00 0a ff.
TEST(ImageDigest, WritesZeroTenAndAFullByteAs010255)
{
    EXPECT_EQ(digestOf("8827309").substr(0, 6), "010255");
}

TEST(ImageDigest, ReadsAllBytesAndNoMore)
{
    EXPECT_EQ(digestOf("abcd").size() > 31, true);
    EXPECT_NE(digestOf("abcd"), digestOf("abc"));
    const std::string longer = "abcd";
    EXPECT_EQ(mvgeo::imageDigest(reinterpret_cast<const unsigned char*>(longer.data()), 3), digestOf("abc"));
    EXPECT_NE(digestOf(std::string("a\0b", 3)), digestOf("a"));
}

} // namespace
