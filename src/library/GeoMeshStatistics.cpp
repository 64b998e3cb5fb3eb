#include "mvgeothirdparty/GeoMeshStatistics.h"

#include "mvosggeomesh/MvOsgGeoMesh.h"

bool getGeoMeshStatistics(const MvGeoMesh* model, GeoMeshStatistics* statistics)
{
    const auto* mesh = dynamic_cast<const MvOsgGeoMesh*>(model);
    if (!mesh || !statistics || statistics->version < 1 || statistics->version > kGeoMeshStatisticsVersion)
        return false;
    mesh->fillStatistics(*statistics);
    return true;
}
