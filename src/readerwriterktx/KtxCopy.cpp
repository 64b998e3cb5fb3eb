#include "readerwriterktx/KtxCopy.h"

#include "readerwriterktx/KtxFormats.h"
#include "readerwriterktx/KtxWriting.h"
#include "readerwriterktx/VkFormats.h"

#include <osg/ValueObject>

namespace mvgeo
{

namespace
{

#if defined(MVGEO_HAVE_KTX)
constexpr bool kHasLibktx = true;
#else
constexpr bool kHasLibktx = false;
#endif

KtxImageFormat formatOfCopied(const osg::Image& image)
{
    return {image.getInternalTextureFormat(), image.getPixelFormat(), image.getDataType()};
}

/** The same pixels, lent, and the lowest row first. */
osg::ref_ptr<osg::Image> fromBelow(const osg::Image& image)
{
    osg::ref_ptr<osg::Image> view = new osg::Image;
    view->setImage(image.s(), image.t(), image.r(), image.getInternalTextureFormat(), image.getPixelFormat(),
                   image.getDataType(), const_cast<unsigned char*>(image.data()), osg::Image::NO_DELETE,
                   static_cast<int>(image.getPacking()), image.getRowLength());
    view->setMipmapLevels(image.getMipmapLevels());
    view->setUserDataContainer(const_cast<osg::UserDataContainer*>(image.getUserDataContainer())); // only read
    return view;
}

} // namespace

std::string ktxCopyOf(const osg::Image& image)
{
    if (!kHasLibktx || !image.data() || vkFormatOf(formatOfCopied(image)) == vk::kUndefined) return {};
    KtxSettings asItIs;
    asItIs.useBasis = false;
    const osg::ref_ptr<osg::Image> view = fromBelow(image);
    return writeKtx({view.get()}, false, asItIs);
}

void restoreFormatOfCopy(osg::Image& image)
{
    std::string swizzle;
    if (!image.getUserValue("KTXswizzle", swizzle)) return;
    const std::optional<KtxImageFormat> format = formatOfSwizzle(formatOfCopied(image), swizzle);
    if (!format) return;
    image.setInternalTextureFormat(format->internalFormat);
    image.setPixelFormat(format->pixelFormat);
}

} // namespace mvgeo
