#pragma once

#include <KdString.h>

namespace mvgeo
{

/** The two rasters that a terrain's source names; either may be empty. */
struct TerrainSource
{
    KdString dom;
    KdString dem;
};

/** Parts the source at its first "?"; without one it is all DOM. In the host's own text: in a code page a character
 * that it lacks is a "?" too. */
[[nodiscard]] TerrainSource splitTerrainSource(const KdString& source);

} // namespace mvgeo
