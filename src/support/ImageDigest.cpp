#include "support/ImageDigest.h"

#include "platform/Sha256.h"

namespace mvgeo
{

std::string imageDigest(const unsigned char* data, unsigned int size)
{
    if (!data || size == 0) return {};
    const auto digest = platform::sha256(data, size);
    if (!digest) return {};

    std::string text;
    for (const unsigned char byte : *digest)
        text += std::to_string(static_cast<unsigned int>(byte));
    return text;
}

} // namespace mvgeo
