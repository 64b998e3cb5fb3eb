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

std::string faultIn(const osg::Geometry& geometry)
{
    if (!geometry.getVertexArray()) return {};
    const std::uint64_t vertexCount = geometry.getVertexArray()->getNumElements();
    for (unsigned int i = 0; i < geometry.getNumPrimitiveSets(); ++i)
    {
        const osg::PrimitiveSet* set = geometry.getPrimitiveSet(i);
        if (set && endOfVertices(*set) > vertexCount)
            return "its indices lead beyond its " + std::to_string(vertexCount) + " vertices";
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

void useSinglePrecisionVertices(osg::Node& tile)
{
    VisitorGeometry collector;
    tile.accept(collector);
    for (const osg::ref_ptr<osg::Geometry>& geometry : collector.geometries())
        useSinglePrecisionVertices(*geometry);
}

} // namespace mvgeo
