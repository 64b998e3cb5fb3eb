#pragma once

#include "readerwriterktx/KtxSettings.h"

#include <ktx.h>

namespace mvgeo
{

/** What libktx's encoder is told. */
[[nodiscard]] ktxBasisParams basisParametersOf(const KtxSettings& settings);

} // namespace mvgeo
