#pragma once

#include <array>
#include <cstdint>
#include <vector>

class GDALDataset;

/** How an ortho-image's bands are shown as red, green and blue bytes. */
struct OrthoLayout
{
    /** Numbers (from 1) of the bands for red, green and blue; all the same for a grey or paletted image. */
    std::array<int, 3> bands{1, 2, 3};
    /** Not empty for a paletted image: the colour of each value of the band. */
    std::vector<std::array<std::uint8_t, 3>> palette;
    /** True if the samples are bytes already. Else byte = (value - offset) * scale, rounded and clamped to 0..255. */
    bool isByte = true;
    double offset = 0.0;
    double scale = 1.0;
};

/** Works the layout out: by colour tags if red, green and blue are all tagged, else the bands in order; one or two
 * bands are grey; a fourth is left out. For other types than bytes the range, without 2 % at each end, is taken from
 * the samples where it must be: it is the same in every process. */
[[nodiscard]] OrthoLayout orthoLayoutOf(GDALDataset& dataset);
