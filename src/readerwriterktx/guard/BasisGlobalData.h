#pragma once

#include "readerwriterktx/guard/KtxBytes.h"

#include <cstdint>
#include <string>

namespace mvgeo
{

/** Where an image's data lies in its level: one slice of colour, and one of alpha if the texture has it. */
struct BasisImage
{
    std::uint32_t colourOffset;
    std::uint32_t colourLength;
    std::uint32_t alphaOffset;
    std::uint32_t alphaLength;
};

/** What is wrong with the global data of an ETC1S texture: the palettes and code tables that all its images share.
 *
 * libktx does not look whether its transcoder could read them, and the transcoder then decodes by tables that are empty
 * or half built. So the tables are read here as the transcoder reads them, and only complete codes pass. The images'
 * data needs no such check: with complete codes the transcoder bounds every index itself. */
[[nodiscard]] std::string basisGlobalFault(const KtxBytes& global, std::uint64_t imageCount);

/** Of data without a fault. */
[[nodiscard]] BasisImage basisImage(const KtxBytes& global, std::uint64_t index);

} // namespace mvgeo
