#pragma once

#include <osgDB/Options>
#include <osgDB/ReaderWriter>

#include <string>

namespace mvgeo
{

/** Reads a tile file as the registry does, but gives up at once if an ".osgb" ends too early.
 *
 *  The toolkit's reader goes on behind the end of a cut-off file: it takes what it read last for a number of entries,
 *  up to four thousand million, and writes lines to the log for each.
 *  May throw what a reader throws. Thread: any.
 */
[[nodiscard]] osgDB::ReaderWriter::ReadResult readTileFile(const std::string& fileName, const osgDB::Options* options);

} // namespace mvgeo
