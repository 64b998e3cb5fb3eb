#pragma once

#include <osgDB/ReaderWriter>

/** Answers for terrain tiles, whose files do not exist: a name that ends in ".osgb.3dimg" only identifies a tile, and
 * the read options carry all that is needed to build it (TerrainTileInfo.h). What was built is kept as an ordinary
 * ".osgb" file in the folder "cachePathDir" and read back from there the next time.
 *
 * Thread: any, several at once; it keeps no state.
 */
class ReaderWriter3DIMG : public osgDB::ReaderWriter
{
public:
    ReaderWriter3DIMG();

    const char* className() const override { return "ReaderWriter3DIMG"; }

    /** FILE_NOT_HANDLED for another extension, and without options unless the tile is in the cache; else the node, null
     * if it could not be built. */
    ReadResult readNode(const std::string& fileName, const osgDB::Options* options) const override;

    /** Success for an accepted extension, and nothing is written: tiles are virtual, and whoever saves a scene must not
     * fail on them. */
    WriteResult writeNode(const osg::Node& node, const std::string& fileName,
                          const osgDB::Options* options) const override;

protected:
    ~ReaderWriter3DIMG() override;
};
