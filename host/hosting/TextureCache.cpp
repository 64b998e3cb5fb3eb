#include "hosting/TextureCache.h"

#include "common/ImageBytes.h"

#include <osg/Image>

namespace mvgeo::host
{
namespace
{
// Oblique walls are seen at a slant; beyond 8 samples software renderers only get slower.
constexpr float kMaxAnisotropy = 8.0F;

/** An image over pixels that the library's object owns. */
class BorrowedImage : public osg::Image
{
public:
    explicit BorrowedImage(std::unique_ptr<KdGiGeoMeshImage> source) : _source(std::move(source)) {}

    /** False if the object has no usable pixels; it is then given back through `source`. */
    bool borrow(std::unique_ptr<KdGiGeoMeshImage>& source)
    {
        unsigned int width = 0;
        unsigned int height = 0;
        unsigned int dataType = 0;
        unsigned int pixelFormat = 0;
        unsigned int internalFormat = 0;
        unsigned char* data = nullptr;
        const bool held = _source->imageData(width, height, dataType, pixelFormat, internalFormat, data);
        if (!held || !data || width == 0 || height == 0)
        {
            source = std::move(_source);
            return false;
        }
        setImage(static_cast<int>(width), static_cast<int>(height), 1, withoutSrgb(static_cast<GLint>(internalFormat)),
                 pixelFormat, dataType, data, osg::Image::NO_DELETE, 1);
        return true;
    }

protected:
    ~BorrowedImage() override = default;

private:
    std::unique_ptr<KdGiGeoMeshImage> _source;
};

osg::ref_ptr<osg::Texture2D> makeTexture(osg::Image& image, const std::shared_ptr<UndrawableCount>& undrawable)
{
    osg::ref_ptr<osg::Texture2D> texture =
        image.isCompressed() ? makeBlockTexture(image, undrawable) : osg::ref_ptr(new osg::Texture2D(&image));
    if (image.getPixelFormat() == GL_RED) texture->setSwizzle({GL_RED, GL_RED, GL_RED, GL_ONE}); // a grey photograph
    texture->setFilter(osg::Texture::MIN_FILTER, osg::Texture::LINEAR_MIPMAP_LINEAR);
    texture->setFilter(osg::Texture::MAG_FILTER, osg::Texture::LINEAR);
    texture->setMaxAnisotropy(kMaxAnisotropy);
    texture->setWrap(osg::Texture::WRAP_S, osg::Texture::CLAMP_TO_EDGE);
    texture->setWrap(osg::Texture::WRAP_T, osg::Texture::CLAMP_TO_EDGE);
    texture->setResizeNonPowerOfTwoHint(false);
    texture->setUnRefImageDataAfterApply(true);
    return texture;
}
} // namespace

void HostTexture::repeat()
{
    _repeats = true;
    if (!_texture) return;
    _texture->setWrap(osg::Texture::WRAP_S, osg::Texture::REPEAT);
    _texture->setWrap(osg::Texture::WRAP_T, osg::Texture::REPEAT);
}

bool HostTexture::takePixels(const std::shared_ptr<UndrawableCount>& undrawable)
{
    for (std::unique_ptr<KdGiGeoMeshImage>& source : _sources)
    {
        const osg::ref_ptr<BorrowedImage> image = new BorrowedImage(std::move(source));
        if (!image->borrow(source)) continue;
        _texture = makeTexture(*image, undrawable);
        _byteCount = levelBytes(*image);
        if (_repeats) repeat();
        break;
    }
    _sources.clear();
    return _texture.valid();
}

std::shared_ptr<HostTexture> TextureCache::adopt(std::unique_ptr<KdGiGeoMeshImage> image)
{
    std::weak_ptr<HostTexture>& known = _textures[image->key()];
    std::shared_ptr<HostTexture> texture = known.lock();
    if (!texture)
    {
        texture = std::make_shared<HostTexture>();
        known = texture;
    }
    if (texture->_texture) return texture; // the pixels are here already: this object goes with its own
    if (texture->_sources.empty()) _pending.push_back(texture);
    texture->_sources.push_back(std::move(image));
    return texture;
}

void TextureCache::loadPending()
{
    for (const std::shared_ptr<HostTexture>& texture : _pending)
        if (texture->takePixels(_undrawable)) ++_loadCount;
    _pending.clear();
    for (auto it = _textures.begin(); it != _textures.end();)
        it = it->second.expired() ? _textures.erase(it) : ++it;
}

std::size_t TextureCache::textureCount() const
{
    std::size_t count = 0;
    for (const auto& [key, weak] : _textures)
        if (const std::shared_ptr<HostTexture> texture = weak.lock(); texture && texture->texture()) ++count;
    return count;
}

std::size_t TextureCache::byteCount() const
{
    std::size_t bytes = 0;
    for (const auto& [key, weak] : _textures)
        if (const std::shared_ptr<HostTexture> texture = weak.lock()) bytes += texture->byteCount();
    return bytes;
}
} // namespace mvgeo::host
