#pragma once

#include "texture/TextureDecoding.h"
#include "texture/TextureEncoding.h"

#include <optional>
#include <string>
#include <vector>

namespace mvgeo::host
{
/** A picture and the file that it came from, for sentences about it. */
struct NamedPicture
{
    std::string file;
    osg::ref_ptr<osg::Image> image;
};

/** The one picture of a texture that was asked for by its number, or all of them. A volume's slices count as pictures
 * only if one is asked for. Throws HostError if there is no such one. */
std::vector<NamedPicture> selectPictures(const LoadedTexture& texture, const std::string& file,
                                         std::optional<int> layer);

/** Throws HostError unless the pictures agree in size and mipmaps and, for a cube map, are six squares. */
void checkSameShape(const std::vector<NamedPicture>& pictures, bool isCubeMap);

/** The pictures in a format that they share and that the encoder takes: what PNG or JPEG gave becomes RGB or RGBA. The
 * faces of a cube map begin with their top row, as such files have them. Throws HostError for what cannot be encoded.
 */
std::vector<osg::ref_ptr<osg::Image>> picturesForKtx(const std::vector<NamedPicture>& pictures, Basis basis,
                                                     bool isCubeMap);

/** The picture as PNG and, without alpha, JPEG take it. Throws HostError if no such pixels can be made of it. */
osg::ref_ptr<osg::Image> pictureForFile(const NamedPicture& picture, bool withAlpha);
} // namespace mvgeo::host
