#pragma once

#include "MvGeoExport.h"

#include <KdString.h>

#include <vector>

/** What a host may ask about files before it opens a model. Each call opens what it needs and has closed it when it
 * returns. None throws, and none writes to the log or to the standard streams: failure is a false result, or an empty
 * text. An output may be the same object as an input. The names, where "_Imp" and capitals come and go, are those under
 * which hosts import the functions.
 * Thread: any, several at once.
 */

/** Finds the root tiles of an oblique-photography pyramid: in each sub-folder of `dataFolder`, the ".osgb" file named
 * like that folder. Sub-folders with a point in their name are passed over.
 *
 * @param dataFolder  each result begins with it and a slash, also where it ends in a separator already
 * @param rootTiles   appended to, in the order in which the system lists the folder; not cleared
 * @return true if `rootTiles` is not empty afterwards, be it from before
 */
MVGEO_API bool GetRootTiles_Imp(const KdString& dataFolder, std::vector<KdString>& rootTiles);

/** What follows the last slash or back-slash, extension included; on every platform both separate. */
MVGEO_API void getFileName_Imp(const KdString& path, KdString& fileName);

/** The way from the folder of the file `baseFile` to `targetPath`, behind ".\": ".\models\Data". Paths are compared as
 * they are written, slashes and back-slashes alike. If they have different roots (one is absolute, the other relative;
 * two drives) there is no way, and the target's file name stands for it. For the folder itself the result is empty.
 *
 * Inside the result the platform's own separator stands. The prefix is a point and a back-slash everywhere, so off
 * Windows the same call gives ".\models/Data". Between two paths that begin with a slash, the way begins with one:
 * ".\/models/Data".
 */
MVGEO_API void getRelativePath_Imp(const KdString& baseFile, const KdString& targetPath, KdString& relativePath);

/** True if the file can be read, as a whole, as a scene. It is read as models read: with OSG's global read options and
 * through a read-file callback that is installed there. Nothing of the scene is kept, in no cache either.
 */
MVGEO_API bool IsOsgbFileValid_Imp(const KdString& path);

/** True if the file is a raster of exactly one band. */
MVGEO_API bool IsDemFileValid_Imp(const KdString& path);

/** The place and size of a raster.
 *
 * @param geoTransform  six numbers: west edge, pixel width, row rotation, north edge, column rotation, pixel height,
 * which is negative where north is up. Of a raster whose place is unknown, what GDAL gives then: normally 0, 1, 0, 0,
 * 0, 1.
 * @param width,height  pixels
 * @return false if it is no raster; then no output is touched
 */
MVGEO_API bool GetGeoImageInfo(const KdString& path, double* geoTransform, int& width, int& height);
