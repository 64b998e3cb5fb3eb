#pragma once

#include "HostSdkExport.h"

#include <string>

/** A texture as the host sees it. The host that was handed one owns it and deletes it. */
class HOSTSDK_API KdGiGeoMeshImage
{
public:
    virtual ~KdGiGeoMeshImage();

    /** The texture's identity: two objects with one key hold the same pixels, so that one upload serves both. */
    virtual const std::string& key() const = 0;

    /** The pixels, rows from the bottom up, and how OpenGL names their layout. The block stays the object's and is
     * valid until releaseImage(). False, with the arguments left alone, when no image is held. The pixels of a tile
     * that was announced during an update may be missing until that update returns; `data` is null as long as they are,
     * and stays so if they cannot be read. */
    virtual bool imageData(unsigned int& width, unsigned int& height, unsigned int& dataType, unsigned int& pixelFormat,
                           unsigned int& internalFormat, unsigned char*& data) = 0;

    /** Drops the pixels; the key stays. */
    virtual void releaseImage() = 0;
};
