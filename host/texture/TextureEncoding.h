#pragma once

#include <osg/Image>

#include <string>
#include <vector>

namespace mvgeo::host
{
enum class Basis
{
    none,
    etc1s, ///< small files
    uastc  ///< better pictures
};

struct EncoderSettings
{
    Basis basis = Basis::etc1s;
    int quality = 128; ///< of ETC1S, 1 to 255
    int level = 2;     ///< effort of ETC1S, 1 to 5
    int threads = 1;
    bool isCubeMap = false; ///< of six pictures
};

/** A KTX 2 file of the pictures as they are: one texture, a cube map, or an array. They agree in size and format.
 * Throws HostError.
 * @param file  for the sentence */
std::string encodeKtx(const std::vector<osg::ref_ptr<osg::Image>>& pictures, const EncoderSettings& settings,
                      const std::string& file);

/** A PNG or JPEG file by the extension. Throws HostError.
 * @param jpegQuality  1 to 100 */
std::string encodePicture(const osg::Image& picture, const std::string& extension, int jpegQuality,
                          const std::string& file);
} // namespace mvgeo::host
