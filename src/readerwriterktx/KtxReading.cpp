#include "readerwriterktx/KtxReading.h"

#include "readerwriterktx/KtxFormats.h"
#include "readerwriterktx/KtxLog.h"
#include "readerwriterktx/KtxRows.h"
#include "readerwriterktx/KtxTexture.h"
#include "readerwriterktx/KtxTranscoding.h"
#include "readerwriterktx/guard/KtxHeaderCheck.h"

#include <osg/ImageSequence>
#include <osg/ValueObject>

#include <algorithm>
#include <cstring>
#include <utility>
#include <vector>

namespace mvgeo
{

namespace
{

static_assert(static_cast<int>(TranscodeTarget::rgba32) == KTX_TTF_RGBA32);
static_assert(static_cast<int>(TranscodeTarget::etc) == KTX_TTF_ETC);
static_assert(static_cast<int>(TranscodeTarget::bc1Or3) == KTX_TTF_BC1_OR_3);

constexpr std::size_t kMagicSize = 12;

/** What libktx would say of bytes that it must not be given. */
KTX_error_code codeOfRefusal(const unsigned char* bytes, std::size_t size)
{
    static constexpr unsigned char kMagicBegin[] = {0xAB, 'K', 'T', 'X', ' '};
    if (size < kMagicSize) return KTX_FILE_UNEXPECTED_EOF;
    return std::memcmp(bytes, kMagicBegin, sizeof(kMagicBegin)) == 0 ? KTX_FILE_DATA_ERROR : KTX_UNKNOWN_FILE_FORMAT;
}

/** Null if libktx refuses. */
KtxTexturePtr openBytes(const unsigned char* bytes, std::size_t size, KTX_error_code& code)
{
    ktxTexture* texture = nullptr;
    code = ktxTexture_CreateFromMemory(bytes, size, KTX_TEXTURE_CREATE_LOAD_IMAGE_DATA_BIT, &texture);
    return KtxTexturePtr(code == KTX_SUCCESS ? texture : nullptr);
}

// Where a KTX 1 header has its internal format, in the order of bytes that it says.
constexpr std::size_t kInternalFormat = 28;
static_assert(GL_RGB5_A1 == 0x8057 && GL_RGBA4 == 0x8056);

/** Of a file whose header was found to be in order. */
bool isKtx1OfRgb5A1(const unsigned char* bytes)
{
    static constexpr unsigned char kLittle[] = {0x57, 0x80, 0, 0};
    static constexpr unsigned char kBig[] = {0, 0, 0x80, 0x57};
    const bool isKtx1 = bytes[5] == '1';
    const unsigned char* format = bytes + kInternalFormat;
    return isKtx1 && (std::memcmp(format, kLittle, 4) == 0 || std::memcmp(format, kBig, 4) == 0);
}

/** libktx takes the 16 bits of a pixel for 32 and refuses the file for its size: it is told of another format of 16. */
KtxTexturePtr openRgb5A1(const unsigned char* bytes, std::size_t size, KTX_error_code& code)
{
    std::vector<unsigned char> copy(bytes, bytes + size);
    std::replace(copy.begin() + kInternalFormat, copy.begin() + kInternalFormat + 4, static_cast<unsigned char>(0x57),
                 static_cast<unsigned char>(0x56));
    KtxTexturePtr texture = openBytes(copy.data(), copy.size(), code);
    if (texture) reinterpret_cast<ktxTexture1&>(*texture).glInternalformat = GL_RGB5_A1;
    return texture;
}

KtxTexturePtr openTexture(const unsigned char* bytes, std::size_t size, KtxFault& fault)
{
    fault.reason = ktxHeaderFault(bytes, size);
    if (!fault.reason.empty())
    {
        fault.code = codeOfRefusal(bytes, size);
        return nullptr;
    }
    KTX_error_code code = KTX_SUCCESS;
    KtxTexturePtr texture = isKtx1OfRgb5A1(bytes) ? openRgb5A1(bytes, size, code) : openBytes(bytes, size, code);
    if (texture) return texture;
    fault.code = code;
    fault.reason = ktxErrorText(code);
    return nullptr;
}

/** False, logged, if it stays a Basis texture. */
bool transcode(ktxTexture& texture, const osgDB::Options* options, KtxFault& fault)
{
    static KtxFirstCall transcoder;
    const TranscodeTarget target = transcodeTarget(texture.baseWidth, texture.baseHeight, options);
    const KTX_error_code code = transcoder.run(
        [&]
        {
            return ktxTexture2_TranscodeBasis(reinterpret_cast<ktxTexture2*>(&texture),
                                              static_cast<ktx_transcode_fmt_e>(target), 0);
        });
    if (code == KTX_SUCCESS) return true;
    fault.reason = "Failed to transcode ktxTexture2: " + ktxErrorText(code);
    KtxLog(osg::WARN) << fault.reason;
    return false;
}

/** Nothing, logged, if no image can carry the texture's format. */
std::optional<KtxImageFormat> formatOf(const ktxTexture& texture, KtxFault& fault)
{
    std::optional<KtxImageFormat> format;
    if (texture.classId == ktxTexture2_c)
    {
        const std::uint32_t vkFormat = reinterpret_cast<const ktxTexture2&>(texture).vkFormat;
        format = imageFormatOfVk(vkFormat);
        fault.reason = "Failed to get KTX2 file format: VkFormat = " + std::to_string(vkFormat);
    }
    else
    {
        const auto& ktx1 = reinterpret_cast<const ktxTexture1&>(texture);
        format = imageFormatOfGl(static_cast<GLint>(ktx1.glInternalformat), ktx1.glFormat, ktx1.glType);
        fault.reason = "Failed to get KTX file format: internalFmt = " + hexText(ktx1.glInternalformat) +
                       ", pixelFmt = " + hexText(ktx1.glFormat) + ", type = " + hexText(ktx1.glType);
    }
    if (!format) KtxLog(osg::WARN) << fault.reason;
    return format;
}

// At information level: a streamed model reads a texture with every tile.
void logFormat(const ktxTexture& texture, const KtxImageFormat& format, bool isTranscoded)
{
    if (!osg::isNotifyEnabled(osg::INFO)) return;
    KtxLog line(osg::INFO);
    line << (isTranscoded ? "Transcoded" : "Source")
         << " format: internalFmt = " << hexText(static_cast<GLuint>(format.internalFormat))
         << ", pixelFmt = " << hexText(format.pixelFormat) << ", type = " << hexText(format.dataType);
    if (isTranscoded) return;
    line << ", res = " << texture.baseWidth << " x " << texture.baseHeight;
    if (texture.baseDepth > 1) line << " x " << texture.baseDepth;
}

/** The value of a key; empty if there is none. */
std::string metadata(const ktxTexture& texture, const char* key)
{
    unsigned int size = 0;
    void* value = nullptr;
    auto* list = const_cast<ktxHashList*>(&texture.kvDataHead); // only read
    if (ktxHashList_FindValue(list, key, &size, &value) != KTX_SUCCESS || !value) return {};
    std::string text(static_cast<const char*>(value), size);
    return text.substr(0, text.find('\0'));
}

/** Whether the first row is the lowest one. Without a key it is the highest, as both versions of the format have it. */
bool startsAtBottom(const ktxTexture& texture)
{
    std::string text = metadata(texture, KTX_ORIENTATION_KEY);
    if (text.empty()) text = metadata(texture, "KTXOrientation"); // the capital of some writers
    const std::size_t named = text.find("T=");                    // KTX 1: "S=r,T=u"; KTX 2: "ru"
    const std::size_t at = named == std::string::npos ? 1 : named + 2;
    return at < text.size() && text[at] == 'u';
}

/** One texture's way from libktx's layout to images. */
class TextureCopier
{
public:
    TextureCopier(ktxTexture& texture, const KtxImageFormat& format)
        : _texture(texture),
          _format(format),
          _vkFormat(vkFormatOf(texture, format)),
          _block(blockOfVk(_vkFormat).value())
    {
        const bool isTurned = !texture.isCubemap && !startsAtBottom(texture);
        _isFlipping = isTurned && canFlipAllLevels();
        const bool startsAtTop = texture.isCubemap || (isTurned && !_isFlipping);
        _origin = startsAtTop && texture.baseHeight > 1 ? osg::Image::TOP_LEFT : osg::Image::BOTTOM_LEFT;
    }

    /** Whether the texture holds exactly the bytes that its images take. Logged if not. */
    [[nodiscard]] bool sizesAgree(KtxFault& fault) const
    {
        std::size_t wanted = 0;
        std::size_t present = 0;
        std::size_t end = 0;
        for (unsigned int level = 0; level < _texture.numLevels; ++level)
        {
            const std::size_t count = std::size_t{_texture.numLayers} * _texture.numFaces * depth(level);
            const KtxRows rows = rowsOf(level);
            wanted += count * rows.count * pitchOf(rows);
            const std::size_t levelSize = count * ktxTexture_GetImageSize(&_texture, level);
            present += levelSize;
            end = std::max(end, offsetOf(level, 0, 0) + levelSize);
        }
        // The levels of KTX 2 have gaps between them: what must be the same then is where the last one ends.
        const std::size_t size = ktxTexture_GetDataSize(&_texture);
        if (wanted == present && end == size) return true;
        fault.reason =
            "Failed to copy image data, size mismatched: " + std::to_string(wanted == present ? end : wanted) +
            " != " + std::to_string(size);
        KtxLog(osg::WARN) << fault.reason;
        return false;
    }

    [[nodiscard]] osg::ref_ptr<osg::Image> image(unsigned int layer, unsigned int face) const
    {
        std::size_t size = 0;
        osg::Image::MipmapDataType offsets;
        for (unsigned int level = 0; level < _texture.numLevels; ++level)
        {
            if (level > 0) offsets.push_back(static_cast<unsigned int>(size));
            size += rowsOf(level).size() * depth(level);
        }

        const osg::ref_ptr<osg::Image> result(new osg::Image);
        unsigned char* pixels = allocate(size, offsets, *result);
        unsigned char* target = pixels;
        for (unsigned int level = 0; level < _texture.numLevels; ++level)
            target = copyLevel(level, layer, face, target);
        result->setOrigin(_origin);
        return result;
    }

    [[nodiscard]] osg::Image::Origin origin() const { return _origin; }

private:
    static std::uint32_t vkFormatOf(const ktxTexture& texture, const KtxImageFormat& format)
    {
        if (texture.classId == ktxTexture2_c) return reinterpret_cast<const ktxTexture2&>(texture).vkFormat;
        return mvgeo::vkFormatOf(format);
    }

    [[nodiscard]] unsigned int depth(unsigned int level) const { return std::max(_texture.baseDepth >> level, 1U); }
    [[nodiscard]] unsigned int height(unsigned int level) const { return std::max(_texture.baseHeight >> level, 1U); }

    [[nodiscard]] KtxRows rowsOf(unsigned int level) const
    {
        return {_vkFormat, _block, std::max(_texture.baseWidth >> level, 1U), height(level)};
    }

    /** From row to row in the texture: KTX 1 fills rows of pixels up to 4 bytes. */
    [[nodiscard]] std::size_t pitchOf(const KtxRows& rows) const
    {
        const bool isPadded = _texture.classId == ktxTexture1_c && !_texture.isCompressed;
        return isPadded ? (rows.bytes + 3) / 4 * 4 : rows.bytes;
    }

    [[nodiscard]] bool canFlipAllLevels() const
    {
        for (unsigned int level = 0; level < _texture.numLevels; ++level)
            if (!canFlip(_vkFormat, height(level))) return false;
        return true;
    }

    [[nodiscard]] std::size_t offsetOf(unsigned int level, unsigned int layer, unsigned int faceSlice) const
    {
        ktx_size_t offset = 0;
        const KTX_error_code code = ktxTexture_GetImageOffset(&_texture, level, layer, faceSlice, &offset);
        return code == KTX_SUCCESS ? offset : ktxTexture_GetDataSize(&_texture); // not reached with valid indices
    }

    /** The image's own pixels, `size` bytes of them and filling behind where OSG counts with more: for PVRTC it takes
     * blocks for twice their size. For others it is not asked, because about ASTC it writes lines to the log. */
    unsigned char* allocate(std::size_t size, const osg::Image::MipmapDataType& offsets, osg::Image& image) const
    {
        const auto setPixels = [&](unsigned char* pixels)
        {
            image.setImage(static_cast<int>(_texture.baseWidth), static_cast<int>(_texture.baseHeight),
                           static_cast<int>(_texture.baseDepth), _format.internalFormat, _format.pixelFormat,
                           _format.dataType, pixels, osg::Image::USE_NEW_DELETE, 1);
            image.setMipmapLevels(offsets);
        };
        setPixels(nullptr);
        const std::size_t counted = _block.leastCount > 1 ? image.getTotalSizeInBytesIncludingMipmaps() : size;
        auto* pixels = new unsigned char[std::max(size, counted)];
        if (counted > size) std::memset(pixels + size, 0, counted - size);
        setPixels(pixels);
        return pixels;
    }

    unsigned char* copyLevel(unsigned int level, unsigned int layer, unsigned int face, unsigned char* target) const
    {
        const KtxRows rows = rowsOf(level);
        for (unsigned int slice = 0; slice < depth(level); ++slice, target += rows.size())
        {
            const unsigned char* source = ktxTexture_GetData(&_texture) + offsetOf(level, layer, face + slice);
            (_isFlipping ? copyRowsFlipped : copyRows)(rows, source, pitchOf(rows), target);
        }
        return target;
    }

    ktxTexture& _texture;
    KtxImageFormat _format;
    std::uint32_t _vkFormat;
    KtxBlock _block;
    bool _isFlipping = false;
    osg::Image::Origin _origin = osg::Image::BOTTOM_LEFT;
};

osg::ref_ptr<osg::Image> imagesOf(const ktxTexture& texture, const TextureCopier& copier)
{
    if (texture.numLayers * texture.numFaces == 1) return copier.image(0, 0);
    const osg::ref_ptr<osg::ImageSequence> sequence(new osg::ImageSequence);
    for (unsigned int layer = 0; layer < texture.numLayers; ++layer)
        for (unsigned int face = 0; face < texture.numFaces; ++face)
            sequence->addImage(copier.image(layer, face));
    sequence->setOrigin(copier.origin());
    return sequence;
}

/** A sequence's images are told as well: they may go their own ways. */
template <typename Value>
void setUserValue(osg::Image& image, const char* name, const Value& value)
{
    image.setUserValue(name, value);
    if (auto* sequence = dynamic_cast<osg::ImageSequence*>(&image))
        for (unsigned int i = 0; i < sequence->getNumImageData(); ++i)
            sequence->getImage(static_cast<int>(i))->setUserValue(name, value);
}

void setUserValues(const ktxTexture& texture, bool isPremultiplied, osg::Image& image)
{
    if (texture.isCubemap) image.setUserValue("KTXcubemap", true);
    if (isPremultiplied) setUserValue(image, "KTXpremultipliedAlpha", true);
    const std::string swizzle = metadata(texture, KTX_SWIZZLE_KEY);
    if (!swizzle.empty() && swizzle != "rgba") setUserValue(image, "KTXswizzle", swizzle);
}

/** KTX 1 cannot say so. Transcoding forgets it. */
bool isPremultiplied(ktxTexture& texture)
{
    return texture.classId == ktxTexture2_c &&
           ktxTexture2_GetPremultipliedAlpha(reinterpret_cast<ktxTexture2*>(&texture));
}

} // namespace

osg::ref_ptr<osg::Image> readKtx(const unsigned char* bytes, std::size_t size, const osgDB::Options* options,
                                 KtxFault& fault)
{
    const KtxTexturePtr texture = openTexture(bytes, size, fault);
    if (!texture) return nullptr;

    const bool hasPremultipliedAlpha = isPremultiplied(*texture);
    const bool isBasis = ktxTexture_NeedsTranscoding(texture.get());
    if (isBasis && !transcode(*texture, options, fault)) return nullptr;
    const std::optional<KtxImageFormat> format = formatOf(*texture, fault);
    if (!format) return nullptr;
    logFormat(*texture, *format, isBasis);

    const TextureCopier copier(*texture, *format);
    if (!copier.sizesAgree(fault)) return nullptr;
    const osg::ref_ptr<osg::Image> image = imagesOf(*texture, copier);
    setUserValues(*texture, hasPremultipliedAlpha, *image);
    return image;
}

} // namespace mvgeo
