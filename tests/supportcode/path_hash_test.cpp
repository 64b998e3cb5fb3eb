#include "support/PathHash.h"

#include <gtest/gtest.h>

#include <string>

namespace
{

using namespace mvgeo;

/** The same hash by shifts and additions only: the prime is 2^40 + 2^8 + 0xb3. */
std::uint64_t slowHash(const std::string& text)
{
    std::uint64_t hash = 0xcbf29ce484222325ULL;
    for (const char c : text)
    {
        hash ^= static_cast<std::uint64_t>(static_cast<unsigned char>(c));
        std::uint64_t product = (hash << 40) + (hash << 8);
        for (int i = 0; i < 0xb3; ++i)
            product += hash;
        hash = product;
    }
    return hash;
}

// The test vectors that the hash's authors publish.
TEST(PathHash, OfPublishedVectors)
{
    EXPECT_EQ(pathHash(""), 0xcbf29ce484222325ULL);
    EXPECT_EQ(pathHash("a"), 0xaf63dc4c8601ec8cULL);
    EXPECT_EQ(pathHash("foobar"), 0x85944171f73967e8ULL);
}

TEST(PathHash, TakesEveryByteWithoutSign)
{
    for (const std::string text :
         {"\x80", "\xff\xff", "D:/\xe5\x80\xbe\xe6\x96\x9c/tile.osgb", "D:\\dem.tif?D:\\dom.tif"})
        EXPECT_EQ(pathHash(text), slowHash(text)) << text;
}

TEST(PathHash, GoesOnBehindAZeroByte)
{
    const std::string text("a\0b", 3);
    EXPECT_EQ(pathHash(text), slowHash(text));
    EXPECT_NE(pathHash(text), pathHash("a"));
}

TEST(PathHash, OfCasesAndSeparatorsDiffers)
{
    EXPECT_NE(pathHash("D:/A"), pathHash("D:/a"));
    EXPECT_NE(pathHash("D:/a"), pathHash("D:\\a"));
}

TEST(PathHash, TextIsDecimalWithoutSign)
{
    EXPECT_EQ(pathHashText(""), "14695981039346656037"); // above 2^63
}

} // namespace
