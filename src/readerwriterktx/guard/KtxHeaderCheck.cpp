#include "readerwriterktx/guard/KtxHeaderCheck.h"

#include "readerwriterktx/guard/Ktx1HeaderCheck.h"
#include "readerwriterktx/guard/Ktx2HeaderCheck.h"

#include <cstring>

namespace mvgeo
{

namespace
{

constexpr std::size_t kMagicSize = 12;
constexpr unsigned char kMagic1[kMagicSize] = {0xAB, 'K', 'T', 'X', ' ', '1', '1', 0xBB, '\r', '\n', 0x1A, '\n'};
constexpr unsigned char kMagic2[kMagicSize] = {0xAB, 'K', 'T', 'X', ' ', '2', '0', 0xBB, '\r', '\n', 0x1A, '\n'};

bool beginsWith(const unsigned char* bytes, std::size_t size, const unsigned char (&magic)[kMagicSize])
{
    return size >= kMagicSize && std::memcmp(bytes, magic, kMagicSize) == 0;
}

} // namespace

std::string ktxHeaderFault(const unsigned char* bytes, std::size_t size)
{
    if (beginsWith(bytes, size, kMagic1)) return ktx1HeaderFault(bytes, size);
    if (beginsWith(bytes, size, kMagic2)) return ktx2HeaderFault(bytes, size);
    return "not a KTX file";
}

} // namespace mvgeo
