#pragma once

#include <KdGiGeoMeshImage.h>

#include <osg/Image>

#include <cstdint>
#include <string>

/** A tile's texture as it is handed to the host. The pixels may arrive later, but before the update that made the
 * object returns. Ownership: the host's. Thread: the host's. */
class KdDbGeoMeshImage : public KdGiGeoMeshImage
{
public:
    explicit KdDbGeoMeshImage(std::uint32_t modelId);
    ~KdDbGeoMeshImage() override;

    /** Takes the image and makes the key: "<model>_<file name>", or for an image without file name the digest of its
     * pixels and ".jpg". */
    void setImage(osg::Image* image);

    const std::string& key() const override { return _key; }
    bool imageData(unsigned int& width, unsigned int& height, unsigned int& dataType, unsigned int& pixelFormat,
                   unsigned int& internalFormat, unsigned char*& data) override;
    void releaseImage() override { _image = nullptr; }

private:
    std::uint32_t _modelId;
    std::string _key;
    osg::ref_ptr<osg::Image> _image;
};
