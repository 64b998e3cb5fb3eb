#pragma once

class KdGiGeoMesh;

/** The host's place for the meshes of one tile; the host owns it and the meshes that it makes.
 *
 * Hosts implement it and the library calls it, so it is binary interface: nothing is added, taken out, moved or
 * changed, see MvGeoMesh.
 */
class GeoMeshTileContainer
{
public:
    virtual ~GeoMeshTileContainer() = default;

    /** A new, empty mesh in this tile. Null makes the library leave that geometry out. */
    virtual KdGiGeoMesh* createMesh() = 0;
};
