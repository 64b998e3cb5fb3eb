#pragma once

#include <ktx.h>

#include <memory>

namespace mvgeo
{
struct Ktx2TextureDestroy
{
    void operator()(ktxTexture2* texture) const { ktxTexture2_Destroy(texture); }
};
using Ktx2TexturePtr = std::unique_ptr<ktxTexture2, Ktx2TextureDestroy>;

/** The same images and key/value pairs as a KTX 2 texture. KTX_UNSUPPORTED_TEXTURE_TYPE if Vulkan has no format for
 * them. */
ktx_error_code_e convertToKtx2(ktxTexture1& texture, Ktx2TexturePtr& converted);
} // namespace mvgeo
