#pragma once

#include <array>
#include <cstddef>
#include <optional>

namespace mvgeo::platform
{

using Sha256Digest = std::array<unsigned char, 32>;

/** The SHA-256 digest of `size` bytes, by the system's own implementation. On failure nothing is returned and the step
 * that failed is written to the standard error stream, one line: "Error: CryptAcquireContext failed",
 * "Error: CryptCreateHash failed", "Error: CryptHashData failed" or "Error: CryptGetHashParam failed".
 * Thread: any. */
[[nodiscard]] std::optional<Sha256Digest> sha256(const void* data, std::size_t size);

} // namespace mvgeo::platform
