#pragma once

#include "FileContent.h"

namespace mvgeo
{
/** The texture as a KTX 1 file; its image data is borrowed. */
ktx_error_code_e layOutKtx1(ktxTexture1& texture, FileContent& content);
} // namespace mvgeo
