#include "hosting/BlockTexture.h"

#include "common/ImageBytes.h"

#include <osg/GLExtensions>
#include <osg/State>

#include <algorithm>
#include <utility>

namespace mvgeo::host
{
namespace
{
// Formats for which OSG has no name.
constexpr GLint kBc7 = 0x8E8C;
constexpr GLint kBc6hUnsigned = 0x8E8F;

bool isDecodable(GLenum pixelFormat)
{
    return pixelFormat == GL_COMPRESSED_RGB_S3TC_DXT1_EXT || pixelFormat == GL_COMPRESSED_RGBA_S3TC_DXT1_EXT ||
           pixelFormat == GL_COMPRESSED_RGBA_S3TC_DXT3_EXT || pixelFormat == GL_COMPRESSED_RGBA_S3TC_DXT5_EXT;
}

/** BC1 to BC7, of which a card can make mip levels. Asked for those of other blocks, Mesa reports no error and makes
 * none. */
bool isBc(GLint internalFormat)
{
    const auto isIn = [internalFormat](GLint first, GLint last)
    { return internalFormat >= first && internalFormat <= last; };
    return isIn(GL_COMPRESSED_RGB_S3TC_DXT1_EXT, GL_COMPRESSED_RGBA_S3TC_DXT5_EXT) ||
           isIn(GL_COMPRESSED_RED_RGTC1_EXT, GL_COMPRESSED_SIGNED_RED_GREEN_RGTC2_EXT) || isIn(kBc7, kBc6hUnsigned);
}

/** What is there from before would be taken for ours. */
void clearGlErrors()
{
    constexpr int kMost = 16; // a lost context reports for ever
    for (int i = 0; i < kMost && glGetError() != GL_NO_ERROR; ++i)
    {
    }
}

void uploadPixels(const osg::Image& image)
{
    glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    glPixelStorei(GL_UNPACK_ROW_LENGTH, 0);
    glTexImage2D(GL_TEXTURE_2D, 0, image.getInternalTextureFormat(), image.s(), image.t(), 0, image.getPixelFormat(),
                 image.getDataType(), image.data());
}

osg::ref_ptr<osg::Image> plainImage()
{
    constexpr unsigned char kPlain[4] = {199, 196, 191, 255}; // as SceneStyle colours what has no photograph
    const osg::ref_ptr<osg::Image> image = new osg::Image;
    image->allocateImage(1, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE);
    std::copy_n(kPlain, sizeof kPlain, image->data());
    return image;
}

/** Brings the blocks to the card when their texture is first drawn. Thread: the drawing one. */
class BlockUpload : public osg::Texture2D::SubloadCallback
{
public:
    BlockUpload(osg::Image& image, std::shared_ptr<UndrawableCount> undrawable)
        : _image(&image), _undrawable(std::move(undrawable))
    {
    }

    void load(const osg::Texture2D& texture, osg::State& state) const override
    {
        if (!_image) return;
        const osg::GLExtensions& gl = *state.get<osg::GLExtensions>();
        clearGlErrors();
        const bool areBlocks = uploadBlocks(gl);
        if (!areBlocks) uploadDecoded();
        const bool canHaveLevels = !areBlocks || isBc(_image->getInternalTextureFormat());
        if (!canHaveLevels || !makeMipLevels(gl)) disableMipLevels(texture);
        _image = nullptr;
    }
    void subload(const osg::Texture2D&, osg::State&) const override {}

protected:
    ~BlockUpload() override = default;

private:
    [[nodiscard]] bool uploadBlocks(const osg::GLExtensions& gl) const
    {
        if (!gl.isCompressedTexImage2DSupported()) return false;
        // What the context does not know is an error, and leaves the texture as it was.
        gl.glCompressedTexImage2D(GL_TEXTURE_2D, 0, static_cast<GLenum>(_image->getInternalTextureFormat()),
                                  _image->s(), _image->t(), 0, static_cast<GLsizei>(levelBytes(*_image)),
                                  _image->data());
        return glGetError() == GL_NO_ERROR;
    }

    void uploadDecoded() const
    {
        osg::ref_ptr<osg::Image> pixels = decodeBlocks(*_image);
        if (!pixels) ++*_undrawable;
        if (!pixels) pixels = plainImage();
        uploadPixels(*pixels);
    }

    [[nodiscard]] static bool makeMipLevels(const osg::GLExtensions& gl)
    {
        if (!gl.glGenerateMipmap) return false;
        clearGlErrors();
        gl.glGenerateMipmap(GL_TEXTURE_2D);
        return glGetError() == GL_NO_ERROR;
    }

    /** The filter must not ask for them. */
    static void disableMipLevels(const osg::Texture2D& texture)
    {
        const_cast<osg::Texture2D&>(texture).setFilter(osg::Texture::MIN_FILTER, osg::Texture::LINEAR);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    }

    mutable osg::ref_ptr<osg::Image> _image; // until the card has it
    std::shared_ptr<UndrawableCount> _undrawable;
};
} // namespace

osg::ref_ptr<osg::Texture2D> makeBlockTexture(osg::Image& image, const std::shared_ptr<UndrawableCount>& undrawable)
{
    osg::ref_ptr<osg::Texture2D> texture = new osg::Texture2D;
    texture->setTextureSize(image.s(), image.t());
    texture->setSubloadCallback(new BlockUpload(image, undrawable));
    return texture;
}

osg::ref_ptr<osg::Image> decodeBlocks(const osg::Image& image)
{
    if (!isDecodable(image.getPixelFormat())) return nullptr;
    osg::ref_ptr<osg::Image> pixels = new osg::Image;
    pixels->allocateImage(image.s(), image.t(), 1, GL_RGBA, GL_UNSIGNED_BYTE);
    for (int row = 0; row < image.t(); ++row)
        for (int column = 0; column < image.s(); ++column)
            pixels->setColor(image.getColor(static_cast<unsigned int>(column), static_cast<unsigned int>(row)),
                             static_cast<unsigned int>(column), static_cast<unsigned int>(row));
    return pixels;
}

GLint withoutSrgb(GLint internalFormat)
{
    struct Pair
    {
        GLint first, last, plain; // a row of formats without gaps, and what the first one becomes
    };
    constexpr Pair kPairs[] = {
        {0x8C40, 0x8C40, GL_RGB},                          // GL_SRGB
        {0x8C41, 0x8C41, GL_RGB8},                         // GL_SRGB8
        {0x8C42, 0x8C42, GL_RGBA},                         // GL_SRGB_ALPHA
        {0x8C43, 0x8C43, GL_RGBA8},                        // GL_SRGB8_ALPHA8
        {0x8C4C, 0x8C4F, GL_COMPRESSED_RGB_S3TC_DXT1_EXT}, // the four of BC1 to BC3, in the same order
        {0x8E8D, 0x8E8D, kBc7},                            // BC7
        {GL_COMPRESSED_SRGB8_ETC2, GL_COMPRESSED_SRGB8_ETC2, GL_COMPRESSED_RGB8_ETC2},
        {GL_COMPRESSED_SRGB8_PUNCHTHROUGH_ALPHA1_ETC2, GL_COMPRESSED_SRGB8_PUNCHTHROUGH_ALPHA1_ETC2,
         GL_COMPRESSED_RGB8_PUNCHTHROUGH_ALPHA1_ETC2},
        {GL_COMPRESSED_SRGB8_ALPHA8_ETC2_EAC, GL_COMPRESSED_SRGB8_ALPHA8_ETC2_EAC, GL_COMPRESSED_RGBA8_ETC2_EAC},
        {GL_COMPRESSED_SRGB8_ALPHA8_ASTC_4x4_KHR, GL_COMPRESSED_SRGB8_ALPHA8_ASTC_12x12_KHR,
         GL_COMPRESSED_RGBA_ASTC_4x4_KHR},
    };
    for (const Pair& pair : kPairs)
        if (internalFormat >= pair.first && internalFormat <= pair.last)
            return pair.plain + (internalFormat - pair.first);
    return internalFormat;
}
} // namespace mvgeo::host
