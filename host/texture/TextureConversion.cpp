#include "texture/TextureConversion.h"

#include "common/HostError.h"
#include "common/ImageBytes.h"
#include "texture/EightBitPixels.h"
#include "texture/FormatNames.h"

#include <osg/Texture>

#include <algorithm>

namespace mvgeo::host
{
namespace
{
std::string sizeOf(const osg::Image& image)
{
    return std::to_string(image.s()) + " x " + std::to_string(image.t()) + " pixels";
}

std::string formatOf(const osg::Image& image)
{
    return glName(static_cast<GLenum>(image.getInternalTextureFormat()));
}

/** The first level of one slice of a volume. */
osg::ref_ptr<osg::Image> sliceOf(const osg::Image& volume, int number)
{
    const std::size_t bytes = sliceBytes(volume);
    auto* pixels = new unsigned char[bytes]; // the slice deletes them
    std::copy_n(volume.data() + bytes * static_cast<std::size_t>(number), bytes, pixels);
    osg::ref_ptr<osg::Image> slice = new osg::Image;
    slice->setImage(volume.s(), volume.t(), 1, volume.getInternalTextureFormat(), volume.getPixelFormat(),
                    volume.getDataType(), pixels, osg::Image::USE_NEW_DELETE, static_cast<int>(volume.getPacking()));
    slice->setOrigin(volume.getOrigin());
    slice->setUserDataContainer(const_cast<osg::UserDataContainer*>(volume.getUserDataContainer()));
    return slice;
}

bool isGreyOrAlpha(GLenum pixelFormat)
{
    return pixelFormat == GL_LUMINANCE || pixelFormat == GL_LUMINANCE_ALPHA || pixelFormat == GL_ALPHA ||
           pixelFormat == GL_INTENSITY;
}

/** OSG's PNG reader calls 16 bits a channel by the name of 8. */
osg::ref_ptr<osg::Image> withSizedFormat(const osg::ref_ptr<osg::Image>& image)
{
    if (image->getDataType() != GL_UNSIGNED_SHORT) return image;
    const auto format = static_cast<GLenum>(image->getInternalTextureFormat());
    if (format == GL_RGB) image->setInternalTextureFormat(GL_RGB16);
    if (format == GL_RGBA) image->setInternalTextureFormat(GL_RGBA16);
    return image;
}

osg::ref_ptr<osg::Image> convertForKtx(const NamedPicture& picture, Basis basis, AlphaChoice alpha)
{
    const ChannelChoice colour{/*grey*/ false, alpha};
    const osg::Image& image = *picture.image;
    if (image.isCompressed() && basis != Basis::none)
        throw HostError("'" + picture.file + "' is compressed already, as " + formatOf(image) +
                        "; --basis none writes it as it is.");
    const bool isWanted = basis != Basis::none || isGreyOrAlpha(image.getPixelFormat()) || alpha != AlphaChoice::keep;
    if (!isWanted || isEightBit(image, colour)) return withSizedFormat(picture.image);
    const osg::ref_ptr<osg::Image> result = eightBitPixels(image, colour);
    if (!result)
        throw HostError("The pixels of '" + picture.file + "', " + formatOf(image) +
                        ", cannot be turned into the 8 bits a channel that this takes.");
    return result;
}

std::vector<osg::ref_ptr<osg::Image>> convertAll(const std::vector<NamedPicture>& pictures, Basis basis,
                                                 AlphaChoice alpha)
{
    std::vector<osg::ref_ptr<osg::Image>> converted;
    for (const NamedPicture& picture : pictures)
        converted.push_back(convertForKtx(picture, basis, alpha));
    return converted;
}

/** The image with its first row at the other end, if it has to be. */
osg::ref_ptr<osg::Image> withOrigin(const osg::ref_ptr<osg::Image>& image, osg::Image::Origin origin,
                                    const std::string& file)
{
    if (image->getOrigin() == origin) return image;
    if (image->isCompressed())
        throw HostError("'" + file + "' is compressed as " + formatOf(*image) +
                        ", whose rows cannot be brought into the order of the others.");
    osg::ref_ptr<osg::Image> turned = new osg::Image(*image, osg::CopyOp::DEEP_COPY_ALL);
    turned->flipVertical();
    turned->setOrigin(origin);
    return turned;
}

bool shareFormat(const std::vector<osg::ref_ptr<osg::Image>>& images)
{
    return std::all_of(images.begin(), images.end(),
                       [&images](const osg::ref_ptr<osg::Image>& image)
                       {
                           return image->getInternalTextureFormat() == images.front()->getInternalTextureFormat() &&
                                  swizzleOf(*image) == swizzleOf(*images.front()) &&
                                  isPremultiplied(*image) == isPremultiplied(*images.front());
                       });
}
} // namespace

std::vector<NamedPicture> selectPictures(const LoadedTexture& texture, const std::string& file,
                                         std::optional<int> layer)
{
    std::vector<NamedPicture> all;
    for (const osg::ref_ptr<osg::Image>& picture : texture.pictures)
        all.push_back({file, picture});
    if (!layer) return all;
    const bool isVolume = all.size() == 1 && all.front().image->r() > 1;
    const int count = isVolume ? all.front().image->r() : static_cast<int>(all.size());
    if (*layer >= count)
        throw HostError("--layer: '" + file + "' has " + std::to_string(count) +
                        (count == 1 ? " picture" : " pictures") + ", counted from 0.");
    if (isVolume) return {{file, sliceOf(*all.front().image, *layer)}};
    return {all[static_cast<std::size_t>(*layer)]};
}

void checkSameShape(const std::vector<NamedPicture>& pictures, bool isCubeMap)
{
    const NamedPicture& first = pictures.front();
    if (isCubeMap && pictures.size() != 6)
        throw HostError("A cube map takes six pictures, not " + std::to_string(pictures.size()) + ".");
    for (const NamedPicture& picture : pictures)
    {
        if (isCubeMap && picture.image->s() != picture.image->t())
            throw HostError("The faces of a cube map are squares, but '" + picture.file + "' has " +
                            sizeOf(*picture.image) + ".");
        if (picture.image->s() != first.image->s() || picture.image->t() != first.image->t() ||
            picture.image->r() != first.image->r())
            throw HostError("The pictures of a texture have one size, but '" + picture.file + "' has " +
                            sizeOf(*picture.image) + " and '" + first.file + "' has " + sizeOf(*first.image) + ".");
        if (picture.image->getNumMipmapLevels() != first.image->getNumMipmapLevels())
            throw HostError("The pictures of a texture have equally many mipmap levels, but '" + picture.file +
                            "' has " + std::to_string(picture.image->getNumMipmapLevels()) + " and '" + first.file +
                            "' has " + std::to_string(first.image->getNumMipmapLevels()) + ".");
    }
}

std::vector<osg::ref_ptr<osg::Image>> picturesForKtx(const std::vector<NamedPicture>& pictures, Basis basis,
                                                     bool isCubeMap)
{
    std::vector<osg::ref_ptr<osg::Image>> converted = convertAll(pictures, basis, AlphaChoice::keep);
    if (!shareFormat(converted)) converted = convertAll(pictures, basis, AlphaChoice::add);
    if (!shareFormat(converted)) throw HostError("The pictures of a texture have one format, and these differ.");
    const osg::Image::Origin origin = isCubeMap ? osg::Image::TOP_LEFT : converted.front()->getOrigin();
    for (std::size_t i = 0; i < converted.size(); ++i)
        converted[i] = withOrigin(converted[i], origin, pictures[i].file);
    return converted;
}

osg::ref_ptr<osg::Image> pictureForFile(const NamedPicture& picture, bool withAlpha)
{
    const ChannelChoice channels{/*grey*/ true, withAlpha ? AlphaChoice::keep : AlphaChoice::drop};
    if (picture.image->r() > 1)
        throw HostError("'" + picture.file + "' is a volume of " + std::to_string(picture.image->r()) +
                        " slices; --layer takes one of them.");
    if (isEightBit(*picture.image, channels)) return picture.image;
    osg::ref_ptr<osg::Image> result = eightBitPixels(*picture.image, channels);
    if (result) return result;
    throw HostError("The pixels of '" + picture.file + "' are " + formatOf(*picture.image) +
                    ", of which no PNG or JPEG can be made here.");
}
} // namespace mvgeo::host
