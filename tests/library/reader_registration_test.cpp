#include "mvgeothirdparty/ModelFactory.h"

#include <osgDB/Registry>

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace
{

int countOf(const std::string& className)
{
    int count = 0;
    for (const auto& readerWriter : osgDB::Registry::instance()->getReaderWriterList())
        if (readerWriter->className() == className) ++count;
    return count;
}

} // namespace

// Models come and go without bringing a reader each.
TEST(ReaderRegistration, ThereIsOneKtxReaderWriterFromTheStart)
{
    const std::string name = "[luflegle] KTX texture reader";
    EXPECT_EQ(countOf(name), 1);
    const std::unique_ptr<MvGeoMesh> one(createTiledModel(nullptr, kTiledModel));
    const std::unique_ptr<MvGeoMesh> two(createTiledModel(nullptr, kTerrainModel));
    EXPECT_TRUE(one);
    EXPECT_TRUE(two);
    EXPECT_EQ(countOf(name), 1);
}

TEST(ReaderRegistration, TheKtxReaderWriterAnswersForBothExtensions)
{
    osgDB::Registry* registry = osgDB::Registry::instance();
    for (const char* extension : {"ktx", "ktx2"})
    {
        const osgDB::ReaderWriter* readerWriter = registry->getReaderWriterForExtension(extension);
        ASSERT_TRUE(readerWriter) << extension;
        EXPECT_STREQ(readerWriter->className(), "[luflegle] KTX texture reader") << extension;
    }
}
