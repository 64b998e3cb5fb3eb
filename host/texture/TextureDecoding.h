#pragma once

#include "common/WholeFile.h"
#include "texture/TextureHeader.h"

#include <osg/Image>

#include <cstdint>
#include <string>
#include <vector>

namespace mvgeo::host
{
/** What a Basis texture, which is no format of any graphics card, becomes when it is read. */
enum class Transcoding
{
    rgba,
    dxt, ///< BC1 or BC3
    etc  ///< ETC1 or ETC2
};

/** A texture as OSG reads it. */
struct LoadedTexture
{
    TextureHeader header;
    std::uint64_t fileBytes = 0;
    osg::ref_ptr<osg::Image> image;                 ///< a sequence for an array or a cube map
    std::vector<osg::ref_ptr<osg::Image>> pictures; ///< what the image consists of: layers or faces; one otherwise
    std::string warnings;                           ///< of OSG, in one line; mostly empty
};

/** Reads all of a file. Throws HostError with the reason. */
std::string readTextureFile(const std::string& path);

/** Gives the bytes of a file to OSG's reader for the container that they are, whatever the file's name.
 * Throws HostError with the reason. */
LoadedTexture decodeTexture(const std::string& bytes, const std::string& path, Transcoding transcoding);

/** The bytes that the images take in memory, mipmaps included. */
std::uint64_t bytesInMemory(const LoadedTexture& texture);
} // namespace mvgeo::host
