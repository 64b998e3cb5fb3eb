#include "sample/TextureStorage.h"

#include <osgDB/Registry>

#include <algorithm>
#include <sstream>

namespace mvgeo::sample
{
namespace
{
// The image goes in as the file that the plug-in of its extension makes of it. Version 91 without block sizes is what
// published pyramids are written in, so every OSG since can read it.
constexpr const char* kTileOptions =
    "WriteImageHint=IncludeFile RobustBinaryFormat=false TargetFileVersion=91 JPEG_QUALITY 77";

/** One thread for each texture: the sample's own threads keep the processor busy. */
void setBasisOptions(osgDB::Options& options, bool uastc)
{
    options.setPluginStringData("UseBASISU", "1");
    options.setPluginStringData("UseUASTC", uastc ? "1" : "0");
    options.setPluginStringData("ThreadCount", "1");
    options.setPluginStringData("CompressLevel", "1");
    options.setPluginStringData("QualityLevel", "192");
}

/** What a writer and a reader of KTX2 make of the image; null if one of them fails. */
osg::ref_ptr<osg::Image> recodeAsKtx(const osg::Image& image, const osgDB::Options& writing,
                                     const osgDB::Options& reading)
{
    osgDB::ReaderWriter* ktx = osgDB::Registry::instance()->getReaderWriterForExtension("ktx2");
    std::stringstream bytes(std::ios::in | std::ios::out | std::ios::binary);
    if (!ktx || !ktx->writeImage(image, bytes, &writing).success()) return nullptr;
    return ktx->readImage(bytes, &reading).takeImage();
}

/** BC1, by way of UASTC: libraries that make blocks of pixels directly are not at hand, and UASTC costs least. */
osg::ref_ptr<osg::Image> blocksOf(const osg::Image& image)
{
    const osg::ref_ptr<osgDB::Options> writing = new osgDB::Options;
    setBasisOptions(*writing, true);
    const osg::ref_ptr<osgDB::Options> reading = new osgDB::Options;
    for (const auto& [name, value] : {std::pair("UseDXT", "1"), std::pair("UseETC", "0"), std::pair("UseRGBA", "0")})
        reading->setPluginStringData(name, value);
    const osg::ref_ptr<osg::Image> blocks = recodeAsKtx(image, *writing, *reading);
    return blocks && blocks->isCompressed() ? blocks : nullptr;
}
} // namespace

const char* extensionOf(TextureStorage storage)
{
    return storage == TextureStorage::jpeg ? ".jpg" : ".ktx2";
}

osg::ref_ptr<osgDB::Options> writeOptionsOf(TextureStorage storage)
{
    osg::ref_ptr<osgDB::Options> options = new osgDB::Options(kTileOptions);
    if (storage == TextureStorage::etc1s || storage == TextureStorage::uastc)
        setBasisOptions(*options, storage == TextureStorage::uastc);
    else
        options->setPluginStringData("UseBASISU", "0");
    return options;
}

osg::ref_ptr<osg::Image> prepareForStorage(const osg::ref_ptr<osg::Image>& image, TextureStorage storage)
{
    return storage == TextureStorage::bc ? blocksOf(*image) : image;
}

std::string findStorageError(TextureStorage storage)
{
    osg::ref_ptr<osg::Image> tiny = new osg::Image;
    tiny->allocateImage(4, 4, 1, GL_RGB, GL_UNSIGNED_BYTE);
    std::fill_n(tiny->data(), tiny->getTotalSizeInBytes(), static_cast<unsigned char>(110));
    tiny = prepareForStorage(tiny, storage);

    const std::string extension = extensionOf(storage) + 1; // without its dot
    osgDB::ReaderWriter* writer = osgDB::Registry::instance()->getReaderWriterForExtension(extension);
    std::ostringstream bytes;
    const bool written = writer && tiny && writer->writeImage(*tiny, bytes, writeOptionsOf(storage)).success();
    if (written && !bytes.str().empty()) return {};
    return "textures cannot be written as " + extension + ": the plug-in for it is not installed or not complete";
}
} // namespace mvgeo::sample
