#include "mvosggeoterrain/TerrainSource.h"

#include <string>

namespace mvgeo
{

TerrainSource splitTerrainSource(const KdString& source)
{
    const std::basic_string<KdChar> text = source.kwszPtr();
    const std::size_t mark = text.find(KdChar('?'));
    if (mark == text.npos) return {source, {}};
    return {KdString(text.substr(0, mark).c_str()), KdString(text.substr(mark + 1).c_str())};
}

} // namespace mvgeo
