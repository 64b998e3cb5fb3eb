#include "input/ModelMetadata.h"

#include "common/TextParsing.h"

#include <osgDB/XmlParser>

#include <fstream>
#include <sstream>

namespace mvgeo::host
{
namespace
{
const osgDB::XmlNode* findChild(const osgDB::XmlNode& parent, const std::string& name)
{
    for (const osg::ref_ptr<osgDB::XmlNode>& child : parent.children)
        if (child->name == name) return child.get();
    return nullptr;
}

/** WKT is often written over several indented lines. */
std::string joinWhiteSpace(const std::string& text)
{
    std::istringstream words(text);
    std::string word;
    std::string joined;
    while (words >> word)
        joined += (joined.empty() ? "" : " ") + word;
    return joined;
}

/** "x, y, z" with blanks anywhere. */
std::optional<osg::Vec3d> parseOrigin(const std::string& text)
{
    std::string packed;
    for (const std::string_view piece : splitText(text, " \t\r\n"))
        packed += piece;
    return parsePoint(packed);
}
} // namespace

std::optional<ModelMetadata> readModelMetadata(const std::string& file)
{
    std::ifstream stream(file, std::ios::binary);
    if (!stream) return std::nullopt;
    const osg::ref_ptr<osgDB::XmlNode> document = osgDB::readXmlStream(stream);
    const osgDB::XmlNode* root = document ? findChild(*document, "ModelMetadata") : nullptr;
    if (!root) return std::nullopt;

    ModelMetadata metadata;
    metadata.file = file;
    if (const osgDB::XmlNode* srs = findChild(*root, "SRS")) metadata.srs = joinWhiteSpace(srs->contents);
    if (const osgDB::XmlNode* origin = findChild(*root, "SRSOrigin")) metadata.origin = parseOrigin(origin->contents);
    if (metadata.srs.empty() && !metadata.origin) return std::nullopt;
    return metadata;
}
} // namespace mvgeo::host
