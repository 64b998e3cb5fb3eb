#include "mvgeothirdparty/ModelFactory.h"

#include "library/ReaderWriterRegistration.h"
#include "mvosggeomesh/MvOsgGeoMesh.h"
#include "mvosggeoterrain/MvOsgGeoTerrain.h"
#include "readerwriterktx/ReaderWriterKTX.h"
#include "readerwriterthreedimg/ReaderWriter3DIMG.h"

#include <utility>

namespace
{

// Made when the library is loaded, gone when it is unloaded.
const mvgeo::ReaderWriterRegistration<ReaderWriter3DIMG> terrainTiles;
const mvgeo::ReaderWriterRegistration<ReaderWriterKTX> ktxTextures;

} // namespace

MvGeoMesh* createTiledModel(std::function<bool()> callback, ModelType type)
{
    if (type == kTiledModel) return new MvOsgGeoMesh(std::move(callback));
    if (type == kTerrainModel) return new MvOsgGeoTerrain(std::move(callback));
    return nullptr;
}
