#include "hosting/HostTileStore.h"

#include <algorithm>

namespace mvgeo::host
{
namespace
{
// One broken frame would otherwise fill memory with the same sentence.
constexpr std::size_t kMaxViolations = 100;
} // namespace

HostTile::HostTile(TextureCache& textures) : _textures(textures), _node(new osg::Group)
{
    setVisible(false);
}

KdGiGeoMesh* HostTile::createMesh()
{
    _meshes.push_back(std::make_unique<HostMesh>(_textures));
    _node->addChild(_meshes.back()->node());
    return _meshes.back().get();
}

void HostTile::setVisible(bool visible)
{
    _node->setNodeMask(visible ? ~0U : 0U);
}

std::size_t HostTile::triangleCount() const
{
    std::size_t count = 0;
    for (const std::unique_ptr<HostMesh>& mesh : _meshes)
        count += mesh->triangleCount();
    return count;
}

HostTileStore::HostTileStore() : _scene(new osg::Group) {}

void HostTileStore::beginUpdate()
{
    _newIds.clear();
    _goneIds.clear();
    _step = Step::begun;
}

void HostTileStore::endUpdate()
{
    if (_step != Step::visibleNamed) violate("the update ended without naming the visible tiles");
    _step = Step::outside;
    _textures.loadPending();
    finishNewTiles();
    showVisibleTiles();
}

void HostTileStore::reset()
{
    _scene->removeChildren(0, _scene->getNumChildren());
    _tiles.clear();
    _visibleIds.clear();
    _textures.loadPending();
    _wantsAll = true;
}

bool HostTileStore::hasTiles()
{
    expect(Step::begun, "hasTiles");
    _step = Step::askedForTiles;
    const bool has = !_wantsAll;
    _wantsAll = false;
    return has;
}

void HostTileStore::removeTiles(const std::vector<std::string>& globalIds)
{
    expect(Step::askedForTiles, "removeTiles");
    _step = Step::removed;
    for (const std::string& id : globalIds)
    {
        if (!_goneIds.insert(id).second) violate("tile '" + id + "' was removed twice in one update");
        const auto found = _tiles.find(id);
        if (found == _tiles.end())
        {
            ++_unannouncedRemovals;
            continue;
        }
        _scene->removeChild(found->second->node());
        _tiles.erase(found);
    }
}

void HostTileStore::visibleTiles(const std::vector<std::string>& globalIds)
{
    expect(Step::removed, "visibleTiles");
    _step = Step::visibleNamed;
    for (const std::string& id : _visibleIds)
        if (HostTile* tile = find(id)) tile->setVisible(false);
    _visibleIds = globalIds;
    std::sort(_visibleIds.begin(), _visibleIds.end());
    _visibleIds.erase(std::unique(_visibleIds.begin(), _visibleIds.end()), _visibleIds.end());
}

GeoMeshTileContainer* HostTileStore::beginTile(const std::string& globalId)
{
    expect(Step::visibleNamed, "beginTile");
    if (_goneIds.count(globalId) != 0) violate("tile '" + globalId + "' was announced in the update that removed it");
    std::unique_ptr<HostTile>& tile = _tiles[globalId];
    if (tile)
    {
        violate("tile '" + globalId + "' was announced again without being removed");
        return nullptr;
    }
    tile = std::make_unique<HostTile>(_textures);
    _scene->addChild(tile->node());
    _newIds.push_back(globalId);
    return tile.get();
}

std::size_t HostTileStore::visibleTriangleCount() const
{
    std::size_t count = 0;
    for (const std::string& id : _visibleIds)
        if (const HostTile* tile = find(id)) count += tile->triangleCount();
    return count;
}

std::size_t HostTileStore::visibleMeshCount() const
{
    std::size_t count = 0;
    for (const std::string& id : _visibleIds)
        if (const HostTile* tile = find(id)) count += tile->meshes().size();
    return count;
}

void HostTileStore::expect(Step step, const char* call)
{
    if (_step != step) violate(std::string(call) + " came out of order");
}

void HostTileStore::violate(const std::string& sentence)
{
    if (_violations.size() < kMaxViolations) _violations.push_back(sentence);
}

void HostTileStore::finishNewTiles()
{
    for (const std::string& id : _newIds)
        for (const std::unique_ptr<HostMesh>& mesh : _tiles.at(id)->meshes())
        {
            if (_lowestGround) mesh->leaveOutBelow(*_lowestGround);
            if (const std::string fault = mesh->finish(); !fault.empty()) violate("in tile '" + id + "' " + fault);
        }
}

void HostTileStore::showVisibleTiles()
{
    for (const std::string& id : _visibleIds)
    {
        if (HostTile* tile = find(id))
            tile->setVisible(true);
        else
            violate("tile '" + id + "' is visible but was not announced");
    }
}

HostTile* HostTileStore::find(const std::string& globalId) const
{
    const auto found = _tiles.find(globalId);
    return found == _tiles.end() ? nullptr : found->second.get();
}
} // namespace mvgeo::host
