#include "mvdrapelines/StrokeChains.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <tuple>
#include <utility>

namespace mvgeo
{

namespace
{

constexpr std::size_t kNone = std::numeric_limits<std::size_t>::max();
constexpr std::size_t kMostCompared = 64; // ends at one node; more are taken in groups, for all pairs are looked at
constexpr double kUprightRun = 0.1;       // metres ahead a metre up, below which an edge counts as a wall's
constexpr double kRunsBack = 0.999;       // cosine: two directions that are the same seen from above

/** How a line comes to its end: in its own direction, against it, or up or down a wall, which has none. */
enum class Way
{
    forward,
    backward,
    upright
};

/** One end of a stroke. Ends are numbered: 2 i is the start of stroke i, 2 i + 1 its end. */
struct StrokeEnd
{
    Way way = Way::upright;
    KdGeVector3d outwards; ///< unit vector out of the stroke
    KdGeVector3d ahead;    ///< level unit vector out of the nearest edge that is not upright; zero if all are
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

/** Walks from a stroke's last point, or its first, into the stroke. */
template <typename Iterator>
StrokeEnd makeEnd(Iterator tip, Iterator beyond, Way way)
{
    StrokeEnd end;
    end.outwards = unit(*tip - *std::next(tip));
    for (auto point = tip; std::next(point) != beyond; ++point)
    {
        const KdGeVector3d edge = *point - *std::next(point);
        if (isUpright(edge)) continue;
        end.ahead = unit({edge.x, edge.y, 0.0});
        end.way = way;
        break;
    }
    return end;
}

/** 0 for straight on, 2 for straight back, in steps that hide rounding. */
double turn(const KdGeVector3d& out, const KdGeVector3d& otherOut)
{
    return std::round((1.0 + dot(out, otherOut)) * 1e6);
}

class StrokeChains
{
public:
    explicit StrokeChains(const std::vector<PieceStroke>& strokes)
        : _strokes(strokes), _mate(2 * strokes.size(), kNone), _farEnd(2 * strokes.size())
    {
        for (std::size_t i = 0; i < strokes.size(); ++i)
        {
            const auto& points = strokes[i].points;
            _ends.push_back(makeEnd(points.begin(), points.end(), Way::backward));
            _ends.push_back(makeEnd(points.rbegin(), points.rend(), Way::forward));
            _farEnd[2 * i] = 2 * i + 1;
            _farEnd[2 * i + 1] = 2 * i;
        }
        sortByNode();
    }

    void joinAll()
    {
        for (std::size_t i = 0; i < _strokes.size(); ++i)
            if (_strokes[i].next) join(2 * i + 1, 2 * *_strokes[i].next);
        for (const Round round : {Round::alongTheLine, Round::wallToWall, Round::overWalls, Round::headOn})
            joinAtEveryNode(round);
    }

    [[nodiscard]] std::vector<std::vector<KdGePoint3d>> lines() const
    {
        std::vector<std::vector<KdGePoint3d>> result;
        std::vector<bool> isDone(_strokes.size(), false);
        for (std::size_t stroke = 0; stroke < _strokes.size(); ++stroke)
            if (!isDone[stroke]) result.push_back(lineFrom(startOfLine(2 * stroke), isDone));
        return result;
    }

private:
    /** Walls have no direction, so they take that of what they continue: first they become whole, then it is known. */
    enum class Round
    {
        alongTheLine,
        wallToWall,
        overWalls,
        headOn
    };
    using NodeEnd = std::pair<std::size_t, std::size_t>; // node, end

    void sortByNode()
    {
        for (std::size_t i = 0; i < _strokes.size(); ++i)
        {
            _byNode.emplace_back(_strokes[i].startNode, 2 * i);
            _byNode.emplace_back(_strokes[i].endNode, 2 * i + 1);
        }
        std::sort(_byNode.begin(), _byNode.end());
    }

    void joinAtEveryNode(Round round)
    {
        std::vector<std::size_t> free;
        for (auto first = _byNode.cbegin(); first != _byNode.cend();)
        {
            free.clear();
            auto last = first;
            for (; last != _byNode.cend() && last->first == first->first && free.size() < kMostCompared; ++last)
                if (_mate[last->second] == kNone) free.push_back(last->second);
            joinBest(free, round);
            first = last;
        }
    }

    void joinBest(const std::vector<std::size_t>& free, Round round)
    {
        using Candidate = std::tuple<double, double, std::size_t, std::size_t, std::size_t>;
        std::vector<Candidate> candidates;
        for (std::size_t i = 0; i < free.size(); ++i)
            for (std::size_t j = i + 1; j < free.size(); ++j)
            {
                if (!mayJoin(free[i], free[j], round)) continue;
                const StrokeEnd& a = _ends[free[i]];
                const StrokeEnd& b = _ends[free[j]];
                const double levelTurn = round == Round::alongTheLine ? turn(a.ahead, b.ahead) : 0.0;
                candidates.emplace_back(levelTurn, turn(a.outwards, b.outwards), free[j] / 2 - free[i] / 2, free[i],
                                        free[j]);
            }
        std::sort(candidates.begin(), candidates.end());
        for (const auto& [levelTurn, solidTurn, distance, a, b] : candidates)
            if (_mate[a] == kNone && _mate[b] == kNone && mayJoin(a, b, round)) join(a, b);
    }

    [[nodiscard]] bool mayJoin(std::size_t a, std::size_t b, Round round) const
    {
        const StrokeEnd& first = _ends[a];
        const StrokeEnd& second = _ends[b];
        const int walls = (first.way == Way::upright ? 1 : 0) + (second.way == Way::upright ? 1 : 0);
        switch (round)
        {
        case Round::alongTheLine:
            return walls == 0 && first.way != second.way;
        case Round::wallToWall:
            return walls == 2;
        case Round::overWalls:
            return walls > 0 || first.way != second.way;
        case Round::headOn:
            break;
        }
        return dot(first.ahead, second.ahead) <= kRunsBack;
    }

    void join(std::size_t a, std::size_t b)
    {
        _mate[a] = b;
        _mate[b] = a;
        const std::size_t farA = _farEnd[a];
        const std::size_t farB = _farEnd[b];
        if (_ends[a].way == Way::upright)
            inherit(farA, b);
        else if (_ends[b].way == Way::upright)
            inherit(farB, a);
        _farEnd[farA] = farB;
        _farEnd[farB] = farA;
    }

    /** The far end of a wall goes on as the line does that the wall continues. */
    void inherit(std::size_t wallEnd, std::size_t lineEnd)
    {
        _ends[wallEnd].way = _ends[lineEnd].way;
        _ends[wallEnd].ahead = _ends[lineEnd].ahead;
    }

    /** Back from a stroke's start to where its line starts; that start itself if the line is closed. */
    [[nodiscard]] std::size_t startOfLine(std::size_t start) const
    {
        std::size_t end = start;
        while (_mate[end] != kNone)
        {
            end = _mate[end] ^ 1U;
            if (end == start) break;
        }
        return end;
    }

    /** Runs as most of its strokes do: one that overhangs may have been found first. */
    [[nodiscard]] std::vector<KdGePoint3d> lineFrom(std::size_t start, std::vector<bool>& isDone) const
    {
        std::vector<KdGePoint3d> line;
        double ahead = 0.0; // seen from above, less what is run through the other way
        std::size_t end = start;
        do
        {
            const auto& points = _strokes[end / 2].points;
            const std::size_t skipped = line.empty() ? 0 : 1; // the joint is there already
            if (end % 2 == 0)
                line.insert(line.end(), points.begin() + static_cast<std::ptrdiff_t>(skipped), points.end());
            else
                line.insert(line.end(), points.rbegin() + static_cast<std::ptrdiff_t>(skipped), points.rend());
            const double run = std::hypot(points.back().x - points.front().x, points.back().y - points.front().y);
            ahead += end % 2 == 0 ? run : -run;
            isDone[end / 2] = true;
            end = _mate[end ^ 1U];
        } while (end != kNone && end != start);
        if (end == start)
            line.back() = line.front();
        else if (ahead < 0.0)
            std::reverse(line.begin(), line.end());
        return line;
    }

    const std::vector<PieceStroke>& _strokes;
    std::vector<StrokeEnd> _ends;
    std::vector<std::size_t> _mate;   // of each end: the end that it is joined to
    std::vector<std::size_t> _farEnd; // of each free end: the other free end of its line
    std::vector<NodeEnd> _byNode;
};

} // namespace

std::vector<std::vector<KdGePoint3d>> chainStrokes(const std::vector<PieceStroke>& strokes)
{
    StrokeChains chains(strokes);
    chains.joinAll();
    return chains.lines();
}

} // namespace mvgeo
