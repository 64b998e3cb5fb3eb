#pragma once

#include "KdString.h"

#include <string>
#include <string_view>

namespace hostsdk
{

using WideString = std::basic_string<KdChar>;

/** A byte that belongs to no valid sequence (broken, cut off, overlong, an encoded surrogate, above U+10FFFF) becomes
 * one unpaired surrogate U+DC80..U+DCFF. */
[[nodiscard]] WideString utf8ToUtf16(std::string_view utf8);

/** Unpaired surrogates U+DC80..U+DCFF turn back into their bytes; any other unpaired surrogate becomes '?'. */
[[nodiscard]] std::string utf16ToUtf8(const WideString& wide);

} // namespace hostsdk
