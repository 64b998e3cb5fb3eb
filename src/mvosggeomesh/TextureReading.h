#pragma once

#include <osg/Image>

#include <string>
#include <vector>

namespace mvgeo
{

/** A texture whose pixels are still to be read from its cached file into the image that the host already holds. */
struct TextureWorkItem
{
    unsigned char isFilled = 0;
    std::string path;
    osg::ref_ptr<osg::Image> target;
};

/** Reads all files at once, each item on one thread of at least eight, and hands the pixels to the targets. A file that
 * cannot be read leaves its target empty, without a word. Returns when all are done. */
void readTextures(const std::vector<TextureWorkItem>& items);

} // namespace mvgeo
