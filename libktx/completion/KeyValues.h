#pragma once

#include "Bytes.h"

#include <ktx.h>

namespace mvgeo
{
/** The texture's keys and values as a file holds them: sorted by code point, each pair padded to four bytes, and
 * KTXwriter names this library behind the application. */
Bytes keyValueBytes(const ktxTexture2& texture);
} // namespace mvgeo
