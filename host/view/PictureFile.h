#pragma once

#include <osg/Image>

#include <string>

namespace mvgeo::host
{
/** Throws HostError unless a picture can be written there: the folder exists and OSG knows the extension. Asked before
 * long work begins. */
void checkPicturePath(const std::string& file);

/** Whole or not at all. Throws HostError. */
void writePicture(const osg::Image& picture, const std::string& file);
} // namespace mvgeo::host
