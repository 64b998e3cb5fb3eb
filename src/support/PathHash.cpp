#include "support/PathHash.h"

namespace mvgeo
{

std::uint64_t pathHash(const std::string& text)
{
    std::uint64_t hash = 14695981039346656037ULL;
    for (const char byte : text)
    {
        hash ^= static_cast<unsigned char>(byte);
        hash *= 1099511628211ULL;
    }
    return hash;
}

std::string pathHashText(const std::string& text)
{
    return std::to_string(pathHash(text));
}

} // namespace mvgeo
