#include "platform/Sha256.h"

#include <openssl/evp.h>

#include <cstdio>
#include <memory>

namespace mvgeo::platform
{
namespace
{

struct FreeContext
{
    void operator()(EVP_MD_CTX* context) const { EVP_MD_CTX_free(context); }
};

// The steps carry the same names on every platform, so that a log reads the same.
std::nullopt_t failed(const char* step)
{
    std::fprintf(stderr, "Error: %s failed\n", step);
    return std::nullopt;
}

} // namespace

std::optional<Sha256Digest> sha256(const void* data, std::size_t size)
{
    const std::unique_ptr<EVP_MD_CTX, FreeContext> context(EVP_MD_CTX_new());
    if (!context) return failed("CryptAcquireContext");
    if (EVP_DigestInit_ex(context.get(), EVP_sha256(), nullptr) != 1) return failed("CryptCreateHash");

    const bool isReadable = data || size == 0;
    if (!isReadable || EVP_DigestUpdate(context.get(), data, size) != 1) return failed("CryptHashData");

    Sha256Digest digest{};
    unsigned int length = 0;
    if (EVP_DigestFinal_ex(context.get(), digest.data(), &length) != 1 || length != digest.size())
        return failed("CryptGetHashParam");
    return digest;
}

} // namespace mvgeo::platform
