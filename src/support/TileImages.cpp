#include "support/TileImages.h"

#include "support/ImageBytes.h"
#include "support/VisitorGeometry.h"

#include <algorithm>
#include <cstring>
#include <set>

namespace mvgeo
{

namespace
{

constexpr int kLongestSide = 65536; // four times what graphics hardware takes, and far from where OSG's sizes overflow
constexpr unsigned int kMostLevels = 17;

bool isPossible(const osg::Image& image)
{
    const auto [shortest, longest] = std::minmax({image.s(), image.t(), image.r()});
    return shortest > 0 && longest <= kLongestSide && image.getNumMipmapLevels() <= kMostLevels;
}

/** With zeros behind what there is. */
void extend(osg::Image& image, std::size_t present, std::size_t wanted)
{
    auto* pixels = new unsigned char[wanted](); // the image deletes them
    std::memcpy(pixels, image.data(), present);
    const osg::Image::MipmapDataType levels = image.getMipmapLevels();
    image.setImage(image.s(), image.t(), image.r(), image.getInternalTextureFormat(), image.getPixelFormat(),
                   image.getDataType(), pixels, osg::Image::USE_NEW_DELETE, static_cast<int>(image.getPacking()),
                   image.getRowLength());
    image.setMipmapLevels(levels);
}

std::string faultOf(const osg::Image& image, std::size_t present)
{
    return "a texture of " + std::to_string(image.s()) + " x " + std::to_string(image.t()) + " pixels has " +
           std::to_string(present) + " bytes";
}

} // namespace

std::string completeImages(osg::Node& tile, const std::function<std::size_t(const void*, std::size_t)>& bytesAt)
{
    VisitorGeometry collector;
    tile.accept(collector);
    std::set<const osg::Image*> visited;
    for (const osg::ref_ptr<osg::Geometry>& geometry : collector.geometries())
    {
        osg::Texture2D* texture = textureOf(*geometry);
        osg::Image* image = texture ? texture->getImage() : nullptr;
        if (!image || !image->data() || !visited.insert(image).second) continue;
        if (!isPossible(*image)) return faultOf(*image, bytesAt(image->data(), 0));
        const std::size_t wanted = imageBytes(*image);
        const std::size_t present = bytesAt(image->data(), wanted);
        if (present == 0 || present >= wanted) continue;
        // OSG's own writer takes this for enough.
        const bool isAsOsgCounts = image->isCompressed() && image->getTotalSizeInBytesIncludingMipmaps() <= present;
        if (!isAsOsgCounts) return faultOf(*image, present);
        extend(*image, present, wanted);
    }
    return {};
}

} // namespace mvgeo
