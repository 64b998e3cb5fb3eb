#include "readerwriterthreedimg/TerrainTileInfo.h"

#include "support/UserValues.h"

#include <osgDB/Options>

#include <algorithm>
#include <cmath>

namespace mvgeo
{

namespace
{

/** Hands each key with its field to `visit`, in the order in which they are stored. */
template <typename Info, typename Visitor>
void forEachField(Info& info, const Visitor& visit)
{
    visit("imageWidth", info.imageWidth);
    visit("imageHeight", info.imageHeight);
    visit(keys::demWidth, info.demWidth);
    visit(keys::demHeight, info.demHeight);
    visit(keys::startX, info.startX);
    visit(keys::startY, info.startY);
    visit(keys::endX, info.endX);
    visit(keys::endY, info.endY);
    visit("offsetX", info.offsetX);
    visit("offsetY", info.offsetY);
    visit(keys::lod, info.lod);
    visit("x", info.x);
    visit("y", info.y);
    visit("rootXmin", info.rootXmin);
    visit("rootYmin", info.rootYmin);
    visit("rootXmax", info.rootXmax);
    visit("rootYmax", info.rootYmax);
    visit(keys::demResolutionX, info.demResolutionX);
    visit(keys::demResolutionY, info.demResolutionY);
    visit(keys::domPath, info.domPath);
    visit(keys::demPath, info.demPath);
    visit(keys::cachePathDir, info.cachePathDir);
    visit(keys::normal, info.normal);
}

std::string tileNumbers(const TerrainTileInfo& info)
{
    return std::to_string(info.lod) + '_' + std::to_string(info.x) + '_' + std::to_string(info.y);
}

} // namespace

void readTileInfo(const osg::Object& object, TerrainTileInfo& info)
{
    forEachField(info,
                 [&object](const std::string& key, auto& field)
                 {
                     using Value = std::remove_reference_t<decltype(field)>;
                     if (const Value* value = userValue<Value>(object, key)) field = *value;
                 });
}

void storeTileInfo(osg::Object& object, const TerrainTileInfo& info)
{
    osg::UserDataContainer& values = *object.getOrCreateUserDataContainer();
    forEachField(info,
                 [&values](const std::string& key, const auto& field)
                 {
                     using Value = std::remove_const_t<std::remove_reference_t<decltype(field)>>;
                     values.addUserObject(new osg::TemplateValueObject<Value>(key, field));
                 });
}

void setTileOptions(osg::PagedLOD& node, const TerrainTileInfo& info)
{
    const osg::ref_ptr<osgDB::Options> options = new osgDB::Options;
    storeTileInfo(*options, info);
    node.setDatabaseOptions(options);
}

RootSquare::RootSquare(double rasterColumns, double rasterRows)
    : side(std::max(rasterColumns, rasterRows)),
      padWest(std::floor((side - rasterColumns) / 2.0)),
      padEast(side - padWest - rasterColumns),
      padNorth(std::floor((side - rasterRows) / 2.0)),
      padSouth(side - padNorth - rasterRows)
{
}

RootSquare rootSquareOf(const TerrainTileInfo& info)
{
    return {std::round((info.rootXmax - info.rootXmin) / info.demResolutionX),
            std::round((info.rootYmax - info.rootYmin) / info.demResolutionY)};
}

bool childTileInfo(const TerrainTileInfo& parent, unsigned int quadrant, TerrainTileInfo& child)
{
    if (quadrant > 3) return false;
    const bool isEast = (quadrant & 1U) != 0;
    const bool isNorth = (quadrant & 2U) != 0;
    const double middleX = (parent.startX + parent.endX) / 2.0;
    const double middleY = (parent.startY + parent.endY) / 2.0;

    TerrainTileInfo quarter = parent;
    quarter.lod = parent.lod + 1;
    quarter.x = 2 * parent.x + (isEast ? 1 : 0);
    quarter.y = 2 * parent.y + (isNorth ? 1 : 0);
    (isEast ? quarter.startX : quarter.endX) = middleX;
    (isNorth ? quarter.startY : quarter.endY) = middleY;
    child = quarter;
    return true;
}

std::string childFileName(const TerrainTileInfo& info)
{
    return info.cachePathDir + '/' + tileNumbers(info) + "_c.osgb.3dimg";
}

std::string domImageName(const TerrainTileInfo& info)
{
    return info.cachePathDir + '/' + tileNumbers(info) + ".jpeg";
}

} // namespace mvgeo
