#pragma once

#include "FileContent.h"

namespace mvgeo
{
/** The texture's key/value pairs as a file holds them: sorted by code point, each padded to four bytes, with a
 * KTXwriter that names who filled the texture (this library if nobody said so) and who wrote the file. The texture
 * itself is left as it is, so writing it twice gives the same bytes. */
ktx_error_code_e serializeMetadata(const ktxTexture& texture, Bytes& bytes);

/** Removes a pair if it is there. libktx's own function for that takes the entry out of the list and loses it. */
void removePair(ktxHashList& pairs, const char* key);

/** The image data is in memory afterwards: textures made from a file may still have it there only. */
ktx_error_code_e loadImageData(ktxTexture& texture);
} // namespace mvgeo
