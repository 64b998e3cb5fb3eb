#include "updatescenegraph/UprightTextures.h"

#include "support/LogLine.h"
#include "support/VisitorGeometry.h"

#include <osg/ImageSequence>
#include <osgDB/FileNameUtils>

#include <set>
#include <vector>

namespace mvgeo
{

namespace
{

void keepFirstImage(osg::Texture2D& texture)
{
    auto* sequence = dynamic_cast<osg::ImageSequence*>(texture.getImage());
    if (!sequence || sequence->getNumImageData() == 0) return;
    const osg::ref_ptr<osg::Image> first = sequence->getImage(0);
    if (!first || !first->data()) return;

    MVGEO_LOG(WARN) << "of " << sequence->getNumImageData() << " images in the texture " << sequence->getFileName()
                    << " the first one is taken";
    first->setFileName(sequence->getFileName());
    texture.setImage(first);
}

bool isUpsideDown(const osg::Image& image)
{
    if (image.getOrigin() != osg::Image::TOP_LEFT) return false;
    const std::string extension = osgDB::getLowerCaseFileExtension(image.getFileName());
    return extension == "ktx" || extension == "ktx2";
}

/** In an array of its own: others may use the old one with other textures. */
void flipCoordinates(osg::Geometry& geometry)
{
    const auto* coordinates = dynamic_cast<const osg::Vec2Array*>(geometry.getTexCoordArray(0));
    if (!coordinates) return;
    const osg::ref_ptr<osg::Vec2Array> flipped = new osg::Vec2Array(*coordinates);
    for (osg::Vec2& coordinate : *flipped)
        coordinate.y() = 1.0F - coordinate.y();
    geometry.setTexCoordArray(0, flipped, osg::Array::BIND_PER_VERTEX);
}

} // namespace

void makeTexturesUpright(osg::Node& tile)
{
    VisitorGeometry collector;
    tile.accept(collector);
    std::set<const osg::Geometry*> visited;        // a geometry may hang in several places,
    std::vector<osg::ref_ptr<osg::Image>> flipped; // and an image may serve several geometries
    for (const osg::ref_ptr<osg::Geometry>& geometry : collector.geometries())
    {
        osg::Texture2D* texture = textureOf(*geometry);
        if (!texture || !visited.insert(geometry.get()).second) continue;
        keepFirstImage(*texture);
        osg::Image* image = texture->getImage();
        if (!image || !isUpsideDown(*image)) continue;
        flipCoordinates(*geometry);
        flipped.emplace_back(image);
    }
    for (const osg::ref_ptr<osg::Image>& image : flipped)
        image->setOrigin(osg::Image::BOTTOM_LEFT);
}

} // namespace mvgeo
