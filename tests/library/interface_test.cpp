#include "mvgeothirdparty/MvGeoThirdparty.h"

#include "mvosggeomesh/MvOsgGeoMesh.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <type_traits>

// What hosts that are compiled already rely on: each function's place in its table, and its arguments and result.

namespace
{

#if defined(_MSC_VER)
constexpr bool kSlotsCanBeSeen = false; // there a pointer to a virtual function is one to code that looks it up
#else
constexpr bool kSlotsCanBeSeen = true;
#endif

/** The place of a virtual function behind the destructor, which counts as 0, after the C++ ABI of all compilers but
 * Microsoft's: the table holds two destructors, and a pointer to a virtual function the offset in it, plus one on some
 * processors. */
template <typename Function>
int slotOf(Function function)
{
    std::ptrdiff_t offset = 0;
    static_assert(sizeof function >= sizeof offset);
    std::memcpy(&offset, &function, sizeof offset);
    return static_cast<int>(offset / static_cast<std::ptrdiff_t>(sizeof(void*))) - 1;
}

struct Slots : public testing::Test
{
    void SetUp() override
    {
        if (!kSlotsCanBeSeen) GTEST_SKIP() << "this compiler does not show the slots of virtual functions";
    }
};

template <typename Expected, typename Function>
void isOfType(Function)
{
    static_assert(std::is_same_v<Function, Expected>);
}

} // namespace

TEST_F(Slots, OfTheModelStay)
{
    EXPECT_EQ(slotOf(&MvGeoMesh::reload), 1);
    EXPECT_EQ(slotOf(&MvGeoMesh::setName), 2);
    EXPECT_EQ(slotOf(&MvGeoMesh::extents), 3);
    EXPECT_EQ(slotOf(&MvGeoMesh::pickPoint), 4);
    EXPECT_EQ(slotOf(&MvGeoMesh::pickTriangle), 5);
    EXPECT_EQ(slotOf(&MvGeoMesh::update), 6);
    EXPECT_EQ(slotOf(&MvGeoMesh::addModel), 7);
    EXPECT_EQ(slotOf(&MvGeoMesh::replaceModel), 8);
    EXPECT_EQ(slotOf(&MvGeoMesh::setTransform), 9);
    EXPECT_EQ(slotOf(&MvGeoMesh::transform), 10);
    EXPECT_EQ(slotOf(&MvGeoMesh::clip), 11);
    EXPECT_EQ(slotOf(&MvGeoMesh::section), 12);
    EXPECT_EQ(slotOf(&MvGeoMesh::setGenerateNormals), 13);
    EXPECT_EQ(slotOf(&MvGeoMesh::clear), 14);
    EXPECT_EQ(slotOf(&MvOsgGeoMesh::checkBoundary), 15);
    EXPECT_EQ(slotOf(&MvOsgGeoMesh::joinDrapedPieces), 16);
    EXPECT_EQ(slotOf(&MvOsgGeoMesh::loadModel), 17);
    EXPECT_EQ(slotOf(&MvOsgGeoMesh::makeCacheDirectory), 18);
}

TEST_F(Slots, OfTheReceiverStay)
{
    EXPECT_EQ(slotOf(&GeoMeshUpdateReceiver::hasTiles), 1);
    EXPECT_EQ(slotOf(&GeoMeshUpdateReceiver::beginTile), 2);
    EXPECT_EQ(slotOf(&GeoMeshUpdateReceiver::removeTiles), 3);
    EXPECT_EQ(slotOf(&GeoMeshUpdateReceiver::visibleTiles), 4);
}

TEST_F(Slots, OfContainerAndMeshStay)
{
    EXPECT_EQ(slotOf(&GeoMeshTileContainer::createMesh), 1);
    EXPECT_EQ(slotOf(&KdGiGeoMesh::setVertices), 1);
    EXPECT_EQ(slotOf(&KdGiGeoMesh::setIndices), 2);
    EXPECT_EQ(slotOf(&KdGiGeoMesh::setTransform), 3);
    EXPECT_EQ(slotOf(&KdGiGeoMesh::setTexture), 4);
    EXPECT_EQ(slotOf(&KdGiGeoMesh::setExtents), 5);
}

// Each line is checked by the compiler.
TEST(Types, OfTheVirtualFunctionsStay)
{
    using Points = std::vector<KdGePoint3d>;
    using Mesh = MvGeoMesh;
    isOfType<void (Mesh::*)()>(&Mesh::reload);
    isOfType<void (Mesh::*)(const KdString&)>(&Mesh::setName);
    isOfType<KdDbExtents (Mesh::*)() const>(&Mesh::extents);
    isOfType<bool (Mesh::*)(const KdGeMatrix3d*, const KdGePoint3d*, KdGePoint3d*)>(&Mesh::pickPoint);
    isOfType<bool (Mesh::*)(const KdGeMatrix3d*, const KdGePoint3d*, Points*)>(&Mesh::pickTriangle);
    isOfType<bool (Mesh::*)(unsigned int, const KdGeMatrix3d*, const KdGeMatrix3d*, const KdGeMatrix3d*, int, int,
                            unsigned char, void*, GeoMeshUpdateReceiver*)>(&Mesh::update);
    isOfType<int (Mesh::*)(const KdString&)>(&Mesh::addModel);
    isOfType<bool (Mesh::*)(int, const KdString&)>(&Mesh::replaceModel);
    isOfType<void (Mesh::*)(const KdGeMatrix3d&)>(&Mesh::setTransform);
    isOfType<const KdGeMatrix3d& (Mesh::*)() const>(&Mesh::transform);
    isOfType<bool (Mesh::*)(int, unsigned int, const KdGeMatrix3d*, const Points*, const double*, int, Points*)>(
        &Mesh::clip);
    isOfType<bool (Mesh::*)(const KdGeMatrix3d*, const Points*, std::vector<Points>*)>(&Mesh::section);
    isOfType<bool (Mesh::*)(bool)>(&Mesh::setGenerateNormals);
    isOfType<void (Mesh::*)()>(&Mesh::clear);

    using Receiver = GeoMeshUpdateReceiver;
    using Identities = const std::vector<std::string>&;
    isOfType<bool (Receiver::*)()>(&Receiver::hasTiles);
    isOfType<GeoMeshTileContainer* (Receiver::*)(const std::string&)>(&Receiver::beginTile);
    isOfType<void (Receiver::*)(Identities)>(&Receiver::removeTiles);
    isOfType<void (Receiver::*)(Identities)>(&Receiver::visibleTiles);

    isOfType<KdGiGeoMesh* (GeoMeshTileContainer::*)()>(&GeoMeshTileContainer::createMesh);
    using HostMesh = KdGiGeoMesh;
    isOfType<void (HostMesh::*)(unsigned int, const float*, const float*, const float*)>(&HostMesh::setVertices);
    isOfType<void (HostMesh::*)(unsigned int, const unsigned int*)>(&HostMesh::setIndices);
    isOfType<void (HostMesh::*)(const KdGeMatrix3d&)>(&HostMesh::setTransform);
    isOfType<void (HostMesh::*)(KdGiGeoMeshImage*)>(&HostMesh::setTexture);
    isOfType<void (HostMesh::*)(const double*, const double*)>(&HostMesh::setExtents);
}

// The arguments stand in the names that hosts import as well, the results only here.
TEST(Types, OfTheExportedFunctionsStay)
{
    isOfType<MvGeoMesh* (*)(std::function<bool()>, ModelType)>(&createTiledModel);
    isOfType<bool (*)(const KdString&, std::vector<KdString>&)>(&GetRootTiles_Imp);
    isOfType<void (*)(const KdString&, KdString&)>(&getFileName_Imp);
    isOfType<void (*)(const KdString&, const KdString&, KdString&)>(&getRelativePath_Imp);
    isOfType<bool (*)(const KdString&)>(&IsOsgbFileValid_Imp);
    isOfType<bool (*)(const KdString&)>(&IsDemFileValid_Imp);
    isOfType<bool (*)(const KdString&, double*, int&, int&)>(&GetGeoImageInfo);
    isOfType<bool (*)(const MvGeoMesh*, GeoMeshStatistics*)>(&getGeoMeshStatistics);
    isOfType<KdString (*)()>(&MvRegConfig::getRegRootPath);
    isOfType<KdString (*)()>(&MvRegConfig::getRegCfgPath);
    isOfType<bool (*)(const KdString&, const KdString&, int)>(&MvRegConfig::setRegDWordVal);
    isOfType<bool (*)(const KdString&, const KdString&, int&)>(&MvRegConfig::getRegDWordVal);
    isOfType<bool (*)(const KdString&, const KdString&, const KdString&)>(&MvRegConfig::setRegStringVal);
    isOfType<bool (*)(const KdString&, const KdString&, KdString&)>(&MvRegConfig::getRegStringVal);
    isOfType<bool (*)(const KdString&, const KdString&, const OrloVariant&)>(&MvRegConfig::WriteValToReg);
    isOfType<bool (*)(const KdString&, const KdString&, OrloVariant&)>(&MvRegConfig::ReadValFromReg);
    isOfType<bool (*)(const KdString&, std::vector<KdString>&, std::vector<KdString>&)>(&MvRegConfig::listRegKey);
}
