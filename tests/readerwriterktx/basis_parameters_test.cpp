#include "readerwriterktx/KtxBasisParameters.h"

#include <gtest/gtest.h>

namespace
{

mvgeo::KtxSettings settingsOf(int threadCount, int compressLevel, int qualityLevel, bool useUastc = false)
{
    mvgeo::KtxSettings settings;
    settings.useUastc = useUastc;
    settings.threadCount = threadCount;
    settings.compressLevel = compressLevel;
    settings.qualityLevel = qualityLevel;
    return settings;
}

void expectLibraryDefaults(const ktxBasisParams& parameters)
{
    EXPECT_EQ(parameters.maxEndpoints, 0U);
    EXPECT_EQ(parameters.endpointRDOThreshold, 0.0F);
    EXPECT_EQ(parameters.maxSelectors, 0U);
    EXPECT_EQ(parameters.selectorRDOThreshold, 0.0F);
    for (const char letter : parameters.inputSwizzle)
        EXPECT_EQ(letter, 0);
    EXPECT_FALSE(parameters.normalMap);
    EXPECT_FALSE(parameters.separateRGToRGB_A);
    EXPECT_FALSE(parameters.preSwizzle);
    EXPECT_FALSE(parameters.noEndpointRDO);
    EXPECT_FALSE(parameters.noSelectorRDO);
    EXPECT_EQ(parameters.uastcFlags, 0U);
    EXPECT_FALSE(parameters.uastcRDO);
    EXPECT_EQ(parameters.uastcRDOQualityScalar, 0.0F);
    EXPECT_EQ(parameters.uastcRDODictSize, 0U);
    EXPECT_EQ(parameters.uastcRDOMaxSmoothBlockErrorScale, 0.0F);
    EXPECT_EQ(parameters.uastcRDOMaxSmoothBlockStdDev, 0.0F);
    EXPECT_FALSE(parameters.uastcRDODontFavorSimplerModes);
    EXPECT_FALSE(parameters.uastcRDONoMultithreading);
}

TEST(KtxBasisParameters, AreTheSettings)
{
    for (const bool useUastc : {false, true})
    {
        const ktxBasisParams parameters = mvgeo::basisParametersOf(settingsOf(3, 4, 77, useUastc));
        EXPECT_EQ(parameters.structSize, 76U);
        EXPECT_EQ(parameters.uastc, useUastc);
        EXPECT_FALSE(parameters.verbose);
        EXPECT_FALSE(parameters.noSSE);
        EXPECT_EQ(parameters.threadCount, 3U);
        EXPECT_EQ(parameters.compressionLevel, 4U);
        EXPECT_EQ(parameters.qualityLevel, 77U);
        expectLibraryDefaults(parameters);
    }
}

// Crosswise to what the options' descriptions say.
TEST(KtxBasisParameters, FallBackToOneThreadLevel128AndQuality1)
{
    for (const int missing : {0, -1, -2147483647})
    {
        const ktxBasisParams parameters = mvgeo::basisParametersOf(settingsOf(missing, missing, missing));
        EXPECT_EQ(parameters.threadCount, 1U) << missing;
        EXPECT_EQ(parameters.compressionLevel, 128U) << missing;
        EXPECT_EQ(parameters.qualityLevel, 1U) << missing;
        EXPECT_EQ(parameters.structSize, 76U);
        expectLibraryDefaults(parameters);
    }
    const ktxBasisParams ones = mvgeo::basisParametersOf(settingsOf(1, 1, 1));
    EXPECT_EQ(ones.compressionLevel, 1U);
    EXPECT_EQ(ones.qualityLevel, 1U);
}

TEST(KtxBasisParameters, OfAnOptionThatSetsTheEncoderOnAreTheFallBacks)
{
    const osg::ref_ptr<osgDB::Options> options(new osgDB::Options);
    options->setPluginStringData("UseBASISU", "1");
    const ktxBasisParams parameters = mvgeo::basisParametersOf(mvgeo::ktxSettings(options));
    EXPECT_FALSE(parameters.uastc);
    EXPECT_EQ(parameters.threadCount, 1U);
    EXPECT_EQ(parameters.compressionLevel, 128U);
    EXPECT_EQ(parameters.qualityLevel, 1U);
}

TEST(KtxBasisParameters, WithoutOptionsAreLevel2AndQuality128)
{
    const ktxBasisParams parameters = mvgeo::basisParametersOf(mvgeo::ktxSettings(nullptr));
    EXPECT_FALSE(parameters.uastc);
    EXPECT_EQ(parameters.threadCount, 1U);
    EXPECT_EQ(parameters.compressionLevel, 2U);
    EXPECT_EQ(parameters.qualityLevel, 128U);
}

// What is too much for the encoder it cuts down itself, but not the number of threads.
TEST(KtxBasisParameters, AskForThreadsThatTheSystemHas)
{
    EXPECT_EQ(mvgeo::basisParametersOf(settingsOf(256, 1, 1)).threadCount, 256U);
    EXPECT_EQ(mvgeo::basisParametersOf(settingsOf(257, 1, 1)).threadCount, 256U);
    const ktxBasisParams most = mvgeo::basisParametersOf(settingsOf(2147483647, 2147483647, 2147483647));
    EXPECT_EQ(most.threadCount, 256U);
    EXPECT_EQ(most.compressionLevel, 2147483647U);
    EXPECT_EQ(most.qualityLevel, 2147483647U);
}

} // namespace
