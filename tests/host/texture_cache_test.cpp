#include "FakeTexture.h"

#include <hosting/TextureCache.h>

#include <gtest/gtest.h>

using namespace mvgeo::host;

namespace
{
std::unique_ptr<KdGiGeoMeshImage> texture(const std::string& key, TextureCounts& counts, bool hasPixels = true)
{
    return std::make_unique<FakeTexture>(key, counts, hasPixels);
}
} // namespace

TEST(HostTextureCache, TakesThePixelsOfOneKeyOnce)
{
    TextureCounts counts;
    TextureCache cache;
    const auto first = cache.adopt(texture("0_a.jpg", counts));
    const auto second = cache.adopt(texture("0_a.jpg", counts));
    cache.loadPending();
    const auto later = cache.adopt(texture("0_a.jpg", counts));
    cache.loadPending();
    EXPECT_EQ(first, second);
    EXPECT_EQ(first, later);
    EXPECT_EQ(counts.asked, 1);
    EXPECT_EQ(counts.deleted, 2); // the two that were not needed
    EXPECT_EQ(cache.loadCount(), 1U);
    EXPECT_EQ(cache.textureCount(), 1U);
    EXPECT_EQ(cache.byteCount(), 24U); // 4 x 2 pixels of three bytes
}

TEST(HostTextureCache, KeepsDifferentKeysApart)
{
    TextureCounts counts;
    TextureCache cache;
    const auto a = cache.adopt(texture("0_a.jpg", counts));
    const auto b = cache.adopt(texture("1_a.jpg", counts));
    cache.loadPending();
    EXPECT_NE(a->texture(), b->texture());
    EXPECT_EQ(cache.textureCount(), 2U);
    EXPECT_EQ(cache.byteCount(), 48U);
}

TEST(HostTextureCache, DropsATextureWithItsLastUser)
{
    TextureCounts counts;
    TextureCache cache;
    auto first = cache.adopt(texture("a", counts));
    auto second = cache.adopt(texture("a", counts));
    cache.loadPending();
    first.reset();
    EXPECT_EQ(cache.textureCount(), 1U);
    second.reset();
    EXPECT_EQ(cache.textureCount(), 0U);
    EXPECT_EQ(cache.byteCount(), 0U);
    EXPECT_EQ(counts.deleted, 2);
}

TEST(HostTextureCache, LoadsAKeyAgainThatCameBack)
{
    TextureCounts counts;
    TextureCache cache;
    cache.adopt(texture("a", counts)).reset();
    cache.loadPending();
    const auto again = cache.adopt(texture("a", counts));
    cache.loadPending();
    EXPECT_NE(again->texture(), nullptr);
    EXPECT_EQ(cache.textureCount(), 1U);
}

TEST(HostTextureCache, TriesTheNextObjectOfAKeyWhoseFirstHasNoPixels)
{
    TextureCounts counts;
    TextureCache cache;
    const auto shared = cache.adopt(texture("a", counts, false));
    (void)cache.adopt(texture("a", counts, true));
    cache.loadPending();
    EXPECT_NE(shared->texture(), nullptr);
    EXPECT_EQ(counts.asked, 2);
}

TEST(HostTextureCache, HasNoTextureWherePixelsNeverCome)
{
    TextureCounts counts;
    TextureCache cache;
    const auto shared = cache.adopt(texture("a", counts, false));
    cache.loadPending();
    EXPECT_EQ(shared->texture(), nullptr);
    EXPECT_EQ(cache.textureCount(), 0U);
    EXPECT_EQ(counts.deleted, 1);
}

TEST(HostTextureCache, GivesThePixelsBackWhenTheCardHasThem)
{
    TextureCounts counts;
    TextureCache cache;
    const auto shared = cache.adopt(texture("a", counts));
    cache.loadPending();
    EXPECT_EQ(counts.deleted, 0);
    EXPECT_TRUE(shared->texture()->getUnRefImageDataAfterApply());
    shared->texture()->setImage(nullptr); // as OSG does after the upload
    EXPECT_EQ(counts.deleted, 1);
    EXPECT_EQ(cache.byteCount(), 24U); // the card still has them
}

TEST(HostTextureCache, ClampsUntilAMeshNeedsRepetition)
{
    TextureCounts counts;
    TextureCache cache;
    const auto shared = cache.adopt(texture("a", counts));
    cache.loadPending();
    EXPECT_EQ(shared->texture()->getWrap(osg::Texture::WRAP_S), osg::Texture::CLAMP_TO_EDGE);
    shared->repeat();
    EXPECT_EQ(shared->texture()->getWrap(osg::Texture::WRAP_S), osg::Texture::REPEAT);
    EXPECT_EQ(shared->texture()->getWrap(osg::Texture::WRAP_T), osg::Texture::REPEAT);
}
