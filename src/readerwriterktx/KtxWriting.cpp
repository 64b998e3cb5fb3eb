#include "readerwriterktx/KtxWriting.h"

#include "readerwriterktx/KtxBasisParameters.h"
#include "readerwriterktx/KtxFormats.h"
#include "readerwriterktx/KtxLog.h"
#include "readerwriterktx/KtxRows.h"
#include "readerwriterktx/KtxTexture.h"
#include "readerwriterktx/VkFormats.h"

#include <osg/ValueObject>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace mvgeo
{

namespace
{

constexpr std::size_t kFacesOfCube = 6;

unsigned int levelCountOf(const osg::Image& image)
{
    return image.isMipmap() ? image.getNumMipmapLevels() : 1;
}

unsigned int sizeAt(int size, unsigned int level)
{
    return std::max(static_cast<unsigned int>(size) >> level, 1U);
}

bool hasPixels(const osg::Image* image)
{
    return image && image->data() && image->s() > 0 && image->t() > 0 && image->r() > 0;
}

KtxImageFormat formatOf(const osg::Image& image)
{
    return {image.getInternalTextureFormat(), image.getPixelFormat(), image.getDataType()};
}

bool isSwizzle(const std::string& text)
{
    return text.size() == 4 && text.find_first_not_of("rgba01") == std::string::npos;
}

/** How the channels that Vulkan has are meant: as reading an image has found it, or else as its format means them.
 * Empty where they mean what they are. */
std::string swizzleOf(const osg::Image& image)
{
    std::string read;
    if (image.getUserValue("KTXswizzle", read) && isSwizzle(read)) return read;
    return swizzleOf(formatOf(image));
}

bool isPremultiplied(const osg::Image& image)
{
    bool is = false;
    return image.getUserValue("KTXpremultipliedAlpha", is) && is;
}

/** The same after encoding, which puts one channel into all three colours, and the second of two into alpha. */
std::string encodedSwizzle(std::string swizzle, unsigned int channels)
{
    if (channels == 1 && swizzle == "rrr1") return {};
    if (channels != 2) return swizzle;
    if (swizzle == "rrrg") return {};
    std::replace(swizzle.begin(), swizzle.end(), 'g', 'a');
    return swizzle;
}

/** What libktx says of shapes that no texture has. It is not asked, because it loses memory when it refuses. */
KTX_error_code shapeFault(const ktxTextureCreateInfo& info)
{
    if (info.numFaces != 1 && info.numFaces != kFacesOfCube) return KTX_INVALID_VALUE;
    if (info.numFaces != 1 && (info.numDimensions != 2 || info.baseWidth != info.baseHeight))
        return KTX_INVALID_OPERATION;
    if (info.numDimensions == 3 && (info.isArray || isDepthOrStencil(info.vkFormat))) return KTX_INVALID_OPERATION;
    const int mostLevels = osg::Image::computeNumberOfMipmapLevels(
        static_cast<int>(info.baseWidth), static_cast<int>(info.baseHeight), static_cast<int>(info.baseDepth));
    return info.numLevels > static_cast<unsigned int>(mostLevels) ? KTX_INVALID_OPERATION : KTX_SUCCESS;
}

KtxTexture2Ptr create(ktxTextureCreateInfo info, KTX_error_code& code)
{
    ktxTexture2* texture = nullptr;
    code = shapeFault(info);
    if (code == KTX_SUCCESS) code = ktxTexture2_Create(&info, KTX_TEXTURE_CREATE_ALLOC_STORAGE, &texture);
    if (code != KTX_SUCCESS) return nullptr;
    std::memset(texture->pData, 0, texture->dataSize); // what no image fills must not show old memory
    return KtxTexture2Ptr(texture);
}

/** The format with its channels in the order that the encoder takes: blue is last there. */
std::uint32_t encodableFormat(std::uint32_t vkFormat)
{
    switch (vkFormat)
    {
    case vk::kB8G8R8Unorm:
        return vk::kR8G8B8Unorm;
    case vk::kB8G8R8Srgb:
        return vk::kR8G8B8Srgb;
    case vk::kB8G8R8A8Unorm:
        return vk::kR8G8B8A8Unorm;
    case vk::kB8G8R8A8Srgb:
        return vk::kR8G8B8A8Srgb;
    default:
        return vkFormat;
    }
}

void swapRedAndBlue(std::vector<unsigned char>& pixels, unsigned int bytesOfPixel)
{
    for (std::size_t at = 0; at + 2 < pixels.size(); at += bytesOfPixel)
        std::swap(pixels[at], pixels[at + 2]);
}

/** A texture under construction, and where its pixels come from. */
class TextureBuilder
{
public:
    TextureBuilder(const std::vector<const osg::Image*>& images, bool isCubeMap, bool isToBeEncoded)
        : _images(images), _reference(*images.front()), _isCubeMap(isCubeMap), _isToBeEncoded(isToBeEncoded)
    {
    }

    /** False, logged, if there is nothing to write. */
    bool build()
    {
        if (!findFormat() || !createTexture()) return false;
        for (std::size_t i = 0; i < _images.size(); ++i)
        {
            if (!matchesReference(_images[i]))
                KtxLog(osg::WARN) << "Mismatched image format while saving KTX texture";
            else if (!copyImage(*_images[i], i))
                return false;
        }
        addOrientationAndWriter();
        return true;
    }

    void addSwizzle(bool isEncoded)
    {
        std::string swizzle = swizzleOf(_reference);
        if (isEncoded) swizzle = encodedSwizzle(swizzle, osg::Image::computeNumComponents(_reference.getPixelFormat()));
        if (!swizzle.empty() && swizzle != "rgba") addKeyValue(KTX_SWIZZLE_KEY, swizzle);
    }

    void addPremultiplication()
    {
        ktx_uint32_t* descriptor = _texture->pDfd + 1; // behind its total size
        if (isPremultiplied(_reference)) KHR_DFDSETVAL(descriptor, FLAGS, KHR_DF_FLAG_ALPHA_PREMULTIPLIED);
    }

    [[nodiscard]] ktxTexture2& texture() const { return *_texture; }

private:
    bool findFormat()
    {
        // By the data's channels and type as well: a general name like GL_RGBA says nothing of either.
        _vkFormat = vkFormatOf(formatOf(_reference));
        const std::optional<KtxBlock> block = blockOfVk(_vkFormat);
        if (block)
        {
            _block = *block;
            _storedFormat = _isToBeEncoded ? encodableFormat(_vkFormat) : _vkFormat;
            return true;
        }
        KtxLog(osg::WARN) << "No VkFormat for GL internal format: "
                          << hexText(static_cast<GLuint>(_reference.getInternalTextureFormat()))
                          << " with pixel format " << hexText(_reference.getPixelFormat()) << " and type "
                          << hexText(_reference.getDataType());
        return false;
    }

    [[nodiscard]] unsigned int dimensions() const
    {
        if (_reference.r() >= 2) return 3;
        const bool areBlocks = _block.height > 1; // the format has no blocks of one dimension
        return _reference.t() >= 2 || areBlocks ? 2 : 1;
    }

    bool createTexture()
    {
        const auto count = static_cast<unsigned int>(_images.size());
        ktxTextureCreateInfo info = {};
        info.vkFormat = _storedFormat;
        info.baseWidth = static_cast<unsigned int>(_reference.s());
        info.baseHeight = static_cast<unsigned int>(_reference.t());
        info.baseDepth = static_cast<unsigned int>(_reference.r());
        info.numDimensions = dimensions();
        info.numLevels = levelCountOf(_reference);
        info.numLayers = _isCubeMap ? 1 : count;
        info.numFaces = _isCubeMap ? count : 1;
        info.isArray = count > 1;
        info.generateMipmaps = false;

        KTX_error_code code = KTX_SUCCESS;
        _texture = create(info, code);
        if (_texture) return true;
        KtxLog(osg::WARN) << "Unable to create KTX for saving: " << ktxErrorText(code);
        return false;
    }

    [[nodiscard]] bool matchesReference(const osg::Image* image) const
    {
        if (!hasPixels(image) || image->s() != _reference.s() || image->t() != _reference.t()) return false;
        if (image->getInternalTextureFormat() != _reference.getInternalTextureFormat()) return false;
        // The same name with other data, or fewer slices: not enough bytes to copy.
        if (image->r() != _reference.r() || vkFormatOf(formatOf(*image)) != _vkFormat) return false;
        return !isTurned(*image) || canFlipAllLevels();
    }

    /** One key says for all images which row is the first. A cube map's rows have no other order. */
    [[nodiscard]] bool isTurned(const osg::Image& image) const
    {
        return !_isCubeMap && image.getOrigin() != _reference.getOrigin();
    }

    [[nodiscard]] bool canFlipAllLevels() const
    {
        for (unsigned int level = 0; level < _texture->numLevels; ++level)
            if (!canFlip(_vkFormat, sizeAt(_reference.t(), level))) return false;
        return true;
    }

    bool copyImage(const osg::Image& image, std::size_t index)
    {
        // What goes beyond the reference's levels has no place.
        const unsigned int levels = std::min(levelCountOf(image), _texture->numLevels);
        for (unsigned int level = 0; level < levels; ++level)
        {
            const KTX_error_code code = copyLevel(image, index, level);
            if (code == KTX_SUCCESS) continue;
            KtxLog line(osg::WARN);
            if (level == 0)
                line << "Unable to save image " << index;
            else
                line << "Unable to save mipmap level " << level << " of image " << index;
            line << " to KTX texture: " << ktxErrorText(code);
            return false;
        }
        return true;
    }

    KTX_error_code copyLevel(const osg::Image& image, std::size_t index, unsigned int level)
    {
        const KtxRows rows(_vkFormat, _block, sizeAt(_reference.s(), level), sizeAt(_reference.t(), level));
        if (hasTooFewBytes(image, level, rows.size())) return KTX_INVALID_VALUE;
        const std::size_t pitch = pitchOf(image, level, rows);
        const auto layer = static_cast<unsigned int>(_isCubeMap ? 0 : index);
        const auto face = static_cast<unsigned int>(_isCubeMap ? index : 0);
        std::vector<unsigned char> slice;
        for (unsigned int z = 0; z < sizeAt(_reference.r(), level); ++z)
        {
            const unsigned char* pixels = image.getMipmapData(level) + z * rows.count * pitch;
            if (pitch != rows.bytes || isTurned(image) || _storedFormat != _vkFormat)
            {
                slice.resize(rows.size());
                (isTurned(image) ? copyRowsFlipped : copyRows)(rows, pixels, pitch, slice.data());
                if (_storedFormat != _vkFormat) swapRedAndBlue(slice, _block.bytes);
                pixels = slice.data();
            }
            const KTX_error_code code = ktxTexture_SetImageFromMemory(reinterpret_cast<ktxTexture*>(_texture.get()),
                                                                      level, layer, face + z, pixels, rows.size());
            if (code != KTX_SUCCESS) return code;
        }
        return KTX_SUCCESS;
    }

    /** Whether a level of a format with a least number of blocks may have fewer: OSG, which does not know of it, takes
     * memory for an image as it counts. */
    [[nodiscard]] bool hasTooFewBytes(const osg::Image& image, unsigned int level, std::size_t size) const
    {
        if (_block.leastCount <= 1) return false;
        const std::size_t begin = image.getMipmapOffset(level);
        const bool isLast = level + 1 >= levelCountOf(image);
        if (!isLast) return image.getMipmapOffset(level + 1) < begin + size;
        const auto allocated = osg::Image::computeImageSizeInBytes(
            static_cast<int>(sizeAt(image.s(), level)), static_cast<int>(sizeAt(image.t(), level)),
            static_cast<int>(sizeAt(image.r(), level)), image.getPixelFormat(), image.getDataType());
        return allocated < size * sizeAt(image.r(), level);
    }

    /** From row to row in the image: only rows of pixels may have something behind them, and a row length of their own
     * only in the first level. */
    [[nodiscard]] static std::size_t pitchOf(const osg::Image& image, unsigned int level, const KtxRows& rows)
    {
        if (image.isCompressed()) return rows.bytes;
        if (level == 0) return image.getRowStepInBytes();
        return osg::Image::computeRowWidthInBytes(static_cast<int>(sizeAt(image.s(), level)), image.getPixelFormat(),
                                                  image.getDataType(), static_cast<int>(image.getPacking()));
    }

    void addOrientationAndWriter()
    {
        const bool startsAtTop = _isCubeMap || _reference.getOrigin() == osg::Image::TOP_LEFT;
        const std::string orientation = std::string("r") + (startsAtTop ? 'd' : 'u') + 'i';
        addKeyValue(KTX_ORIENTATION_KEY, orientation.substr(0, dimensions()));
        addKeyValue(KTX_WRITER_KEY, "MvGeoThirdparty " MVGEO_VERSION);
    }

    void addKeyValue(const char* key, const std::string& value)
    {
        ktxHashList_AddKVPair(&_texture->kvDataHead, key, static_cast<unsigned int>(value.size() + 1), value.c_str());
    }

    const std::vector<const osg::Image*>& _images;
    const osg::Image& _reference;
    const bool _isCubeMap;
    const bool _isToBeEncoded;
    std::uint32_t _vkFormat = 0;     // of the images
    std::uint32_t _storedFormat = 0; // of the texture
    KtxBlock _block = {};
    KtxTexture2Ptr _texture;
};

/** Encodes a few pixels, for what the encoder does the first time. */
KTX_error_code encodeBlock()
{
    ktxTextureCreateInfo info = {};
    info.vkFormat = vk::kR8G8B8A8Unorm;
    info.baseWidth = info.baseHeight = 4;
    info.baseDepth = 1;
    info.numDimensions = 2;
    info.numLevels = info.numLayers = info.numFaces = 1;
    KTX_error_code code = KTX_SUCCESS;
    const KtxTexture2Ptr texture = create(info, code);
    if (!texture) return code;
    ktxBasisParams parameters = basisParametersOf({});
    return ktxTexture2_CompressBasisEx(texture.get(), &parameters);
}

/** False, logged, if that fails; the texture stays as it is then. */
bool compress(ktxTexture2& texture, const KtxSettings& settings)
{
    static KtxFirstCall encoder;
    encoder.once(encodeBlock); // readers need not wait for a large texture
    ktxBasisParams parameters = basisParametersOf(settings);
    const KTX_error_code code = ktxTexture2_CompressBasisEx(&texture, &parameters);
    if (code == KTX_SUCCESS) return true;
    KtxLog(osg::WARN) << "Failed to compress ktxTexture2: " << ktxErrorText(code);
    return false;
}

std::string bytesOf(ktxTexture2& texture)
{
    struct Free
    {
        void operator()(unsigned char* bytes) const { std::free(bytes); }
    };
    unsigned char* bytes = nullptr;
    ktx_size_t size = 0;
    const KTX_error_code code = ktxTexture_WriteToMemory(reinterpret_cast<ktxTexture*>(&texture), &bytes, &size);
    const std::unique_ptr<unsigned char, Free> owner(bytes);
    if (code == KTX_SUCCESS) return {reinterpret_cast<const char*>(bytes), size};
    KtxLog(osg::WARN) << "Unable to write KTX texture: " << ktxErrorText(code);
    return {};
}

} // namespace

std::string writeKtx(const std::vector<const osg::Image*>& images, bool isCubeMap, const KtxSettings& settings)
{
    if (images.empty() || (isCubeMap && images.size() < kFacesOfCube)) return {};
    if (!hasPixels(images.front()))
    {
        KtxLog(osg::WARN) << "No pixels to save to KTX texture";
        return {};
    }
    TextureBuilder builder(images, isCubeMap, settings.useBasis);
    if (!builder.build()) return {};
    builder.addSwizzle(settings.useBasis && compress(builder.texture(), settings));
    builder.addPremultiplication();
    return bytesOf(builder.texture());
}

} // namespace mvgeo
