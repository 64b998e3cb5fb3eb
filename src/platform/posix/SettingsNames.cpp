#include "platform/posix/SettingsNames.h"

#include <algorithm>
#include <clocale>
#include <cwctype>

#include <locale.h>
#include <wctype.h>

namespace mvgeo::platform
{
namespace
{

constexpr WideChar kSeparator = u'\\';

// Made once and kept as long as the process: threads may be folding until its very end.
locale_t letterTable()
{
    static const locale_t table = newlocale(LC_CTYPE_MASK, "C.UTF-8", static_cast<locale_t>(nullptr));
    return table;
}

WideChar upperCase(WideChar unit)
{
    if (unit < 0x80) return unit >= u'a' && unit <= u'z' ? static_cast<WideChar>(unit - u'a' + u'A') : unit;
    const locale_t table = letterTable();
    if (!table) return unit;
    const auto upper = towupper_l(unit, table);
    const bool isPair = upper <= 0xFFFF && towlower_l(upper, table) == unit;
    return isPair ? static_cast<WideChar>(upper) : unit;
}

} // namespace

std::vector<WideString> splitKeyPath(const WideString& path)
{
    std::vector<WideString> names;
    if (path.empty() || path.front() == kSeparator) return names;
    for (std::size_t begin = 0; begin < path.size();)
    {
        const std::size_t end = std::min(path.find(kSeparator, begin), path.size());
        const std::size_t length = end - begin;
        if (length > kMaxKeyNameUnits || names.size() == kMaxKeyDepth) return {};
        names.push_back(path.substr(begin, length));
        begin = std::min(path.find_first_not_of(kSeparator, end), path.size());
    }
    return names;
}

WideString foldCase(const WideString& name)
{
    WideString folded(name);
    std::transform(folded.begin(), folded.end(), folded.begin(), upperCase);
    return folded;
}

} // namespace mvgeo::platform
