#pragma once

#include "mvgeothirdparty/FileQueries.h"

#include "support/TemporaryDirectory.h"
#include "support/TestRaster.h"
#include "support/TilePyramid.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

// What the tests of the queries share: the questions in short, and files to ask about.

inline const std::string kChinese = "\xE7\x93\xA6\xE7\x89\x87 1"; // two characters, a blank, a digit

inline bool isTile(const std::string& path)
{
    return IsOsgbFileValid_Imp(KdString(path.c_str()));
}
inline bool isDem(const std::string& path)
{
    return IsDemFileValid_Imp(KdString(path.c_str()));
}

/** What GetGeoImageInfo() leaves behind, over values that no raster has. */
struct GeoImage
{
    bool isRaster = false;
    std::array<double, 6> transform{-1, -2, -3, -4, -5, -6};
    int width = -7;
    int height = -8;

    explicit GeoImage(const std::string& path)
    {
        isRaster = GetGeoImageInfo(KdString(path.c_str()), transform.data(), width, height);
    }
    [[nodiscard]] bool isUntouched() const
    {
        return transform == std::array<double, 6>{-1, -2, -3, -4, -5, -6} && width == -7 && height == -8;
    }
};

struct FileQueries : public testing::Test
{
    TemporaryDirectory folder;

    [[nodiscard]] std::string file(const std::string& name, const std::string& bytes) const
    {
        writeFile(folder / name, bytes);
        return folder / name;
    }
    [[nodiscard]] std::string tile(const TilePyramidOptions& options = {}) const
    {
        return TilePyramid(folder / "tiles", options).rootFile();
    }
    [[nodiscard]] std::string raster(const std::string& name, int bands, GDALDataType type = GDT_Byte) const
    {
        TestRaster plan;
        plan.bands = bands;
        plan.type = type;
        writeRaster(folder / name, plan, 1.0);
        return folder / name;
    }
    /** What is neither a tile nor a raster, under names that promise one. */
    [[nodiscard]] std::vector<std::string> badFiles() const
    {
        const std::string whole = readFile(tile());
        return {folder / "missing.osgb",
                folder / "missing/missing.tif",
                folder.makeFolder("folder"),
                folder.makeFolder("folder.osgb"),
                folder.makeFolder("folder.tif"),
                file("empty.osgb", ""),
                file("empty.tif", ""),
                file("text.osgb", "this is no tile"),
                file("text.tif", "this is no raster"),
                file("half.osgb", whole.substr(0, whole.size() / 2)),
                file("start.tif", "II*"),
                file("noise.osgb", whole.substr(0, 100) + std::string(3000, '\x5A')),
                std::string(5000, 'x'),
                ""};
    }
};
