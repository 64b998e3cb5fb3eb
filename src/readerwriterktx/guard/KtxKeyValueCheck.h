#pragma once

#include "readerwriterktx/guard/KtxBytes.h"

#include <string>

namespace mvgeo
{

/** What is wrong with a block of keys and values: keys without an end, entries that leave the block, and well-known
 * texts without an end, which libktx and its users would read on behind them. Empty if nothing is. */
[[nodiscard]] std::string keyValuesFault(const KtxBytes& block);

} // namespace mvgeo
