#include "platform/Sha256.h"

#include "platform/windows/WindowsApi.h"

#include <wincrypt.h>

#include <algorithm>
#include <cstdio>
#include <limits>
#include <vector>

namespace mvgeo::platform
{
namespace
{

constexpr ALG_ID kSha256 = 0x800C;        // CALG_SHA_256, which older headers lack
constexpr DWORD kResultCapacity = 0x800C; // 32780 bytes; only the first 32 are ever written

class Provider
{
public:
    Provider()
    {
        _isOpen = CryptAcquireContextW(&_handle, nullptr, nullptr, PROV_RSA_AES, CRYPT_VERIFYCONTEXT) != FALSE;
    }
    ~Provider()
    {
        if (_isOpen) CryptReleaseContext(_handle, 0);
    }
    Provider(const Provider&) = delete;
    Provider& operator=(const Provider&) = delete;

    [[nodiscard]] bool isOpen() const { return _isOpen; }
    [[nodiscard]] HCRYPTPROV handle() const { return _handle; }

private:
    HCRYPTPROV _handle = 0;
    bool _isOpen = false;
};

/** Lives shorter than its provider. */
class Hash
{
public:
    explicit Hash(const Provider& provider)
    {
        _isOpen = CryptCreateHash(provider.handle(), kSha256, 0, 0, &_handle) != FALSE;
    }
    ~Hash()
    {
        if (_isOpen) CryptDestroyHash(_handle);
    }
    Hash(const Hash&) = delete;
    Hash& operator=(const Hash&) = delete;

    [[nodiscard]] bool isOpen() const { return _isOpen; }
    [[nodiscard]] HCRYPTHASH handle() const { return _handle; }

private:
    HCRYPTHASH _handle = 0;
    bool _isOpen = false;
};

std::nullopt_t failed(const char* step)
{
    std::fprintf(stderr, "Error: %s failed\n", step);
    return std::nullopt;
}

// The system takes a 32-bit length; a longer buffer goes in pieces, which gives the same digest.
bool hashAll(const Hash& hash, const BYTE* bytes, std::size_t size)
{
    if (!bytes && size > 0) return false;
    while (size > 0)
    {
        const auto count = static_cast<DWORD>(std::min<std::size_t>(size, std::numeric_limits<DWORD>::max()));
        if (!CryptHashData(hash.handle(), bytes, count, 0)) return false;
        bytes += count;
        size -= count;
    }
    return true;
}

} // namespace

std::optional<Sha256Digest> sha256(const void* data, std::size_t size)
{
    const Provider provider;
    if (!provider.isOpen()) return failed("CryptAcquireContext");
    const Hash hash(provider);
    if (!hash.isOpen()) return failed("CryptCreateHash");
    if (!hashAll(hash, static_cast<const BYTE*>(data), size)) return failed("CryptHashData");

    Sha256Digest digest{};
    std::vector<BYTE> result(kResultCapacity, 0);
    DWORD length = kResultCapacity;
    if (!CryptGetHashParam(hash.handle(), HP_HASHVAL, result.data(), &length, 0) || length != digest.size())
        return failed("CryptGetHashParam");
    std::copy_n(result.begin(), digest.size(), digest.begin());
    return digest;
}

} // namespace mvgeo::platform
