#pragma once

namespace mvgeo
{

/** Told where terrain tiles come from. A read callback that is one hears of the tiles that are read through it.
 *  Thread: those that read. */
class TileOriginListener
{
public:
    virtual ~TileOriginListener() = default;
    virtual void noteTileBuilt() = 0;
    virtual void noteTileReadBack() = 0;
    /** Of a tile that was built: a raster could not be read for it. */
    virtual void noteTileIncomplete() = 0;
    /** Of a tile that was built: it could not be written to the cache. */
    virtual void noteTileNotKept() = 0;
};

} // namespace mvgeo
