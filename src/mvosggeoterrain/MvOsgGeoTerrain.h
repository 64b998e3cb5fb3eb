#pragma once

#include "mvgdaldatasetmanager/ImageHeader.h"
#include "mvosggeomesh/MvOsgGeoMesh.h"

/** A terrain made from an elevation raster (DEM) and an ortho-image (DOM) while it is looked at.
 *
 * Its one source is the text domPath "?" demPath; either may be missing, a DOM alone is a flat terrain. The tiles are
 * virtual files below "/terrain.osgb.3dimg" in the model's cache directory; they are built on the database thread and
 * page like any others.
 *
 * Frame: the DEM's coordinate system and unit (the DOM's if there is no DEM); z is the elevation.
 * Thread: one host thread per model.
 */
class MvOsgGeoTerrain : public MvOsgGeoMesh
{
public:
    explicit MvOsgGeoTerrain(std::function<bool()> callback);
    ~MvOsgGeoTerrain() override;

    /** Drops consecutive points that are equal; false if fewer than two are left. */
    bool checkBoundary(std::vector<KdGePoint3d>& points) override;
    /** Cleans each piece as above, pieces of fewer than two points go; then joins them. */
    void joinDrapedPieces(std::vector<std::vector<KdGePoint3d>>& pieces) override;
    /** Opens the two rasters and builds the root tile. A model holds one terrain: false if there is one already. After
     * a failure no raster is left open. */
    bool loadModel(const KdString& source) override;
    bool makeCacheDirectory(const std::string& sourceAnsi, std::string& dir) override;
    /** The rasters are closed, unless another model uses them. */
    void clear() override;

private:
    [[nodiscard]] bool openRasters(const std::string& domPath, const std::string& demPath);
    [[nodiscard]] bool addTerrain(const KdString& source);
    /** Rasters that no other model holds are closed; their files may have changed when they are opened again. */
    void releaseRasters();
    void measureTerrain(osg::Node& rootTile);

    osg::ref_ptr<ImageHeader> _domHeader; // null: no such raster
    osg::ref_ptr<ImageHeader> _demHeader;
};
