// The smallest host: opens a folder of root tiles, looks at it from above, and counts what comes.

#include <mvgeothirdparty/MvGeoThirdparty.h>

#include <cstdio>
#include <memory>
#include <utility>
#include <vector>

namespace
{

/** Wants no meshes: a null container skips them. */
class TileCounter : public GeoMeshUpdateReceiver
{
public:
    bool hasTiles() override { return std::exchange(_hasTiles, true); } // at first, be told of every tile
    void removeTiles(const std::vector<std::string>&) override {}
    void visibleTiles(const std::vector<std::string>&) override {}
    GeoMeshTileContainer* beginTile(const std::string&) override
    {
        ++announced;
        return nullptr;
    }

    unsigned int announced = 0;

private:
    bool _hasTiles = false;
};

/** A parallel view along -z that shows the whole box; identities for an empty one. */
void lookFromAbove(const KdDbExtents& box, KdGeMatrix3d& view, KdGeMatrix3d& projection)
{
    if (!box.isValid()) return;
    const KdGeVector3d diagonal = box.maxPoint() - box.minPoint();
    const KdGePoint3d centre = box.minPoint() + diagonal * 0.5;
    view = KdGeMatrix3d::translation(KdGePoint3d() - centre);
    projection = KdGeMatrix3d::scaling(2.0 / diagonal.length());
}

} // namespace

int main(int argumentCount, char** arguments)
{
    const char* const folder = argumentCount > 1 ? arguments[1] : ".";
    TileCounter receiver;
    KdGeMatrix3d view;
    KdGeMatrix3d projection;

    // begin
    const auto tilesWait = [] { return true; }; // a real host asks for a redraw here
    const std::unique_ptr<MvGeoMesh> model(createTiledModel(tilesWait, kTiledModel));
    std::vector<KdString> rootTiles;
    GetRootTiles_Imp(KdString(folder), rootTiles);
    for (const KdString& file : rootTiles)
        model->addModel(file);

    lookFromAbove(model->extents(), view, projection); // your camera, as OpenGL defines it
    GeoMeshStatistics statistics{};
    statistics.version = kGeoMeshStatisticsVersion;
    for (unsigned int frame = 0; !statistics.idle; ++frame) // idle: the picture is complete
    {
        model->update(frame, &KdGeMatrix3d::kIdentity, &view, &projection, 1280, 720, MvGeoMesh::kExtractTextures,
                      nullptr, &receiver);
        do // a real host goes on with its own work here, until tilesWait is called
            getGeoMeshStatistics(model.get(), &statistics);
        while (!statistics.idle && statistics.mergesWaiting == 0);
    }
    // end

    std::printf("%zu root tiles, %llu tiles read, %u announced\n", rootTiles.size(),
                static_cast<unsigned long long>(statistics.tilesLoaded), receiver.announced);
    return 0;
}
