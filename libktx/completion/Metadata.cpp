#include "Metadata.h"

#include <texture.h>

#include <algorithm>
#include <cstdlib>
#include <string>

namespace mvgeo
{
namespace
{
constexpr char kWriterKey[] = "KTXwriter";
constexpr char kApplication[] = "MvGeoThirdparty " MVGEO_VERSION;
constexpr char kLibrary[] = " / libktx v4.4.2";

class HashList
{
public:
    HashList() = default;
    HashList(const HashList&) = delete;
    HashList& operator=(const HashList&) = delete;
    ~HashList() { ktxHashList_Destruct(&_head); }

    ktxHashList* head() { return &_head; }

private:
    ktxHashList _head = nullptr;
};

ktx_error_code_e copyPairs(const ktxTexture& texture, HashList& pairs)
{
    if (texture.kvDataHead) ktxHashList_ConstructCopy(pairs.head(), texture.kvDataHead);
    if (!texture.kvData) return KTX_SUCCESS;
    // A texture has its pairs as a list or as a file held them, never both.
    if (texture.kvDataHead) return KTX_INVALID_OPERATION;
    return ktxHashList_Deserialize(pairs.head(), texture.kvDataLen, texture.kvData);
}

std::string writerName(HashList& pairs)
{
    unsigned int size = 0;
    void* value = nullptr;
    std::string name;
    if (ktxHashList_FindValue(pairs.head(), kWriterKey, &size, &value) == KTX_SUCCESS)
    {
        name.assign(static_cast<const char*>(value), size);
        name.resize(name.find_last_not_of('\0') + 1);
        // The library that wrote the file from which the texture came: now it is this one.
        name.resize(std::min(name.size(), name.find(" / libktx ")));
    }
    return (name.empty() ? kApplication : name) + kLibrary;
}

ktx_error_code_e serialize(HashList& pairs, Bytes& bytes)
{
    ktx_error_code_e result = ktxHashList_Sort(pairs.head());
    if (result != KTX_SUCCESS) return result;
    unsigned int size = 0;
    unsigned char* serialized = nullptr;
    result = ktxHashList_Serialize(pairs.head(), &size, &serialized);
    if (result != KTX_SUCCESS) return result;
    bytes.assign(serialized, serialized + size);
    std::free(serialized);
    return KTX_SUCCESS;
}
} // namespace

ktx_error_code_e serializeMetadata(const ktxTexture& texture, Bytes& bytes)
{
    HashList pairs;
    ktx_error_code_e result = copyPairs(texture, pairs);
    if (result != KTX_SUCCESS) return result;

    const std::string writer = writerName(pairs);
    removePair(*pairs.head(), kWriterKey);
    result =
        ktxHashList_AddKVPair(pairs.head(), kWriterKey, static_cast<unsigned int>(writer.size() + 1), writer.c_str());
    return result == KTX_SUCCESS ? serialize(pairs, bytes) : result;
}

void removePair(ktxHashList& pairs, const char* key)
{
    ktxHashListEntry* entry = nullptr;
    if (ktxHashList_FindEntry(&pairs, key, &entry) != KTX_SUCCESS) return;
    ktxHashList_DeleteEntry(&pairs, entry);
    std::free(entry);
}

ktx_error_code_e loadImageData(ktxTexture& texture)
{
    if (texture.pData) return KTX_SUCCESS;
    if (!ktxTexture_isActiveStream(&texture)) return KTX_INVALID_OPERATION;
    return ktxTexture_LoadImageData(&texture, nullptr, 0);
}
} // namespace mvgeo
