#include "mvdrapelines/PieceParts.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace mvgeo
{

namespace
{

/** A point of a piece, and the edge from there to the piece's next vertex. */
struct Vertex
{
    std::size_t point;
    std::size_t node;
    bool isOwn;             ///< false: another piece's point, which lies on this piece
    bool isShared = false;  ///< the edge, with pieces that were found later
    bool isCovered = false; ///< the edge, by a piece that was found earlier
};

/** The vertices of all pieces one after another. */
struct NodedPieces
{
    std::vector<Vertex> vertices;
    std::vector<std::size_t> pieceOf;
    std::vector<std::size_t> firstVertex; ///< of each piece; one more at the end
};

/** A node is not listed twice running; the piece's own point stands for it rather than another's. */
void append(std::vector<Vertex>& vertices, std::size_t first, const Vertex& vertex)
{
    if (vertices.size() == first || vertices.back().node != vertex.node)
        vertices.push_back(vertex);
    else if (vertex.isOwn && !vertices.back().isOwn)
        vertices.back() = vertex;
}

NodedPieces insertNodes(const PiecePoints& pieces, const PieceNodes& nodes)
{
    NodedPieces noded;
    auto other = nodes.pointsOnSegments.begin();
    for (std::size_t piece = 0; piece < pieces.pieceCount(); ++piece)
    {
        const std::size_t first = noded.vertices.size();
        noded.firstVertex.push_back(first);
        for (std::size_t point = pieces.firstPoint[piece]; point < pieces.firstPoint[piece + 1]; ++point)
        {
            append(noded.vertices, first, {point, nodes.nodeOf[point], true});
            for (; other != nodes.pointsOnSegments.end() && other->segment == point; ++other)
                append(noded.vertices, first, {other->point, nodes.nodeOf[other->point], false});
        }
        noded.pieceOf.resize(noded.vertices.size(), piece);
    }
    noded.firstVertex.push_back(noded.vertices.size());
    return noded;
}

/** Straight edges between the same two nodes cover the same stretch. A piece that goes back over itself may do so. */
void markCovered(NodedPieces& noded)
{
    using Edge = std::tuple<std::size_t, std::size_t, std::size_t>; // lower node, higher node, vertex
    std::vector<Edge> edges;
    for (std::size_t vertex = 0; vertex + 1 < noded.vertices.size(); ++vertex)
    {
        if (noded.pieceOf[vertex] != noded.pieceOf[vertex + 1]) continue;
        const auto [low, high] = std::minmax(noded.vertices[vertex].node, noded.vertices[vertex + 1].node);
        edges.emplace_back(low, high, vertex);
    }
    std::sort(edges.begin(), edges.end());

    std::size_t firstEqual = 0; // of the edges between the same two nodes
    for (std::size_t i = 1; i < edges.size(); ++i)
    {
        const auto [low, high, vertex] = edges[i];
        if (low != std::get<0>(edges[firstEqual]) || high != std::get<1>(edges[firstEqual]))
        {
            firstEqual = i;
            continue;
        }
        const std::size_t kept = std::get<2>(edges[firstEqual]);
        if (noded.pieceOf[vertex] == noded.pieceOf[kept]) continue;
        noded.vertices[kept].isShared = true;
        noded.vertices[vertex].isCovered = true;
    }
}

/** From vertex `first` to vertex `last`. */
PiecePart makePart(const PiecePoints& pieces, const NodedPieces& noded, std::size_t first, std::size_t last)
{
    PiecePart part;
    part.startNode = noded.vertices[first].node;
    part.endNode = noded.vertices[last].node;
    for (std::size_t i = first; i <= last; ++i)
    {
        const Vertex& vertex = noded.vertices[i];
        const bool isInShared = vertex.isShared || (i > first && noded.vertices[i - 1].isShared);
        if (vertex.isOwn || i == first || i == last || isInShared) part.points.push_back(pieces.points[vertex.point]);
    }
    return part;
}

} // namespace

std::vector<PiecePart> splitIntoParts(const PiecePoints& pieces, const PieceNodes& nodes)
{
    NodedPieces noded = insertNodes(pieces, nodes);
    markCovered(noded);
    const std::vector<Vertex>& vertices = noded.vertices;

    std::vector<PiecePart> parts;
    for (std::size_t piece = 0; piece < pieces.pieceCount(); ++piece)
    {
        const std::size_t begin = noded.firstVertex[piece];
        const std::size_t end = noded.firstVertex[piece + 1] - 1; // the last vertex has no edge
        const std::size_t firstPart = parts.size();
        for (std::size_t vertex = begin; vertex < end; ++vertex)
        {
            const std::size_t first = vertex;
            while (vertex < end && !vertices[vertex].isCovered)
                ++vertex;
            if (vertex > first) parts.push_back(makePart(pieces, noded, first, vertex));
        }
        if (parts.size() == firstPart) continue;
        const bool isRing = vertices[begin].node == vertices[end].node;
        if (isRing && !vertices[begin].isCovered && !vertices[end - 1].isCovered) parts.back().next = firstPart;
    }
    return parts;
}

} // namespace mvgeo
