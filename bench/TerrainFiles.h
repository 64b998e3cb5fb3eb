#pragma once

#include <string>

namespace mvgeo::bench
{

struct TerrainFiles
{
    std::string dem;
    std::string dom;
};

constexpr int kDemSide = 2048; // pixels of 10 m
constexpr int kDomSide = 4096; // pixels of 5 m

/** The reference host's invented valley, uncompressed and in blocks of 256 pixels: elevations as floats, colours as
 * interleaved bytes. Written below the build folder on first use; throws if that fails. */
[[nodiscard]] const TerrainFiles& terrainFiles(bool withOverviews);

/** A folder that is empty at first and goes with the object; two of one name are one folder. It lies in memory where
 * the system offers that and there is room: what a disk's file system does for each file depends on what was deleted in
 * the minutes before, and can cost more than all the rest. */
class ScratchFolder
{
public:
    explicit ScratchFolder(const std::string& name);
    ~ScratchFolder();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    [[nodiscard]] const std::string& path() const { return _path; }

private:
    std::string _path;
};

} // namespace mvgeo::bench
