#pragma once

#include "FileContent.h"

namespace mvgeo
{
/** The texture as a KTX 2 file; its image data is borrowed. */
ktx_error_code_e layOutKtx2(ktxTexture2& texture, FileContent& content);
} // namespace mvgeo
