#pragma once

#include "sample/TerrainGrid.h"
#include "sample/TerrainPlan.h"

#include <vector>

namespace mvgeo::sample
{
/** Where the water of every cell runs: to one neighbour each, in the end to a cell that drains. */
struct Drainage
{
    std::vector<int> order;    // all cells, each after the one it drains to
    std::vector<int> receiver; // the cell that the water runs to; itself where it leaves
    std::vector<float> area;   // square metres that drain through the cell, its own counted
};

/** Floods the terrain from its draining cells upwards (Barnes, Lehman and Mulla, 2014), which gives an order in which
 * no cell comes before the one it drains to, pits included. */
[[nodiscard]] Drainage drainageOf(const TerrainGrid& heights, const std::vector<char>& drains);

/** Mountains that rise while their rivers cut into them: the stream-power law, solved implicitly in the order of the
 * drainage (after Braun and Willett, 2013), with the steepest slope that the rock can stand as its limit. */
class TerrainErosion
{
public:
    /** Begins at the plan's valley floor, which stays as it is; around it is low hilly land. */
    TerrainErosion(const TerrainPlan& plan, int columns, int rows, double cell);
    /** Begins at a coarser one's result. */
    TerrainErosion(const TerrainPlan& plan, int columns, int rows, double cell, const TerrainGrid& coarser);

    /** @param rise  metres that the fastest-growing place rises in this step */
    void step(double rise);

    [[nodiscard]] const TerrainGrid& heights() const { return _heights; }

private:
    void prepare(const TerrainPlan& plan);
    void creep();

    TerrainGrid _heights;
    TerrainGrid _uplift;
    TerrainGrid _steepest;
    std::vector<char> _drains; // 1 for cells whose height is given
};
} // namespace mvgeo::sample
