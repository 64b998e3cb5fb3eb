#pragma once

#include <cstddef>
#include <string>

namespace mvgeo
{

/** ktxHeaderFault() for bytes that begin as KTX 1 does. */
[[nodiscard]] std::string ktx1HeaderFault(const unsigned char* bytes, std::size_t size);

} // namespace mvgeo
