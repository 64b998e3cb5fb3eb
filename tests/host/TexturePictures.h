#pragma once

#include "TempFolder.h"

#include <osg/Image>
#include <osgDB/ReadFile>
#include <osgDB/WriteFile>

#include <cmath>
#include <stdexcept>

/** A picture whose colours tell their place: red grows to the right, green upwards; a blue square, a quarter of the
 * width, lies in the upper left corner. 8 bits a channel, the lowest row first. */
inline osg::ref_ptr<osg::Image> placePicture(int width, int height, GLenum pixelFormat = GL_RGB)
{
    osg::ref_ptr<osg::Image> image = new osg::Image;
    image->allocateImage(width, height, 1, pixelFormat, GL_UNSIGNED_BYTE);
    const unsigned channels = osg::Image::computeNumComponents(pixelFormat);
    for (int row = 0; row < height; ++row)
        for (int column = 0; column < width; ++column)
        {
            const bool isMark = column < width / 4 && row >= height - width / 4;
            const int colour[] = {isMark ? 0 : column * 255 / (width - 1), isMark ? 0 : row * 255 / (height - 1),
                                  isMark ? 255 : 40, 255 - column * 100 / width};
            unsigned char* pixel = image->data(static_cast<unsigned>(column), static_cast<unsigned>(row));
            for (unsigned i = 0; i < channels; ++i)
                pixel[i] = static_cast<unsigned char>(colour[channels == 2 && i == 1 ? 3 : i]);
        }
    return image;
}

inline std::string writePictureFile(const TempFolder& folder, const std::string& name, const osg::Image& image)
{
    if (!osgDB::writeImageFile(image, folder.path(name))) throw std::runtime_error("cannot write " + name);
    return folder.path(name);
}

inline osg::ref_ptr<osg::Image> readPictureFile(const std::string& path)
{
    osg::ref_ptr<osg::Image> image = osgDB::readRefImageFile(path);
    if (!image) throw std::runtime_error("cannot read " + path);
    return image;
}

/** Of the colours, without alpha; more than 1000 if the pictures are equal. Both have 8 bits a channel. */
inline double psnrBetween(const osg::Image& a, const osg::Image& b)
{
    if (a.s() != b.s() || a.t() != b.t()) return 0.0;
    double sum = 0.0;
    for (unsigned row = 0; row < static_cast<unsigned>(a.t()); ++row)
        for (unsigned column = 0; column < static_cast<unsigned>(a.s()); ++column)
            for (int i = 0; i < 3; ++i)
                sum += std::pow(255.0 * (a.getColor(column, row)[i] - b.getColor(column, row)[i]), 2.0);
    const double meanSquare = sum / (3.0 * a.s() * a.t());
    return meanSquare < 1e-6 ? 2000.0 : 10.0 * std::log10(255.0 * 255.0 / meanSquare);
}

/** True if every channel of every pixel is the same. */
inline bool areEqual(const osg::Image& a, const osg::Image& b)
{
    if (a.s() != b.s() || a.t() != b.t() || a.getPixelFormat() != b.getPixelFormat()) return false;
    for (unsigned row = 0; row < static_cast<unsigned>(a.t()); ++row)
        for (unsigned column = 0; column < static_cast<unsigned>(a.s()); ++column)
            if (a.getColor(column, row) != b.getColor(column, row)) return false;
    return true;
}
