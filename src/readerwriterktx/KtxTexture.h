#pragma once

#include <ktx.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <string>

namespace mvgeo
{

struct KtxTextureDestroy
{
    template <typename Texture>
    void operator()(Texture* texture) const
    {
        ktxTexture_Destroy(reinterpret_cast<ktxTexture*>(texture)); // both classes begin as the base does
    }
};
/** Either class of libktx's textures, by its base. One thread at a time. */
using KtxTexturePtr = std::unique_ptr<ktxTexture, KtxTextureDestroy>;
using KtxTexture2Ptr = std::unique_ptr<ktxTexture2, KtxTextureDestroy>;

inline std::string ktxErrorText(KTX_error_code code)
{
    const char* text = ktxErrorString(code);
    return text ? text : "unknown error";
}

/** libktx sets up the tables of its Basis coder in the first call that gets that far, without a lock, and the encoder
 * sets up the transcoder's too: until a call of a kind has succeeded, they go one at a time. One object for each kind.
 * Thread: any. */
class KtxFirstCall
{
public:
    template <typename Call>
    KTX_error_code run(Call call)
    {
        if (_isDone) return call();
        const std::lock_guard<std::mutex> lock(_first);
        const KTX_error_code result = call();
        if (result == KTX_SUCCESS) _isDone = true;
        return result;
    }

    /** The call is made until it has succeeded once. */
    template <typename Call>
    void once(Call call)
    {
        if (_isDone) return;
        const std::lock_guard<std::mutex> lock(_first);
        if (!_isDone) _isDone = call() == KTX_SUCCESS;
    }

private:
    std::atomic<bool> _isDone{false};
    inline static std::mutex _first;
};

} // namespace mvgeo
