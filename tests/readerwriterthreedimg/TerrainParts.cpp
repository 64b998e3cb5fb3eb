#include "TerrainParts.h"

#include "mvgdaldatasetmanager/OpenedHeader.h"
#include "readerwriterthreedimg/GeometryContainer.h"
#include "readerwriterthreedimg/ReaderWriter3DIMG.h"
#include "support/PathHash.h"

#include <osg/ValueObject>

#include <algorithm>
#include <filesystem>
#include <random>
#include <sstream>

namespace terraintest
{

namespace
{

std::string digest(const void* bytes, std::size_t size)
{
    return size == 0 ? "-" : mvgeo::pathHashText(std::string(static_cast<const char*>(bytes), size));
}

/** A value object's content as text. */
class ValueText : public osg::ValueObject::GetValueVisitor
{
public:
    void apply(bool value) override { text = value ? "true" : "false"; }
    void apply(int value) override { text = "int " + std::to_string(value); }
    void apply(double value) override
    {
        std::ostringstream stream;
        stream << "double " << std::hexfloat << value;
        text = stream.str();
    }
    void apply(const std::string& value) override { text = "string " + value; }

    std::string text = "?";
};

/** Writes what it visits, in order. */
class Describer : public osg::NodeVisitor
{
public:
    Describer() : osg::NodeVisitor(TRAVERSE_ALL_CHILDREN) { text << std::hexfloat; }

    void apply(osg::Node& node) override
    {
        describeNode(node);
        traverse(node);
    }

    void apply(osg::Transform& node) override
    {
        describeNode(node);
        const osg::MatrixTransform* transform = node.asTransform()->asMatrixTransform();
        for (int i = 0; transform && i < 16; ++i)
            text << ' ' << transform->getMatrix().ptr()[i];
        text << '\n';
        traverse(node);
    }

    void apply(osg::PagedLOD& node) override
    {
        describeNode(node);
        text << "  range mode " << node.getRangeMode() << " centre mode " << node.getCenterMode() << " centre "
             << node.getCenter().x() << ' ' << node.getCenter().y() << ' ' << node.getCenter().z() << " radius "
             << node.getRadius() << " path '" << node.getDatabasePath() << "'\n";
        for (unsigned int i = 0; i < node.getNumFileNames(); ++i)
            text << "  file '" << node.getFileName(i) << "' " << node.getMinRange(i) << ' ' << node.getMaxRange(i)
                 << '\n';
        if (node.getDatabaseOptions())
        {
            text << "  options:\n";
            describeValues(dynamic_cast<const osg::Object&>(*node.getDatabaseOptions()));
            text << "  hands on its own geometry: "
                 << (parentGeometryOn(*node.getDatabaseOptions()) == geometryOf(&node)) << '\n';
        }
        traverse(node);
    }

    void apply(osg::Geometry& node) override
    {
        describeNode(node);
        for (const osg::Array* array : {node.getVertexArray(), node.getNormalArray(), node.getTexCoordArray(0)})
            if (array)
                text << "  array " << array->getType() << " binding " << array->getBinding() << ' '
                     << array->getNumElements() << ' ' << digest(array->getDataPointer(), array->getTotalDataSize())
                     << '\n';
        for (const auto& set : node.getPrimitiveSetList())
            text << "  primitives " << set->getType() << " mode " << set->getMode() << ' ' << set->getNumIndices()
                 << ' ' << digest(set->getDataPointer(), set->getTotalDataSize()) << '\n';
        if (const osg::Texture2D* texture = textureOf(node)) describeTexture(*texture);
    }

    std::ostringstream text;

private:
    void describeNode(const osg::Node& node)
    {
        text << node.className() << " '" << node.getName() << "' children "
             << (node.asGroup() ? node.asGroup()->getNumChildren() : 0) << '\n';
        describeValues(node);
    }

    void describeValues(const osg::Object& object)
    {
        const osg::UserDataContainer* values = object.getUserDataContainer();
        for (unsigned int i = 0; values && i < values->getNumUserObjects(); ++i)
        {
            ValueText content;
            if (const auto* value = dynamic_cast<const osg::ValueObject*>(values->getUserObject(i)))
                value->get(content);
            text << "    " << values->getUserObject(i)->getName() << " = " << content.text << '\n';
        }
    }

    void describeTexture(const osg::Texture2D& texture)
    {
        text << "  texture " << texture.getResizeNonPowerOfTwoHint() << ' '
             << texture.getFilter(osg::Texture::MIN_FILTER) << ' ' << texture.getFilter(osg::Texture::MAG_FILTER) << ' '
             << texture.getWrap(osg::Texture::WRAP_S) << ' ' << texture.getWrap(osg::Texture::WRAP_T) << ' '
             << texture.getWrap(osg::Texture::WRAP_R) << '\n';
        if (const osg::Image* image = texture.getImage())
            text << "  image '" << image->getFileName() << "' " << image->s() << 'x' << image->t() << ' '
                 << image->getPixelFormat() << ' ' << image->getInternalTextureFormat() << ' ' << image->getDataType()
                 << ' ' << image->getPacking() << ' ' << digest(image->data(), image->getTotalSizeInBytes()) << '\n';
    }
};

} // namespace

TerrainTileInfo tileOver(const Rectangle& extent, int posts, int pixels)
{
    TerrainTileInfo info;
    info.imageWidth = info.imageHeight = pixels;
    info.demWidth = info.demHeight = posts;
    info.startX = info.rootXmin = extent.xmin;
    info.startY = info.rootYmin = extent.ymin;
    info.endX = info.rootXmax = extent.xmax;
    info.endY = info.rootYmax = extent.ymax;
    info.demResolutionX = info.demResolutionY = 1.0;
    info.cachePathDir = "/cache";
    info.normal = true;
    return info;
}

mvgeo::TerrainRasters openedRasters(const std::string& domPath, const std::string& demPath)
{
    mvgeo::TerrainRasters rasters;
    if (!domPath.empty()) rasters.dom = openedHeader(domPath);
    if (!demPath.empty()) rasters.dem = openedHeader(demPath);
    if (rasters.dom) rasters.domDataset = rasters.dom->getDataset();
    if (rasters.dem) rasters.demDataset = rasters.dem->getDataset();
    return rasters;
}

TestRaster floatDem(int width, int height)
{
    TestRaster raster;
    raster.width = width;
    raster.height = height;
    raster.originY = height;
    raster.type = GDT_Float32;
    return raster;
}

TestRaster colourDom(int width, int height)
{
    TestRaster raster = floatDem(width, height);
    raster.type = GDT_Byte;
    raster.bands = 3;
    return raster;
}

void writeVirtualRaster(const std::string& path, const TestRaster& raster, const std::string& source, double factor)
{
    const std::string kind = factor == 1.0 ? "SimpleSource" : "ComplexSource";
    std::ostringstream text;
    text.precision(17);
    text << "<VRTDataset rasterXSize=\"" << raster.width << "\" rasterYSize=\"" << raster.height << "\"><GeoTransform>"
         << raster.originX << ", " << raster.pixelWidth << ", 0, " << raster.originY << ", 0, " << raster.pixelHeight
         << "</GeoTransform>";
    for (int band = 1; band <= raster.bands; ++band)
        text << "<VRTRasterBand dataType=\"" << GDALGetDataTypeName(raster.type) << "\" band=\"" << band << "\"><"
             << kind << "><SourceFilename>" << source << "</SourceFilename><SourceBand>" << band
             << "</SourceBand><ScaleRatio>" << factor << "</ScaleRatio><SourceProperties RasterXSize=\"" << raster.width
             << "\" RasterYSize=\"" << raster.height << "\" DataType=\"" << GDALGetDataTypeName(raster.type) << "\"/></"
             << kind << "></VRTRasterBand>";
    text << "</VRTDataset>";
    writeFile(path, text.str());
}

osg::Geometry* geometryOf(osg::Node* tile)
{
    for (osg::Node* node = tile; node;
         node = node->asGroup() && node->asGroup()->getNumChildren() > 0 ? node->asGroup()->getChild(0) : nullptr)
        if (node->asGeometry()) return node->asGeometry();
    return nullptr;
}

std::array<int, 3> texel(const osg::Image& image, int column, int row)
{
    const unsigned char* pixel = image.data(static_cast<unsigned int>(column), static_cast<unsigned int>(row));
    return {pixel[0], pixel[1], pixel[2]};
}

osg::Texture2D* textureOf(const osg::Geometry& geometry)
{
    const osg::StateSet* state = geometry.getStateSet();
    return state ? const_cast<osg::Texture2D*>(
                       dynamic_cast<const osg::Texture2D*>(state->getTextureAttribute(0, osg::StateAttribute::TEXTURE)))
                 : nullptr;
}

osg::Image* imageOf(const osg::Geometry& geometry)
{
    osg::Texture2D* texture = textureOf(geometry);
    return texture ? texture->getImage() : nullptr;
}

std::vector<osg::ref_ptr<osg::PagedLOD>> pagedNodesOf(osg::Node* node)
{
    std::vector<osg::ref_ptr<osg::PagedLOD>> nodes;
    if (auto* paged = dynamic_cast<osg::PagedLOD*>(node)) return {paged};
    const osg::Group* group = node ? node->asGroup() : nullptr;
    for (unsigned int i = 0; group && i < group->getNumChildren(); ++i)
        if (auto* paged = dynamic_cast<osg::PagedLOD*>(const_cast<osg::Node*>(group->getChild(i))))
            nodes.emplace_back(paged);
    return nodes;
}

osgDB::Options* optionsOf(osg::PagedLOD& node)
{
    return dynamic_cast<osgDB::Options*>(node.getDatabaseOptions());
}

TerrainTileInfo infoOf(const osg::Object& object)
{
    TerrainTileInfo info;
    mvgeo::readTileInfo(object, info);
    return info;
}

osg::Geometry* parentGeometryOn(const osg::Referenced& options)
{
    const auto* object = dynamic_cast<const osg::Object*>(&options);
    const osg::UserDataContainer* values = object ? object->getUserDataContainer() : nullptr;
    const auto* container =
        values ? dynamic_cast<const GeometryContainer*>(values->getUserObject("ParentGeometry")) : nullptr;
    return container ? container->geometry.get() : nullptr;
}

std::string describe(osg::Node* node)
{
    if (!node) return "nothing";
    Describer describer;
    node->accept(describer);
    return describer.text.str();
}

osg::ref_ptr<osgDB::Options> TerrainRequest::options() const
{
    osg::ref_ptr<osgDB::Options> options = new osgDB::Options;
    options->setUserValue("domPath", domPath);
    options->setUserValue("demPath", demPath);
    if (cacheDir) options->setUserValue("cachePathDir", *cacheDir);
    if (isCaching) options->setUserValue("isCaching", *isCaching);
    return options;
}

osg::ref_ptr<osg::Node> readTile(const std::string& fileName, const osgDB::Options* options)
{
    const osg::ref_ptr<ReaderWriter3DIMG> reader = new ReaderWriter3DIMG;
    osgDB::ReaderWriter::ReadResult result = reader->readNode(fileName, options);
    return result.getNode();
}

osg::ref_ptr<osg::Node> readRoot(const TerrainRequest& asked)
{
    return readTile(asked.cacheDir.value_or("") + "/terrain.osgb.3dimg", asked.options());
}

osg::ref_ptr<osg::Node> readChildren(osg::PagedLOD& node)
{
    return readTile(node.getDatabasePath() + node.getFileName(1), optionsOf(node));
}

TerrainTest::TerrainTest()
{
    std::filesystem::create_directory(cacheDir);
}

void TerrainTest::TearDown()
{
    reopenRasters();
    EXPECT_EQ(openDatasetCount(), 0);
}

void TerrainTest::writeNoise()
{
    std::mt19937 random(20240607);
    const auto noise = [&random](int, int, int) { return static_cast<double>(random() % 256); };
    writeRaster(dem, floatDem(64, 64), noise);
    TestRaster image = colourDom(128, 128);
    image.originY = 64.0;
    image.pixelWidth = 0.5;
    image.pixelHeight = -0.5;
    writeRaster(dom, image, noise);
}

std::vector<std::string> TerrainTest::cachedFiles() const
{
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(cacheDir))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

} // namespace terraintest
