#include "KeyValues.h"

#include <map>
#include <string>

namespace mvgeo
{
namespace
{
constexpr char kLibraryName[] = " / libktx v";

using Pairs = std::map<std::string, std::string>;

Pairs pairsOf(const ktxTexture2& texture)
{
    Pairs pairs;
    for (ktxHashListEntry* entry = texture.kvDataHead; entry; entry = ktxHashList_Next(entry))
    {
        unsigned int size = 0;
        char* key = nullptr;
        void* value = nullptr;
        ktxHashListEntry_GetKey(entry, &size, &key);
        ktxHashListEntry_GetValue(entry, &size, &value);
        pairs[key].assign(static_cast<const char*>(value), size);
    }
    return pairs;
}

void appendPair(Bytes& bytes, const std::string& key, const std::string& value)
{
    append(bytes, 4, key.size() + 1 + value.size());
    bytes.insert(bytes.end(), key.c_str(), key.c_str() + key.size() + 1);
    bytes.insert(bytes.end(), value.begin(), value.end());
    bytes.resize((bytes.size() + 3) / 4 * 4);
}
} // namespace

Bytes keyValueBytes(const ktxTexture2& texture)
{
    Pairs pairs = pairsOf(texture);
    std::string& writer = pairs[KTX_WRITER_KEY];
    writer = writer.substr(0, writer.find('\0'));
    writer = writer.substr(0, writer.find(kLibraryName)); // a texture that was read names it already
    if (writer.empty()) writer = "Unidentified app";
    writer += std::string(kLibraryName) + "4.4.2" + '\0';
    Bytes bytes;
    for (const auto& [key, value] : pairs)
        appendPair(bytes, key, value);
    return bytes;
}
} // namespace mvgeo
