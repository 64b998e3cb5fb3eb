#pragma once

#include <osg/Image>

#include <string>

namespace mvgeo
{

/** A KTX 2 file that holds the image bit by bit, for a cache: its blocks or pixels, with their levels and their alpha,
 * the first row taken for the lowest whatever the image's origin says. Empty, without a word, if there are no pixels,
 * if no format of Vulkan stores them, or if the library was built without libktx.
 * Thread: any, several at once. May throw (no memory). */
[[nodiscard]] std::string ktxCopyOf(const osg::Image& image);

/** Gives an image that was read from such a file its format of luminance, intensity or alpha back, which the file calls
 * red and green. */
void restoreFormatOfCopy(osg::Image& image);

} // namespace mvgeo
