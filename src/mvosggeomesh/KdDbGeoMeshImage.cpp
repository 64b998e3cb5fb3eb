#include "mvosggeomesh/KdDbGeoMeshImage.h"

#include "support/ImageBytes.h"
#include "support/ImageDigest.h"

KdDbGeoMeshImage::KdDbGeoMeshImage(std::uint32_t modelId) : _modelId(modelId) {}

KdDbGeoMeshImage::~KdDbGeoMeshImage() = default;

void KdDbGeoMeshImage::setImage(osg::Image* image)
{
    _image = image;
    if (!image)
        _key.clear();
    else if (!image->getFileName().empty())
        _key = std::to_string(_modelId) + '_' + image->getFileName();
    else
        _key = mvgeo::imageDigest(image->data(), static_cast<unsigned int>(mvgeo::levelBytes(*image))) + ".jpg";
}

bool KdDbGeoMeshImage::imageData(unsigned int& width, unsigned int& height, unsigned int& dataType,
                                 unsigned int& pixelFormat, unsigned int& internalFormat, unsigned char*& data)
{
    if (!_image) return false;
    width = static_cast<unsigned int>(_image->s());
    height = static_cast<unsigned int>(_image->t());
    dataType = _image->getDataType();
    pixelFormat = _image->getPixelFormat();
    internalFormat = static_cast<unsigned int>(_image->getInternalTextureFormat());
    data = _image->data();
    return true;
}
