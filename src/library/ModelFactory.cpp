#include "mvgeothirdparty/ModelFactory.h"

#include "mvosggeomesh/MvOsgGeoMesh.h"

#include <utility>

MvGeoMesh* createTiledModel(std::function<bool()> callback, ModelType type)
{
    if (type == kTiledModel) return new MvOsgGeoMesh(std::move(callback));
    return nullptr;
}
