#include "mvosggeomesh/MvOsgGeoMesh.h"

bool MvOsgGeoMesh::section(const KdGeMatrix3d*, const std::vector<KdGePoint3d>*, std::vector<std::vector<KdGePoint3d>>*)
{
    return false;
}

bool MvOsgGeoMesh::checkBoundary(std::vector<KdGePoint3d>&)
{
    return true;
}

void MvOsgGeoMesh::joinDrapedPieces(std::vector<std::vector<KdGePoint3d>>&) {}
