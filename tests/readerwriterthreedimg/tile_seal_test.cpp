#include "readerwriterthreedimg/TileSeal.h"

#include <gtest/gtest.h>

using mvgeo::Seal;
using mvgeo::sealFor;
using mvgeo::sealOn;

namespace
{

/** Content of this many bytes with its seal. */
std::string sealed(std::size_t size)
{
    std::string content;
    for (std::size_t i = 0; i < size; ++i)
        content += static_cast<char>(i * 37);
    return content + sealFor(content);
}

TEST(TileSeal, FitsItsContent)
{
    for (const std::size_t size : {0U, 1U, 7U, 8U, 9U, 100U})
        EXPECT_EQ(sealOn(sealed(size)), Seal::intact) << size;
}

TEST(TileSeal, IsBrokenByEachBitOfTheContent)
{
    const std::string good = sealed(30);
    for (std::size_t bit = 0; bit < 8 * 30; ++bit)
    {
        std::string bad = good;
        bad[bit / 8] = static_cast<char>(bad[bit / 8] ^ (1 << bit % 8));
        EXPECT_EQ(sealOn(bad), Seal::broken) << bit;
    }
}

TEST(TileSeal, IsBrokenByBytesThatAreMissingOrTooMany)
{
    const std::string good = sealed(32);
    EXPECT_EQ(sealOn(good.substr(1)), Seal::broken);
    EXPECT_EQ(sealOn(good.substr(8)), Seal::broken);
    EXPECT_EQ(sealOn(std::string(8, '\0') + good), Seal::broken);
    EXPECT_EQ(sealOn(good.substr(0, 32) + std::string(8, '\0') + good.substr(32)), Seal::broken);
}

TEST(TileSeal, IsNotThereOnOtherFiles)
{
    const std::string good = sealed(32);
    for (const std::string& file : {std::string(), std::string("text"), good.substr(0, 32), good.substr(0, 40),
                                    good.substr(0, good.size() - 1), good + "x"})
        EXPECT_EQ(sealOn(file), Seal::none) << file.size();
}

} // namespace
