#pragma once

#include "readerwriterktx/guard/BasisBits.h"

namespace mvgeo
{

/** A code begins with the number of its symbols. */
constexpr unsigned int kSymbolCountBits = 14;

/** Reads a Huffman code as ETC1S data stores it: the lengths of its code words, which are themselves coded. False if
 * there are none, or if they leave a sequence of bits without a symbol or give it two. A code of a single symbol
 * passes: each sequence means that one. */
[[nodiscard]] bool readsCompleteCode(BasisBits& bits);

} // namespace mvgeo
