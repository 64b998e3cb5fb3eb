#include "sample/TileMesh.h"

#include "sample/BuildingColour.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace mvgeo::sample
{
namespace
{
/** Collects the arrays of one geometry. Triangles are counter-clockwise for who looks from outside. */
class MeshBuilder
{
public:
    MeshBuilder(const CityPlan& plan, const TileContent& content, const TileAtlas& atlas)
        : _plan(plan), _content(content), _atlas(atlas)
    {
    }

    void addTerrain();
    void addBox(const Box& box, std::size_t index);
    void addTree(const Tree& tree);
    void addCar(const Car& car);
    [[nodiscard]] osg::ref_ptr<osg::Geometry> finish() const;

private:
    GLuint addVertex(const osg::Vec3d& place, const osg::Vec2f& coordinate);
    void addTriangle(GLuint a, GLuint b, GLuint c);
    void addQuad(GLuint a, GLuint b, GLuint c, GLuint d);
    void addSkirt(const std::vector<GLuint>& rim);
    void addWall(const Box& box, std::size_t index, int side);
    void addRoof(const Box& box, std::size_t index);
    [[nodiscard]] osg::Vec2f groundCoordinate(double x, double y) const;

    const CityPlan& _plan;
    const TileContent& _content;
    const TileAtlas& _atlas;
    osg::ref_ptr<osg::Vec3Array> _vertices = new osg::Vec3Array;
    osg::ref_ptr<osg::Vec2Array> _coordinates = new osg::Vec2Array;
    osg::ref_ptr<osg::DrawElementsUInt> _indices = new osg::DrawElementsUInt(GL_TRIANGLES);
};

GLuint MeshBuilder::addVertex(const osg::Vec3d& place, const osg::Vec2f& coordinate)
{
    _vertices->push_back(osg::Vec3f(place)); // float from here on: some hundred metres
    _coordinates->push_back(coordinate);
    return static_cast<GLuint>(_vertices->size() - 1);
}

void MeshBuilder::addTriangle(GLuint a, GLuint b, GLuint c)
{
    for (const GLuint index : {a, b, c})
        _indices->push_back(index);
}

void MeshBuilder::addQuad(GLuint a, GLuint b, GLuint c, GLuint d)
{
    addTriangle(a, b, c);
    addTriangle(a, c, d);
}

osg::Vec2f MeshBuilder::groundCoordinate(double x, double y) const
{
    const Rect& area = _content.area;
    return _atlas.coordinate(_atlas.ground(), std::clamp(x - area.minX, 0.0, area.width()),
                             std::clamp(y - area.minY, 0.0, area.height()));
}

void MeshBuilder::addTerrain()
{
    const Rect& area = _content.area;
    const int cells = _content.detail.gridCells;
    // The last post is the border itself, not a sum of steps: the neighbour starts with the very same number.
    const auto post = [cells](double from, double to, int i)
    { return i == cells ? to : from + (to - from) / cells * i; };

    std::vector<GLuint> posts;
    for (int row = 0; row <= cells; ++row)
    {
        const double y = post(area.minY, area.maxY, row);
        for (int column = 0; column <= cells; ++column)
        {
            const double x = post(area.minX, area.maxX, column);
            posts.push_back(addVertex({x, y, _plan.groundHeight(x, y)}, groundCoordinate(x, y)));
        }
    }
    const std::size_t columns = static_cast<std::size_t>(cells) + 1;
    const auto at = [&](int column, int row)
    { return posts[static_cast<std::size_t>(row) * columns + static_cast<std::size_t>(column)]; };
    for (int row = 0; row < cells; ++row)
    {
        for (int column = 0; column < cells; ++column)
            addQuad(at(column, row), at(column + 1, row), at(column + 1, row + 1), at(column, row + 1));
    }

    // Once around, counter-clockwise from above.
    std::vector<GLuint> rim;
    for (int i = 0; i < cells; ++i)
        rim.push_back(at(i, 0));
    for (int i = 0; i < cells; ++i)
        rim.push_back(at(cells, i));
    for (int i = cells; i > 0; --i)
        rim.push_back(at(i, cells));
    for (int i = cells; i > 0; --i)
        rim.push_back(at(0, i));
    addSkirt(rim);
}

void MeshBuilder::addSkirt(const std::vector<GLuint>& rim)
{
    std::vector<GLuint> hem;
    for (const GLuint top : rim)
    {
        const osg::Vec3d place((*_vertices)[top]);
        const osg::Vec2f coordinate = (*_coordinates)[top];
        hem.push_back(addVertex(place - osg::Vec3d(0.0, 0.0, _content.detail.skirt), coordinate));
    }
    for (std::size_t i = 0; i < rim.size(); ++i)
    {
        const std::size_t next = (i + 1) % rim.size();
        addQuad(hem[i], hem[next], rim[next], rim[i]);
    }
}

void MeshBuilder::addBox(const Box& box, std::size_t index)
{
    for (int side = 0; side < 4; ++side)
        addWall(box, index, side);
    addRoof(box, index);
}

void MeshBuilder::addWall(const Box& box, std::size_t index, int side)
{
    const WallPlace wall = wallOf(box, side);
    const Chart& chart = _atlas.wall(index, side);
    const double height = box.top - box.bottom;
    const auto corner = [&](double along, double up)
    {
        return addVertex({wall.leftX + along * wall.alongX, wall.leftY + along * wall.alongY, box.bottom + up},
                         _atlas.coordinate(chart, along, up));
    };
    const GLuint left = corner(0.0, height);
    const GLuint right = corner(wall.length, height);
    addQuad(corner(0.0, 0.0), corner(wall.length, 0.0), right, left);
    if (wall.underGable) addTriangle(left, right, corner(0.5 * wall.length, height + box.ridge));
}

void MeshBuilder::addRoof(const Box& box, std::size_t index)
{
    const Chart& chart = _atlas.roof(index);
    const auto corner = [&](double u, double v, double rise)
    {
        return addVertex({box.worldX(u, v), box.worldY(u, v), box.top + rise},
                         _atlas.coordinate(chart, u + box.halfX, v + box.halfY));
    };
    const double x = box.halfX;
    const double y = box.halfY;
    const GLuint southWest = corner(-x, -y, 0.0);
    const GLuint southEast = corner(x, -y, 0.0);
    const GLuint northEast = corner(x, y, 0.0);
    const GLuint northWest = corner(-x, y, 0.0);
    if (box.ridge <= 0.0)
    {
        addQuad(southWest, southEast, northEast, northWest);
        return;
    }

    const double ridgeEnd = box.roof == Roof::hip ? std::max(0.0, x - y) : x;
    const GLuint ridgeWest = corner(-ridgeEnd, 0.0, box.roofRise(ridgeEnd, 0.0));
    const GLuint ridgeEast = corner(ridgeEnd, 0.0, box.roofRise(ridgeEnd, 0.0));
    addQuad(southWest, southEast, ridgeEast, ridgeWest);
    addQuad(northEast, northWest, ridgeWest, ridgeEast);
    if (box.roof != Roof::hip) return;
    addTriangle(southEast, northEast, ridgeEast);
    addTriangle(northWest, southWest, ridgeWest);
}

void MeshBuilder::addTree(const Tree& tree)
{
    const int sides = _content.detail.crownSides;
    const int rings = _content.detail.crownRings;
    const Chart& chart = _atlas.crown(tree.kind);
    const double ground = _plan.groundHeight(tree.x, tree.y) - 0.2;
    const auto bulge = [&tree](int side, int ring)
    { return 0.80 + 0.38 * random01(tree.seed, static_cast<std::uint32_t>(side), static_cast<std::uint32_t>(ring)); };

    std::vector<GLuint> below;
    for (int ring = 0; ring < rings; ++ring)
    {
        // From a narrow foot on the ground out to the crown and in again; one ring alone is the crown's widest.
        const double t = rings == 1 ? 0.35 : ring / (rings - 0.5);
        const double spread = std::sin(osg::PI * (0.22 + 0.78 * t) * 0.92 + 0.08);
        const double rise = tree.height * (rings == 1 ? 0.12 : 0.06 + 0.86 * std::sin(0.5 * osg::PI * t * 0.92));
        std::vector<GLuint> here;
        for (int side = 0; side <= sides; ++side)
        {
            const double turn = static_cast<double>(side) / sides; // the last one closes the circle
            const double out = tree.radius * spread * bulge(side % sides, ring);
            const osg::Vec3d place(tree.x + out * std::cos(2.0 * osg::PI * turn),
                                   tree.y + out * std::sin(2.0 * osg::PI * turn), ground + rise);
            here.push_back(addVertex(place, _atlas.coordinate(chart, turn, t)));
        }
        for (std::size_t side = 0; ring > 0 && side + 1 < here.size(); ++side)
            addQuad(below[side], below[side + 1], here[side + 1], here[side]);
        below = here;
    }
    for (std::size_t side = 0; side + 1 < below.size(); ++side)
    {
        const double turn = (static_cast<double>(side) + 0.5) / sides;
        const osg::Vec3d top(tree.x, tree.y, ground + 0.98 * tree.height);
        addTriangle(below[side], below[side + 1], addVertex(top, _atlas.coordinate(chart, turn, 1.0)));
    }
}

void MeshBuilder::addCar(const Car& car)
{
    const double ground = _plan.groundHeight(car.x, car.y);
    const auto corner = [&](double along, double across, double up)
    {
        const double ahead = along * 0.5 * car.length;
        const double aside = across * 0.5 * car.width;
        const double x = car.x + ahead * car.cosine - aside * car.sine;
        const double y = car.y + ahead * car.sine + aside * car.cosine;
        return addVertex({x, y, ground + up}, groundCoordinate(x, y));
    };
    // Seen from above only the paint matters: a hull with a smaller lid, coloured from the ground's picture.
    const bool bus = car.length > 6.0;
    const double front = bus ? 0.97 : 0.30;
    const double back = bus ? -0.97 : -0.72;
    const double lidSide = bus ? 0.96 : 0.80;
    const double waist = bus ? 0.9 * car.height : 0.55 * car.height;
    const std::array<std::array<double, 2>, 4> outline = {{{-1, -1}, {1, -1}, {1, 1}, {-1, 1}}};
    std::array<GLuint, 4> foot = {}, belt = {}, lid = {};
    for (std::size_t i = 0; i < 4; ++i)
    {
        foot[i] = corner(0.98 * outline[i][0], 0.95 * outline[i][1], -0.1);
        belt[i] = corner(0.96 * outline[i][0], 0.93 * outline[i][1], waist);
        lid[i] = corner(outline[i][0] > 0 ? front : back, lidSide * outline[i][1], car.height);
    }
    for (std::size_t i = 0; i < 4; ++i)
    {
        const std::size_t next = (i + 1) % 4;
        addQuad(foot[i], foot[next], belt[next], belt[i]);
        addQuad(belt[i], belt[next], lid[next], lid[i]);
    }
    addQuad(lid[0], lid[1], lid[2], lid[3]);
}

osg::ref_ptr<osg::Geometry> MeshBuilder::finish() const
{
    osg::ref_ptr<osg::Geometry> geometry = new osg::Geometry;
    geometry->setVertexArray(_vertices);
    geometry->setTexCoordArray(0, _coordinates, osg::Array::BIND_PER_VERTEX);
    geometry->addPrimitiveSet(_indices);
    return geometry;
}
} // namespace

osg::ref_ptr<osg::Geometry> makeTileMesh(const CityPlan& plan, const TileContent& content, const TileAtlas& atlas)
{
    MeshBuilder builder(plan, content, atlas);
    builder.addTerrain();
    for (std::size_t i = 0; i < content.boxes.size(); ++i)
        builder.addBox(*content.boxes[i], i);
    for (const Tree* tree : content.trees)
        builder.addTree(*tree);
    for (const Car* car : content.cars)
    {
        if (content.detail.cars && content.area.contains(car->x, car->y)) builder.addCar(*car);
    }
    return builder.finish();
}
} // namespace mvgeo::sample
