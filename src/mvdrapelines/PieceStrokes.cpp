#include "mvdrapelines/PieceStrokes.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace mvgeo
{

namespace
{

/** A place where a piece comes by; also the edge from there to the piece's next stop. */
struct Stop
{
    std::size_t point;
    std::size_t node;
    bool isOwn; ///< false: another piece's point, which touches this piece
    bool isShared = false;
    bool isCovered = false; ///< by a piece that was found earlier
};

/** The stops of all pieces one after another. */
struct Path
{
    std::vector<Stop> stops;
    std::vector<std::size_t> pieceOf;
    std::vector<std::size_t> firstStop; ///< of each piece; one more at the end
};

/** A node is not listed twice running; the piece's own point stands for it rather than another's. */
void append(std::vector<Stop>& stops, std::size_t first, const Stop& stop)
{
    if (stops.size() == first || stops.back().node != stop.node)
        stops.push_back(stop);
    else if (stop.isOwn && !stops.back().isOwn)
        stops.back() = stop;
}

Path makePath(const PiecePoints& pieces, const PieceNodes& nodes)
{
    Path path;
    auto touch = nodes.touches.begin();
    for (std::size_t piece = 0; piece < pieces.pieceCount(); ++piece)
    {
        const std::size_t first = path.stops.size();
        path.firstStop.push_back(first);
        for (std::size_t point = pieces.firstPoint[piece]; point < pieces.firstPoint[piece + 1]; ++point)
        {
            append(path.stops, first, {point, nodes.nodeOf[point], true});
            for (; touch != nodes.touches.end() && touch->segment == point; ++touch)
                append(path.stops, first, {touch->point, nodes.nodeOf[touch->point], false});
        }
        path.pieceOf.resize(path.stops.size(), piece);
    }
    path.firstStop.push_back(path.stops.size());
    return path;
}

/** Straight edges between the same two nodes cover the same stretch. A piece that goes back over itself may do so. */
void markCovered(Path& path)
{
    using Edge = std::tuple<std::size_t, std::size_t, std::size_t>; // lower node, higher node, stop
    std::vector<Edge> edges;
    for (std::size_t stop = 0; stop + 1 < path.stops.size(); ++stop)
    {
        if (path.pieceOf[stop] != path.pieceOf[stop + 1]) continue;
        const auto [low, high] = std::minmax(path.stops[stop].node, path.stops[stop + 1].node);
        edges.emplace_back(low, high, stop);
    }
    std::sort(edges.begin(), edges.end());

    std::size_t keeper = 0; // the first edge of those that are equal
    for (std::size_t i = 1; i < edges.size(); ++i)
    {
        const auto [low, high, stop] = edges[i];
        if (low != std::get<0>(edges[keeper]) || high != std::get<1>(edges[keeper]))
        {
            keeper = i;
            continue;
        }
        const std::size_t kept = std::get<2>(edges[keeper]);
        if (path.pieceOf[stop] == path.pieceOf[kept]) continue;
        path.stops[kept].isShared = true;
        path.stops[stop].isCovered = true;
    }
}

/** The stroke from stop `first` to stop `last`. */
PieceStroke makeStroke(const PiecePoints& pieces, const Path& path, std::size_t first, std::size_t last)
{
    PieceStroke stroke;
    stroke.startNode = path.stops[first].node;
    stroke.endNode = path.stops[last].node;
    for (std::size_t i = first; i <= last; ++i)
    {
        const Stop& stop = path.stops[i];
        const bool isInShared = stop.isShared || (i > first && path.stops[i - 1].isShared);
        if (stop.isOwn || i == first || i == last || isInShared) stroke.points.push_back(pieces.points[stop.point]);
    }
    return stroke;
}

} // namespace

std::vector<PieceStroke> makeStrokes(const PiecePoints& pieces, const PieceNodes& nodes)
{
    Path path = makePath(pieces, nodes);
    markCovered(path);

    std::vector<PieceStroke> strokes;
    for (std::size_t piece = 0; piece < pieces.pieceCount(); ++piece)
    {
        const std::size_t begin = path.firstStop[piece];
        const std::size_t end = path.firstStop[piece + 1] - 1; // the last stop has no edge
        const std::size_t firstStroke = strokes.size();
        for (std::size_t stop = begin; stop < end; ++stop)
        {
            const std::size_t first = stop;
            while (stop < end && !path.stops[stop].isCovered)
                ++stop;
            if (stop > first) strokes.push_back(makeStroke(pieces, path, first, stop));
        }
        if (strokes.size() == firstStroke) continue;
        const bool isRing = path.stops[begin].node == path.stops[end].node;
        if (isRing && !path.stops[begin].isCovered && !path.stops[end - 1].isCovered) strokes.back().next = firstStroke;
    }
    return strokes;
}

} // namespace mvgeo
