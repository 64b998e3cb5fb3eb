#include "mvosggeomesh/MvOsgGeoMesh.h"

bool MvOsgGeoMesh::clip(int, unsigned int, const KdGeMatrix3d*, const std::vector<KdGePoint3d>*, const double*, int,
                        std::vector<KdGePoint3d>*)
{
    return false;
}
