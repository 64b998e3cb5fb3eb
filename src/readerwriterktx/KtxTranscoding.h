#pragma once

#include <osgDB/Options>

namespace mvgeo
{

/** What a Basis texture becomes; the values are libktx's own. The last two let libktx choose by alpha: ETC1 or ETC2,
 * BC1 or BC3. */
enum class TranscodeTarget
{
    rgba32 = 13,
    etc = 22,
    bc1Or3 = 23
};

/** The target where the options name none: above 0 uncompressed, at 0 (as it begins) BC, below 0 neither BC nor ETC,
 * which is uncompressed too, but then "UseRGBA" counts as not asked for. One for the process. Thread: any. */
void setTranscodingDefault(int value);
[[nodiscard]] int transcodingDefault();

/** The target for a texture of this size. The options "UseRGBA", "UseETC" and "UseDXT" replace the default, each on its
 * own; the first of the three that is on wins. A size that is no power of two stays uncompressed, which is logged
 * unless it was asked for. */
[[nodiscard]] TranscodeTarget transcodeTarget(unsigned int width, unsigned int height, const osgDB::Options* options);

} // namespace mvgeo
