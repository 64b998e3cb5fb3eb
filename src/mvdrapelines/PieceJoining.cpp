#include "mvdrapelines/PieceJoining.h"

#include "mvdrapelines/PieceParts.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <tuple>
#include <utility>

namespace mvgeo
{

namespace
{

constexpr std::size_t kNone = std::numeric_limits<std::size_t>::max();
constexpr std::size_t kMaxCompared = 64; // ends at one node; more are taken in groups, for all pairs are looked at
constexpr double kUprightRun = 0.1;      // metres ahead a metre up, below which an edge counts as a wall's
constexpr double kSameDirection = 0.999; // cosine: two directions that are the same seen from above

/** How a line runs at its end: in its own direction, against it, or up or down a wall, which has none. */
enum class EndDirection
{
    forward,
    backward,
    upright
};

/** One end of a part. Ends are numbered: 2 i is the start of part i, 2 i + 1 its end. */
struct PartEnd
{
    EndDirection direction = EndDirection::upright;
    KdGeVector3d outwards; ///< unit vector out of the part
    KdGeVector3d level;    ///< horizontal unit vector out of the nearest edge that is not upright; zero if all are
};

double dot(const KdGeVector3d& a, const KdGeVector3d& b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

KdGeVector3d unit(const KdGeVector3d& v)
{
    const double length = std::hypot(v.x, v.y, v.z);
    return length > 0.0 ? KdGeVector3d(v.x / length, v.y / length, v.z / length) : KdGeVector3d();
}

bool isUpright(const KdGeVector3d& edge)
{
    return std::hypot(edge.x, edge.y) <= kUprightRun * std::abs(edge.z);
}

/** Walks from a part's last point, or its first, into the part. */
template <typename Iterator>
PartEnd makeEnd(Iterator tip, Iterator beyond, EndDirection direction)
{
    PartEnd end;
    end.outwards = unit(*tip - *std::next(tip));
    for (auto point = tip; std::next(point) != beyond; ++point)
    {
        const KdGeVector3d edge = *point - *std::next(point);
        if (isUpright(edge)) continue;
        end.level = unit({edge.x, edge.y, 0.0});
        end.direction = direction;
        break;
    }
    return end;
}

/** 0 for straight on, 2 for straight back, in steps that hide rounding. */
double turnBetween(const KdGeVector3d& out, const KdGeVector3d& otherOut)
{
    return std::round((1.0 + dot(out, otherOut)) * 1e6);
}

/** Joins parts at the nodes where they end, each end to at most one other. */
class PartChains
{
public:
    explicit PartChains(const std::vector<PiecePart>& parts)
        : _parts(parts), _joinedTo(2 * parts.size(), kNone), _otherEnd(2 * parts.size())
    {
        for (std::size_t i = 0; i < parts.size(); ++i)
        {
            const auto& points = parts[i].points;
            _ends.push_back(makeEnd(points.begin(), points.end(), EndDirection::backward));
            _ends.push_back(makeEnd(points.rbegin(), points.rend(), EndDirection::forward));
            _otherEnd[2 * i] = 2 * i + 1;
            _otherEnd[2 * i + 1] = 2 * i;
        }
        sortByNode();
    }

    void joinAll()
    {
        for (std::size_t i = 0; i < _parts.size(); ++i)
            if (_parts[i].next) join(2 * i + 1, 2 * *_parts[i].next);
        for (const Pass pass : {Pass::sameDirection, Pass::wallToWall, Pass::overWalls, Pass::opposite})
            joinAtEveryNode(pass);
    }

    /** In the order and the direction of the first part of each; closed lines end with their first point. */
    [[nodiscard]] std::vector<std::vector<KdGePoint3d>> lines() const
    {
        std::vector<std::vector<KdGePoint3d>> result;
        std::vector<bool> isDone(_parts.size(), false);
        for (std::size_t part = 0; part < _parts.size(); ++part)
            if (!isDone[part]) result.push_back(lineFrom(startOfLine(2 * part), isDone));
        return result;
    }

private:
    /** Walls have no direction, so they take that of what they continue: first they become whole, then it is known. */
    enum class Pass
    {
        sameDirection,
        wallToWall,
        overWalls,
        opposite
    };
    using NodeEnd = std::pair<std::size_t, std::size_t>; // node, end

    void sortByNode()
    {
        for (std::size_t i = 0; i < _parts.size(); ++i)
        {
            _byNode.emplace_back(_parts[i].startNode, 2 * i);
            _byNode.emplace_back(_parts[i].endNode, 2 * i + 1);
        }
        std::sort(_byNode.begin(), _byNode.end());
    }

    void joinAtEveryNode(Pass pass)
    {
        std::vector<std::size_t> free;
        for (auto first = _byNode.cbegin(); first != _byNode.cend();)
        {
            free.clear();
            auto last = first;
            for (; last != _byNode.cend() && last->first == first->first && free.size() < kMaxCompared; ++last)
                if (_joinedTo[last->second] == kNone) free.push_back(last->second);
            joinBest(free, pass);
            first = last;
        }
    }

    void joinBest(const std::vector<std::size_t>& free, Pass pass)
    {
        using Candidate = std::tuple<double, double, std::size_t, std::size_t, std::size_t>;
        std::vector<Candidate> candidates;
        for (std::size_t i = 0; i < free.size(); ++i)
            for (std::size_t j = i + 1; j < free.size(); ++j)
            {
                if (!mayJoin(free[i], free[j], pass)) continue;
                const PartEnd& a = _ends[free[i]];
                const PartEnd& b = _ends[free[j]];
                const double levelTurn = pass == Pass::sameDirection ? turnBetween(a.level, b.level) : 0.0;
                candidates.emplace_back(levelTurn, turnBetween(a.outwards, b.outwards), free[j] / 2 - free[i] / 2,
                                        free[i], free[j]);
            }
        std::sort(candidates.begin(), candidates.end());
        for (const auto& [levelTurn, solidTurn, distance, a, b] : candidates)
            if (_joinedTo[a] == kNone && _joinedTo[b] == kNone && mayJoin(a, b, pass)) join(a, b);
    }

    [[nodiscard]] bool mayJoin(std::size_t a, std::size_t b, Pass pass) const
    {
        const PartEnd& first = _ends[a];
        const PartEnd& second = _ends[b];
        const int walls =
            (first.direction == EndDirection::upright ? 1 : 0) + (second.direction == EndDirection::upright ? 1 : 0);
        switch (pass)
        {
        case Pass::sameDirection:
            return walls == 0 && first.direction != second.direction;
        case Pass::wallToWall:
            return walls == 2;
        case Pass::overWalls:
            return walls > 0 || first.direction != second.direction;
        case Pass::opposite:
            break;
        }
        return dot(first.level, second.level) <= kSameDirection;
    }

    void join(std::size_t a, std::size_t b)
    {
        _joinedTo[a] = b;
        _joinedTo[b] = a;
        const std::size_t otherA = _otherEnd[a];
        const std::size_t otherB = _otherEnd[b];
        if (_ends[a].direction == EndDirection::upright)
            inheritDirection(otherA, b);
        else if (_ends[b].direction == EndDirection::upright)
            inheritDirection(otherB, a);
        _otherEnd[otherA] = otherB;
        _otherEnd[otherB] = otherA;
    }

    /** The other end of a wall goes on as the line does that the wall continues. */
    void inheritDirection(std::size_t wallEnd, std::size_t lineEnd)
    {
        _ends[wallEnd].direction = _ends[lineEnd].direction;
        _ends[wallEnd].level = _ends[lineEnd].level;
    }

    /** Back from a part's start to where its line starts; that start itself if the line is closed. */
    [[nodiscard]] std::size_t startOfLine(std::size_t start) const
    {
        std::size_t end = start;
        while (_joinedTo[end] != kNone)
        {
            end = _joinedTo[end] ^ 1U;
            if (end == start) break;
        }
        return end;
    }

    /** Runs as most of its parts do: one that overhangs may have been found first. */
    [[nodiscard]] std::vector<KdGePoint3d> lineFrom(std::size_t start, std::vector<bool>& isDone) const
    {
        std::vector<KdGePoint3d> line;
        double ahead = 0.0; // seen from above, less what is run through the other way
        std::size_t end = start;
        do
        {
            const auto& points = _parts[end / 2].points;
            const std::size_t skipped = line.empty() ? 0 : 1; // the joint is there already
            if (end % 2 == 0)
                line.insert(line.end(), points.begin() + static_cast<std::ptrdiff_t>(skipped), points.end());
            else
                line.insert(line.end(), points.rbegin() + static_cast<std::ptrdiff_t>(skipped), points.rend());
            const double run = std::hypot(points.back().x - points.front().x, points.back().y - points.front().y);
            ahead += end % 2 == 0 ? run : -run;
            isDone[end / 2] = true;
            end = _joinedTo[end ^ 1U];
        } while (end != kNone && end != start);
        if (end == start)
            line.back() = line.front();
        else if (ahead < 0.0)
            std::reverse(line.begin(), line.end());
        return line;
    }

    const std::vector<PiecePart>& _parts;
    std::vector<PartEnd> _ends;
    std::vector<std::size_t> _joinedTo; // of each end: the end of another part, or kNone
    std::vector<std::size_t> _otherEnd; // of each free end: the free end at the other side of its line
    std::vector<NodeEnd> _byNode;
};

} // namespace

void joinPieces(std::vector<std::vector<KdGePoint3d>>& pieces)
{
    const PiecePoints points = collectPoints(pieces);
    const std::optional<PieceNodes> nodes = findNodes(points);
    if (!nodes) return;
    const std::vector<PiecePart> parts = splitIntoParts(points, *nodes);
    PartChains chains(parts);
    chains.joinAll();
    pieces = chains.lines();
}

} // namespace mvgeo
