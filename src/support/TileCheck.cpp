#include "support/TileCheck.h"

#include "support/VisitorGeometry.h"

#include <algorithm>
#include <cstdint>
#include <limits>

namespace mvgeo
{

namespace
{

template <typename Elements>
std::uint64_t endOfIndices(const osg::PrimitiveSet& set)
{
    const auto& indices = static_cast<const Elements&>(set);
    if (indices.empty()) return 0;
    return std::uint64_t{*std::max_element(indices.begin(), indices.end())} + 1;
}

std::uint64_t endOfLengths(const osg::DrawArrayLengths& lengths)
{
    std::int64_t end = lengths.getFirst();
    for (const GLsizei length : lengths)
    {
        if (length < 0) return std::numeric_limits<std::uint64_t>::max();
        end += length;
    }
    return lengths.getFirst() < 0 ? std::numeric_limits<std::uint64_t>::max() : static_cast<std::uint64_t>(end);
}

std::uint64_t endOfRange(const osg::DrawArrays& range)
{
    if (range.getFirst() < 0 || range.getCount() < 0) return std::numeric_limits<std::uint64_t>::max();
    return static_cast<std::uint64_t>(range.getFirst()) + static_cast<std::uint64_t>(range.getCount());
}

/** One beyond the last vertex that the set leads to; huge for a set that makes no sense. */
std::uint64_t endOfVertices(const osg::PrimitiveSet& set)
{
    switch (set.getType())
    {
    case osg::PrimitiveSet::DrawElementsUBytePrimitiveType:
        return endOfIndices<osg::DrawElementsUByte>(set);
    case osg::PrimitiveSet::DrawElementsUShortPrimitiveType:
        return endOfIndices<osg::DrawElementsUShort>(set);
    case osg::PrimitiveSet::DrawElementsUIntPrimitiveType:
        return endOfIndices<osg::DrawElementsUInt>(set);
    case osg::PrimitiveSet::DrawArraysPrimitiveType:
        return endOfRange(static_cast<const osg::DrawArrays&>(set));
    case osg::PrimitiveSet::DrawArrayLengthsPrimitiveType:
        return endOfLengths(static_cast<const osg::DrawArrayLengths&>(set));
    default:
        return 0;
    }
}

/** A run of several cannot lose its end without moving those that follow. */
bool hasPartOfTriangle(const osg::PrimitiveSet& set)
{
    const auto* lengths = dynamic_cast<const osg::DrawArrayLengths*>(&set);
    return lengths && set.getMode() == GL_TRIANGLES &&
           std::any_of(lengths->begin(), lengths->end(), [](GLsizei length) { return length % 3 != 0; });
}

void trimTriangles(osg::PrimitiveSet& set)
{
    if (set.getMode() != GL_TRIANGLES) return;
    if (osg::DrawElements* elements = set.getDrawElements())
    {
        if (const unsigned int surplus = elements->getNumIndices() % 3; surplus > 0)
            elements->resizeElements(elements->getNumIndices() - surplus);
    }
    else if (auto* range = dynamic_cast<osg::DrawArrays*>(&set); range && range->getCount() > 0)
        range->setCount(range->getCount() - range->getCount() % 3);
}

std::string faultIn(const osg::Geometry& geometry)
{
    if (!geometry.getVertexArray()) return {};
    const std::uint64_t vertexCount = geometry.getVertexArray()->getNumElements();
    for (unsigned int i = 0; i < geometry.getNumPrimitiveSets(); ++i)
    {
        const osg::PrimitiveSet* set = geometry.getPrimitiveSet(i);
        if (set && endOfVertices(*set) > vertexCount)
            return "its indices lead beyond its " + std::to_string(vertexCount) + " vertices";
        if (set && hasPartOfTriangle(*set)) return "one of its runs of vertices ends within a triangle";
    }
    return {};
}

void useSinglePrecisionVertices(osg::Geometry& geometry)
{
    const auto* doubles = dynamic_cast<const osg::Vec3dArray*>(geometry.getVertexArray());
    if (!doubles) return;
    const osg::ref_ptr<osg::Vec3Array> floats = new osg::Vec3Array(doubles->begin(), doubles->end());
    geometry.setVertexArray(floats);
}

} // namespace

std::string faultIn(osg::Node& tile)
{
    VisitorGeometry collector;
    tile.accept(collector);
    for (const osg::ref_ptr<osg::Geometry>& geometry : collector.geometries())
        if (std::string fault = faultIn(*geometry); !fault.empty()) return fault;
    return {};
}

void trimTriangles(osg::Node& tile)
{
    VisitorGeometry collector;
    tile.accept(collector);
    for (const osg::ref_ptr<osg::Geometry>& geometry : collector.geometries())
        for (unsigned int i = 0; i < geometry->getNumPrimitiveSets(); ++i)
            if (osg::PrimitiveSet* set = geometry->getPrimitiveSet(i)) trimTriangles(*set);
}

void useSinglePrecisionVertices(osg::Node& tile)
{
    VisitorGeometry collector;
    tile.accept(collector);
    for (const osg::ref_ptr<osg::Geometry>& geometry : collector.geometries())
        useSinglePrecisionVertices(*geometry);
}

} // namespace mvgeo
