#include "readerwriterktx/KtxBasisParameters.h"

#include <algorithm>

namespace mvgeo
{

namespace
{

// What the encoder gets where a setting is not above 0. It documents compression levels up to 6 only, and takes what is
// above as 6.
constexpr unsigned int kThreadCount = 1;
constexpr unsigned int kCompressLevel = 128;
constexpr unsigned int kQualityLevel = 1;

// libktx starts as many threads as it is told to, and where the system has no more it ends the process.
constexpr unsigned int kMostThreads = 256;

// The block of parameters is told apart by its size. Ours is filled as far as this one goes and zero behind.
constexpr unsigned int kParameterSize = 76;
static_assert(sizeof(ktxBasisParams) >= kParameterSize);

unsigned int positiveOr(int value, unsigned int otherwise)
{
    return value > 0 ? static_cast<unsigned int>(value) : otherwise;
}

} // namespace

ktxBasisParams basisParametersOf(const KtxSettings& settings)
{
    ktxBasisParams parameters = {};
    parameters.structSize = kParameterSize;
    parameters.uastc = settings.useUastc;
    parameters.threadCount = std::min(positiveOr(settings.threadCount, kThreadCount), kMostThreads);
    parameters.compressionLevel = positiveOr(settings.compressLevel, kCompressLevel);
    parameters.qualityLevel = positiveOr(settings.qualityLevel, kQualityLevel);
    return parameters;
}

} // namespace mvgeo
