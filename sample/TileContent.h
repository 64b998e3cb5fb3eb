#pragma once

#include "sample/CityLayout.h"

#include <vector>

namespace mvgeo::sample
{
/** How finely one level of the pyramid shows the city. */
struct TileDetail
{
    int gridCells = 16; // of the terrain, each way
    double metresPerTexel = 1.0;
    int samples = 1;       // colours averaged for a texel
    int groundSamples = 1; // the same for the ground, whose smallest things are bigger than a window's
    int crownSides = 6;    // of a tree
    int crownRings = 2;
    double smallestTree = 0.0; // metres of radius
    bool detailBoxes = true;   // rooftop machinery
    bool cars = true;
    double skirt = 0.5; // metres that the tile's rim hangs down, to close gaps to coarser neighbours

    /** Level 0 is the root file's; the tile's edge is in metres. */
    [[nodiscard]] static TileDetail ofLevel(int level, int levels, double rootTileSize);
};

/** What one tile shows. A thing belongs to the tile that its centre lies in, so nothing is cut at a border; the
 * pointers are into the city's layout. */
struct TileContent
{
    Rect area;
    TileDetail detail;
    std::vector<const Box*> boxes;
    std::vector<const Tree*> trees;
    std::vector<const Car*> cars;

    TileContent(const CityObjects& objects, const Rect& area, const TileDetail& detail);
};
} // namespace mvgeo::sample
