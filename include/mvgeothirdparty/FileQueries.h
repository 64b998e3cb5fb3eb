#pragma once

#include "MvGeoExport.h"

#include <KdString.h>

#include <vector>

/** Finds the root tiles of an oblique-photography pyramid: in each sub-folder of `dataFolder`, the ".osgb" file named
 *  like that folder. Sub-folders with a point in their name are passed over.
 *
 *  @param rootTiles  appended to, in the order in which the system lists the folder; not cleared
 *  @return true if `rootTiles` is not empty afterwards, be it from before
 *  Thread: any.
 */
MVGEO_API bool GetRootTiles_Imp(const KdString& dataFolder, std::vector<KdString>& rootTiles);
