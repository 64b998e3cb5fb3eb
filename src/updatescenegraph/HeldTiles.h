#pragma once

#include <osg/Node>

#include <cstddef>
#include <cstdint>
#include <unordered_map>

namespace mvgeo
{

/** Counts the tiles of a model that are in the scene, with the bytes of their vertex and index arrays.
 * Thread: the host's update thread. Ownership: none; whoever drops a tile from the scene says so here. */
class HeldTiles
{
public:
    /** A freshly read tile that is about to enter the scene, before any finer tile hangs below it. */
    void add(osg::Node& tile);

    /** Forgets the tiles in a subgraph that left the scene. @return how many they were */
    std::size_t removeBelow(osg::Node& subgraph);

    void clear();

    [[nodiscard]] std::size_t count() const { return _bytesOfTile.size(); }
    [[nodiscard]] std::uint64_t bytes() const { return _bytes; }

private:
    std::unordered_map<const osg::Node*, std::uint64_t> _bytesOfTile;
    std::uint64_t _bytes = 0;
};

} // namespace mvgeo
