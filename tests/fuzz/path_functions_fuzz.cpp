#include "mvgeothirdparty/FileQueries.h"

#include "fuzz/FuzzTarget.h"

#include <cstddef>
#include <cstdint>
#include <string>

// The path functions over arbitrary text. The input is a base file and a target, parted by the first zero; it is taken
// once as bytes and once as 16-bit units.

namespace
{

using mvgeo::fuzz::require;
using Text = std::basic_string<KdChar>;

bool isSeparator(KdChar unit)
{
    return unit == KdChar('/') || unit == KdChar('\\');
}

void checkFileName(const KdString& path)
{
    KdString name("before");
    getFileName_Imp(path, name);
    const Text whole = path.kwszPtr();
    std::size_t begin = whole.size();
    while (begin > 0 && !isSeparator(whole[begin - 1]))
        --begin;
    // A unit that is no character becomes a question mark on its way through OSG, so only the lack of
    // separators is certain there.
    const Text found = name.kwszPtr();
    for (const KdChar unit : found)
        require(!isSeparator(unit), "a file name holds no separator");
    if (KdString(path.ansiPtr()) == path)
        require(found == whole.substr(begin), "a file name is what follows the last separator");

    KdString inPlace = path;
    getFileName_Imp(inPlace, inPlace);
    require(inPlace == name, "an output may be the input");
}

void checkRelativePath(const KdString& base, const KdString& target)
{
    KdString relative("before");
    getRelativePath_Imp(base, target, relative);
    const KdChar* units = relative.kwszPtr();
    const bool hasPrefix = relative.length() > 2 && units[0] == KdChar('.') && units[1] == KdChar('\\');
    require(relative.isEmpty() || hasPrefix, "a way is empty or begins with the prefix");
    KdString again;
    getRelativePath_Imp(base, target, again);
    require(again == relative, "one question has one answer");

    KdString inPlace = target;
    getRelativePath_Imp(base, inPlace, inPlace);
    require(inPlace == relative, "an output may be the input");
}

void checkAll(const KdString& base, const KdString& target)
{
    checkFileName(base);
    checkFileName(target);
    checkRelativePath(base, target);
    checkRelativePath(target, base);
}

template <typename Unit>
void checkAs(const std::basic_string<Unit>& input)
{
    const std::size_t zero = input.find(Unit(0));
    const std::basic_string<Unit> base = input.substr(0, zero);
    const std::basic_string<Unit> target = zero == input.npos ? base : input.substr(zero + 1);
    checkAll(KdString(base.c_str()), KdString(target.c_str()));
}

Text unitsOf(const std::uint8_t* data, std::size_t size)
{
    Text units;
    for (std::size_t i = 0; i + 1 < size; i += 2)
        units += static_cast<KdChar>(data[i] + 256 * data[i + 1]);
    return units;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    checkAs(std::string(data, data + size));
    checkAs(unitsOf(data, size));
    return 0;
}
