#include "mvosggeomesh/TextureReading.h"

#include "readerwriterktx/KtxCopy.h"
#include "support/ImageBytes.h"
#include "updatescenegraph/TextureCache.h"

#include <OrloSystem.h>

#include <osgDB/FileUtils>
#include <osgDB/ReadFile>
#include <osgDB/Registry>

#include <algorithm>
#include <cstring>

namespace mvgeo
{

namespace
{

constexpr int kLeastThreads = 8; // reading waits for the disk more than it computes

osg::ref_ptr<osg::Image> readCached(const std::string& path)
{
    const osgDB::Options* options = osgDB::Registry::instance()->getOptions();
    const std::string exact = exactCopyPath(path);
    if (!osgDB::fileExists(exact)) return osgDB::readRefImageFile(path, options);
    osg::ref_ptr<osg::Image> image = osgDB::readRefImageFile(exact, options);
    if (image) restoreFormatOfCopy(*image);
    return image;
}

void readTexture(const TextureWorkItem& item)
{
    const osg::ref_ptr<osg::Image> image = readCached(item.path);
    if (!image || !image->data()) return;

    const std::size_t size = levelBytes(*image);
    auto* pixels = new unsigned char[size]; // the target deletes it
    std::memcpy(pixels, image->data(), size);
    item.target->setImage(image->s(), image->t(), image->r(), image->getInternalTextureFormat(),
                          image->getPixelFormat(), image->getDataType(), pixels, osg::Image::USE_NEW_DELETE, 1, 0);
}

} // namespace

void readTextures(const std::vector<TextureWorkItem>& items)
{
    if (items.empty()) return;
    const int threads = std::max(orloGetProcessorCoreCount(true), kLeastThreads);
    const int count = static_cast<int>(items.size());
    // For this loop alone: the number that OpenMP keeps is the host's.
#pragma omp parallel for schedule(static) num_threads(threads)
    for (int i = 0; i < count; ++i)
    {
        try
        {
            readTexture(items[static_cast<std::size_t>(i)]);
        }
        catch (...)
        {
            // An exception must not leave the loop; the texture counts as one that cannot be read.
        }
    }
}

} // namespace mvgeo
