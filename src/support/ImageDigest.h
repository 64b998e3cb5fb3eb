#pragma once

#include <string>

namespace mvgeo
{

/** Names pixels by their content: the 32 bytes of their SHA-256 digest, each in decimal without leading zeros, one
 * after the other. Names of cached files depend on this form. Empty for no bytes, or if the digest cannot be had (the
 * reason is then on the standard error stream). Thread: any. */
[[nodiscard]] std::string imageDigest(const unsigned char* data, unsigned int size);

} // namespace mvgeo
