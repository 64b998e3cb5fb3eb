// ktxTexture1_Write*, ktxTexture2_Write* and ktxTexture1_WriteKTX2*: each kind of file to each kind of place.

#include "Guarded.h"
#include "Ktx1Content.h"
#include "Ktx1ToKtx2.h"
#include "Ktx2Content.h"

namespace mvgeo
{
namespace
{
/** layOut says how a texture becomes a file's bytes and owns what these point into; place is what of the content's
 * functions writes them. */
template <typename LayOut, typename Place>
ktx_error_code_e write(LayOut&& layOut, Place&& place)
{
    return guarded(
        [&]
        {
            FileContent content;
            const ktx_error_code_e result = layOut(content);
            return result == KTX_SUCCESS ? place(content) : result;
        });
}

auto ktx1(ktxTexture1* texture)
{
    return [=](FileContent& content) { return layOutKtx1(*texture, content); };
}

auto ktx2(ktxTexture2* texture)
{
    return [=](FileContent& content) { return layOutKtx2(*texture, content); };
}

auto ktx1AsKtx2(ktxTexture1* texture)
{
    return [texture, converted = Ktx2TexturePtr()](FileContent& content) mutable
    {
        const ktx_error_code_e result = convertToKtx2(*texture, converted);
        return result == KTX_SUCCESS ? layOutKtx2(*converted, content) : result;
    };
}

auto toStdioStream(FILE* file)
{
    return [=](const FileContent& content) { return content.writeToStdioStream(file); };
}

auto toNamedFile(const char* name)
{
    return [=](const FileContent& content) { return content.writeToNamedFile(name); };
}

auto toMemory(ktx_uint8_t** bytes, ktx_size_t* size)
{
    return [=](const FileContent& content) { return content.writeToMemory(bytes, size); };
}

auto toStream(ktxStream* stream)
{
    return [=](const FileContent& content) { return content.writeToStream(*stream); };
}
} // namespace
} // namespace mvgeo

extern "C"
{
    KTX_error_code ktxTexture1_WriteToStdioStream(ktxTexture1* This, FILE* file)
    {
        return This && file ? mvgeo::write(mvgeo::ktx1(This), mvgeo::toStdioStream(file)) : KTX_INVALID_VALUE;
    }

    KTX_error_code ktxTexture1_WriteToNamedFile(ktxTexture1* This, const char* const name)
    {
        return This && name ? mvgeo::write(mvgeo::ktx1(This), mvgeo::toNamedFile(name)) : KTX_INVALID_VALUE;
    }

    KTX_error_code ktxTexture1_WriteToMemory(ktxTexture1* This, ktx_uint8_t** bytes, ktx_size_t* size)
    {
        return This && bytes && size ? mvgeo::write(mvgeo::ktx1(This), mvgeo::toMemory(bytes, size))
                                     : KTX_INVALID_VALUE;
    }

    KTX_error_code ktxTexture1_WriteToStream(ktxTexture1* This, ktxStream* stream)
    {
        return This && stream ? mvgeo::write(mvgeo::ktx1(This), mvgeo::toStream(stream)) : KTX_INVALID_VALUE;
    }

    KTX_error_code ktxTexture1_WriteKTX2ToStdioStream(ktxTexture1* This, FILE* file)
    {
        return This && file ? mvgeo::write(mvgeo::ktx1AsKtx2(This), mvgeo::toStdioStream(file)) : KTX_INVALID_VALUE;
    }

    KTX_error_code ktxTexture1_WriteKTX2ToNamedFile(ktxTexture1* This, const char* const name)
    {
        return This && name ? mvgeo::write(mvgeo::ktx1AsKtx2(This), mvgeo::toNamedFile(name)) : KTX_INVALID_VALUE;
    }

    KTX_error_code ktxTexture1_WriteKTX2ToMemory(ktxTexture1* This, ktx_uint8_t** bytes, ktx_size_t* size)
    {
        return This && bytes && size ? mvgeo::write(mvgeo::ktx1AsKtx2(This), mvgeo::toMemory(bytes, size))
                                     : KTX_INVALID_VALUE;
    }

    KTX_error_code ktxTexture1_WriteKTX2ToStream(ktxTexture1* This, ktxStream* stream)
    {
        return This && stream ? mvgeo::write(mvgeo::ktx1AsKtx2(This), mvgeo::toStream(stream)) : KTX_INVALID_VALUE;
    }

    KTX_error_code ktxTexture2_WriteToStdioStream(ktxTexture2* This, FILE* file)
    {
        return This && file ? mvgeo::write(mvgeo::ktx2(This), mvgeo::toStdioStream(file)) : KTX_INVALID_VALUE;
    }

    KTX_error_code ktxTexture2_WriteToNamedFile(ktxTexture2* This, const char* const name)
    {
        return This && name ? mvgeo::write(mvgeo::ktx2(This), mvgeo::toNamedFile(name)) : KTX_INVALID_VALUE;
    }

    KTX_error_code ktxTexture2_WriteToMemory(ktxTexture2* This, ktx_uint8_t** bytes, ktx_size_t* size)
    {
        return This && bytes && size ? mvgeo::write(mvgeo::ktx2(This), mvgeo::toMemory(bytes, size))
                                     : KTX_INVALID_VALUE;
    }

    KTX_error_code ktxTexture2_WriteToStream(ktxTexture2* This, ktxStream* stream)
    {
        return This && stream ? mvgeo::write(mvgeo::ktx2(This), mvgeo::toStream(stream)) : KTX_INVALID_VALUE;
    }
}
