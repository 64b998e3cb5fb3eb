#include "fuzz/FuzzTarget.h"

namespace
{

/** Each unit as two bytes, the low one first. */
std::string asUnits(const std::string& text)
{
    std::string units;
    for (const char byte : text)
        units += {byte, '\0'};
    return units;
}

} // namespace

std::vector<std::string> mvgeo::fuzz::seeds()
{
    const std::string paths[] = {"",
                                 "tile.osgb",
                                 "C:\\data\\Tile_+000_+000\\Tile_+000_+000.osgb",
                                 "C:\\data\\other\\deep\\dom.tif",
                                 "d:/data/mixed\\name",
                                 "\\\\server\\share\\file",
                                 "/home/user/data/",
                                 "..\\up\\.\\here",
                                 "c:",
                                 "\\",
                                 "name.",
                                 "\xE5\x80\xBE\xE6\x96\x9C\\\xF0\x9F\x98\x80.osgb",
                                 "\xFF\xC3/\x80",
                                 std::string(300, 'a') + '\\' + std::string(300, 'b')};
    std::vector<std::string> seeds;
    for (const std::string& base : paths)
        for (const std::string& target : paths)
        {
            seeds.push_back(base + '\0' + target);
            seeds.push_back(asUnits(base) + std::string(2, '\0') + asUnits(target));
        }
    return seeds;
}
