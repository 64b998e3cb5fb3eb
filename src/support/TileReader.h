#pragma once

#include <osgDB/Options>
#include <osgDB/ReaderWriter>

#include <string>

namespace mvgeo
{

/** The bytes of one file: OSG asks for a tile number by number, which a file stream answers at three times the price.
 * The thread keeps the memory for its next file, because taking a megabyte from the system for each costs as much as
 * reading it; a tile that is read in the middle of another gets memory of its own. */
class FileBytes
{
public:
    FileBytes();
    ~FileBytes();
    FileBytes(const FileBytes&) = delete;
    FileBytes& operator=(const FileBytes&) = delete;

    /** False if the file cannot be opened. */
    [[nodiscard]] bool read(const std::string& path);

    std::string bytes;
};

/** Reads an ".osgb" tile from the bytes of its file, as readTileFile() does. `path` is where they come from. */
[[nodiscard]] osgDB::ReaderWriter::ReadResult readTileBytes(std::string& bytes, const std::string& path,
                                                            const osgDB::Options* options);

/** Reads a tile file as the registry does, but gives up at once if an ".osgb" ends too early.
 *
 * OSG's reader goes on behind the end of a cut-off file: it takes what it read last for a number of entries, up to four
 * thousand million, and writes lines to the log for each. An ".osgb" that it does not take for its own is left to the
 * other installed readers; about one that it finds damaged no other is asked. May throw what a reader throws.
 * Thread: any.
 */
[[nodiscard]] osgDB::ReaderWriter::ReadResult readTileFile(const std::string& fileName, const osgDB::Options* options);

} // namespace mvgeo
