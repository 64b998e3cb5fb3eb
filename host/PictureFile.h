#pragma once

#include <osg/Image>

#include <string>

namespace mvgeo::host
{
/** Throws HostError unless a file can be put there: the folder exists, and nothing but a file would be replaced.
 *  @param what  "picture" */
void checkPlaceOf(const std::string& what, const std::string& file);

/** Throws HostError unless a picture can be written there: the folder exists and the toolkit knows the extension. Asked
 *  before long work begins. */
void checkPicturePath(const std::string& file);

/** Writes under a temporary name in the same folder and renames, so that nobody sees half a picture. Throws HostError.
 */
void writePicture(const osg::Image& picture, const std::string& file);

/** Makes the folder and its parents. Throws HostError. */
void makeFolder(const std::string& folder);
} // namespace mvgeo::host
