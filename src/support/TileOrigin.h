#pragma once

#include <atomic>
#include <cstdint>

namespace mvgeo
{

/** Counts where terrain tiles come from. A model's read callback that is one has those counted that are read through
 * it. Thread: any. */
struct TileOriginCounts
{
    virtual ~TileOriginCounts() = default;

    std::atomic<std::uint64_t> tilesBuilt{0};
    std::atomic<std::uint64_t> tilesReadBack{0};   ///< from the disk cache
    std::atomic<std::uint64_t> tilesIncomplete{0}; ///< built, but a raster could not be read for it
    std::atomic<std::uint64_t> tilesNotKept{0};    ///< built, but it could not be written to the disk cache
};

} // namespace mvgeo
