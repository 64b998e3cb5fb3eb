#include "sample/CityBlocks.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace mvgeo::sample
{
namespace
{
constexpr double kStorey = 3.1; // metres

const std::array<Colour, 9> kPlasters = {
    Colour(0.83F, 0.79F, 0.70F), Colour(0.78F, 0.69F, 0.56F), Colour(0.86F, 0.84F, 0.80F),
    Colour(0.74F, 0.62F, 0.52F), Colour(0.80F, 0.74F, 0.60F), Colour(0.69F, 0.70F, 0.68F),
    Colour(0.84F, 0.76F, 0.68F), Colour(0.72F, 0.55F, 0.46F), Colour(0.76F, 0.77F, 0.74F)};
const std::array<Colour, 4> kBricks = {Colour(0.55F, 0.34F, 0.26F), Colour(0.61F, 0.42F, 0.32F),
                                       Colour(0.50F, 0.37F, 0.31F), Colour(0.66F, 0.52F, 0.40F)};
const std::array<Colour, 6> kTiles = {Colour(0.60F, 0.34F, 0.25F), Colour(0.52F, 0.30F, 0.23F),
                                      Colour(0.45F, 0.33F, 0.27F), Colour(0.38F, 0.37F, 0.38F),
                                      Colour(0.64F, 0.41F, 0.30F), Colour(0.42F, 0.28F, 0.23F)};
const std::array<Colour, 5> kFlatRoofs = {Colour(0.52F, 0.51F, 0.49F), Colour(0.60F, 0.58F, 0.54F),
                                          Colour(0.43F, 0.43F, 0.43F), Colour(0.68F, 0.66F, 0.62F),
                                          Colour(0.49F, 0.45F, 0.41F)};

template <std::size_t Count>
Colour pick(const std::array<Colour, Count>& colours, RandomSequence& random)
{
    const Colour base = colours[random.nextHash() % Count];
    const auto shade = static_cast<float>(random.between(0.92, 1.06));
    return base * shade;
}

/** The state that the builders of one block share. */
class BlockBuilder
{
public:
    BlockBuilder(const Block& block, const CityPlan& plan, CityObjects& objects)
        : _rect(block.rect), _plan(plan), _objects(objects), _random(block.seed)
    {
    }

    void houses();
    void courtyard();
    void slabs();
    void towers();
    void park();
    void school();
    void works();
    void riverside();

private:
    /** Puts a box whose top is counted from the ground onto the terrain; false if it would stand in the water. */
    bool add(Box box);
    bool addBox(double x, double y, double halfX, double halfY, double height, Facade facade);
    void addHouse(double x, double y, double lotWidth);
    void addPerimeterSide(double from, double to, double fixed, bool alongX);
    void addTower(double x, double y, double half);
    void addMachinery(Box box);
    void addTree(double x, double y, double radius);
    void scatterTrees(const Rect& rect, int count, double smallest, double largest);
    void parkCars(double x, double y, int count, bool alongX);
    [[nodiscard]] bool isFree(double x, double y, double margin) const;

    Rect _rect;
    const CityPlan& _plan;
    CityObjects& _objects;
    RandomSequence _random;
    std::size_t _firstBox = _objects.boxes.size();
};

bool BlockBuilder::add(Box box)
{
    double lowest = 1.0e9;
    for (const double u : {-box.halfX, 0.0, box.halfX})
    {
        for (const double v : {-box.halfY, 0.0, box.halfY})
        {
            const double x = box.worldX(u, v);
            const double y = box.worldY(u, v);
            if (_plan.waterDistance(x, y) < 9.0) return false;
            lowest = std::min(lowest, _plan.groundHeight(x, y));
        }
    }
    box.top += _plan.landHeight(box.x, box.y);
    box.bottom = lowest - 0.6;
    box.seed = _random.nextHash();
    _objects.boxes.push_back(box);
    return true;
}

bool BlockBuilder::addBox(double x, double y, double halfX, double halfY, double height, Facade facade)
{
    Box box;
    box.x = x;
    box.y = y;
    box.halfX = halfX;
    box.halfY = halfY;
    box.top = height;
    box.facade = facade;
    box.wall = facade == Facade::brick ? pick(kBricks, _random) : pick(kPlasters, _random);
    if (facade == Facade::glass) box.wall = Colour(0.36F, 0.45F, 0.52F) * static_cast<float>(_random.between(0.8, 1.2));
    box.cover = pick(kFlatRoofs, _random);
    return add(box);
}

bool BlockBuilder::isFree(double x, double y, double margin) const
{
    for (std::size_t i = _firstBox; i < _objects.boxes.size(); ++i)
    {
        const Box& box = _objects.boxes[i];
        const bool inside =
            std::abs(box.localX(x, y)) < box.halfX + margin && std::abs(box.localY(x, y)) < box.halfY + margin;
        if (inside) return false;
    }
    return _plan.waterDistance(x, y) > 1.5;
}

void BlockBuilder::addTree(double x, double y, double radius)
{
    if (!isFree(x, y, 0.7 * radius)) return;
    const double height = radius * _random.between(1.9, 2.7) + 0.6;
    const auto kind = static_cast<int>(_random.nextHash() % 3U);
    _objects.trees.push_back({x, y, radius, height, kind, _random.nextHash()});
}

void BlockBuilder::scatterTrees(const Rect& rect, int count, double smallest, double largest)
{
    for (int i = 0; i < count; ++i)
    {
        const double x = _random.between(rect.minX, rect.maxX);
        const double y = _random.between(rect.minY, rect.maxY);
        addTree(x, y, _random.between(smallest, largest));
    }
}

void BlockBuilder::parkCars(double x, double y, int count, bool alongX)
{
    static const std::array<Colour, 7> paints = {Colour(0.86F, 0.86F, 0.86F), Colour(0.16F, 0.17F, 0.18F),
                                                 Colour(0.55F, 0.57F, 0.60F), Colour(0.50F, 0.10F, 0.10F),
                                                 Colour(0.14F, 0.22F, 0.42F), Colour(0.72F, 0.72F, 0.70F),
                                                 Colour(0.33F, 0.35F, 0.36F)};
    for (int i = 0; i < count; ++i)
    {
        if (!_random.chance(0.72)) continue;
        Car car;
        car.x = x + (alongX ? i * 2.7 : 0.0);
        car.y = y + (alongX ? 0.0 : i * 2.7);
        car.cosine = alongX ? 0.0 : 1.0;
        car.sine = alongX ? 1.0 : 0.0;
        car.paint = pick(paints, _random);
        if (isFree(car.x, car.y, 2.6)) _objects.cars.push_back(car);
    }
}

void BlockBuilder::addHouse(double x, double y, double lotWidth)
{
    Box house;
    const double turn = _random.between(-0.05, 0.05) + (_random.chance(0.35) ? 1.5707963 : 0.0);
    house.x = x + _random.between(-1.0, 1.0);
    house.y = y + _random.between(-1.0, 1.0);
    house.cosine = std::cos(turn);
    house.sine = std::sin(turn);
    house.halfX = std::min(0.36 * lotWidth, _random.between(4.8, 6.4));
    house.halfY = std::min(0.33 * lotWidth, _random.between(3.8, 4.8));
    house.top = _random.chance(0.7) ? _random.between(5.4, 6.3) : 3.3;
    house.ridge = house.halfY * _random.between(0.62, 0.85);
    house.roof = _random.chance(0.65) ? Roof::gable : Roof::hip;
    house.facade = _random.chance(0.3) ? Facade::brick : Facade::plaster;
    house.wall = house.facade == Facade::brick ? pick(kBricks, _random) : pick(kPlasters, _random);
    house.cover = pick(kTiles, _random);
    if (add(house) && _random.chance(0.55))
        addBox(x + 0.5 * lotWidth - 2.2, y + _random.between(-2.0, 2.0), 1.8, 3.0, 2.7, Facade::plain);
}

void BlockBuilder::houses()
{
    const double depth = 0.5 * _rect.height();
    const int lots = std::max(1, static_cast<int>(_rect.width() / 16.0));
    const double lotWidth = _rect.width() / lots;
    for (int lot = 0; lot < lots; ++lot)
    {
        const double x = _rect.minX + (lot + 0.5) * lotWidth;
        addHouse(x, _rect.minY + 5.5 + 5.0, lotWidth);
        addHouse(x, _rect.maxY - 5.5 - 5.0, lotWidth);
        scatterTrees({x - 0.4 * lotWidth, _rect.minY + 17.0, x + 0.4 * lotWidth, _rect.minY + depth}, 4, 1.0, 2.9);
        scatterTrees({x - 0.4 * lotWidth, _rect.minY + depth, x + 0.4 * lotWidth, _rect.maxY - 17.0}, 4, 1.0, 2.9);
        for (double y = _rect.minY + 17.0; y < _rect.maxY - 17.0 && lot > 0; y += 1.9)
            addTree(x - 0.5 * lotWidth, y, _random.between(0.7, 1.0)); // a hedge between neighbours
    }
}

/** By value: what it adds may move the vector that the box lies in. */
void BlockBuilder::addMachinery(Box box)
{
    const double area = 4.0 * box.halfX * box.halfY;
    const int count = std::clamp(static_cast<int>(area / 90.0), 1, 5);
    for (int i = 0; i < count; ++i)
    {
        Box unit;
        const double u = _random.between(-0.62, 0.62) * box.halfX;
        const double v = _random.between(-0.55, 0.55) * box.halfY;
        unit.x = box.worldX(u, v);
        unit.y = box.worldY(u, v);
        unit.cosine = box.cosine;
        unit.sine = box.sine;
        unit.halfX = _random.between(0.8, 2.3);
        unit.halfY = _random.between(0.8, 1.7);
        unit.bottom = box.top - 0.1;
        unit.top = box.top + _random.between(1.0, 2.8);
        unit.facade = Facade::plain;
        unit.wall = Colour(0.66F, 0.66F, 0.64F) * static_cast<float>(_random.between(0.8, 1.15));
        unit.cover = unit.wall * 0.95F;
        unit.detail = true;
        unit.seed = _random.nextHash();
        _objects.boxes.push_back(unit);
    }
}

void BlockBuilder::addPerimeterSide(double from, double to, double fixed, bool alongX)
{
    constexpr double kDepthHalf = 6.2;
    const int count = std::max(1, static_cast<int>((to - from) / 19.0));
    const double pitch = (to - from) / count;
    const double storeys = 4.0 + std::floor(3.0 * _random.next());
    for (int i = 0; i < count; ++i)
    {
        if (_random.chance(0.10)) continue; // a gateway into the yard
        const double middle = from + (i + 0.5) * pitch;
        const double height = 1.0 + kStorey * (storeys + (_random.chance(0.4) ? 1.0 : 0.0));
        Box box;
        box.x = alongX ? middle : fixed;
        box.y = alongX ? fixed : middle;
        box.cosine = alongX ? 1.0 : 0.0;
        box.sine = alongX ? 0.0 : 1.0;
        box.halfX = 0.5 * pitch;
        box.halfY = kDepthHalf;
        box.top = height;
        box.facade = _random.chance(0.28) ? Facade::brick : Facade::plaster;
        box.wall = box.facade == Facade::brick ? pick(kBricks, _random) : pick(kPlasters, _random);
        const bool pitched = _random.chance(0.62);
        box.roof = pitched ? Roof::gable : Roof::flat;
        box.ridge = pitched ? _random.between(2.6, 3.8) : 0.0;
        box.cover = pitched ? pick(kTiles, _random) : pick(kFlatRoofs, _random);
        if (add(box) && !pitched) addMachinery(_objects.boxes.back());
    }
}

void BlockBuilder::courtyard()
{
    const double inset = 6.8;
    addPerimeterSide(_rect.minX + 0.5, _rect.maxX - 0.5, _rect.minY + inset, true);
    addPerimeterSide(_rect.minX + 0.5, _rect.maxX - 0.5, _rect.maxY - inset, true);
    addPerimeterSide(_rect.minY + 13.2, _rect.maxY - 13.2, _rect.minX + inset, false);
    addPerimeterSide(_rect.minY + 13.2, _rect.maxY - 13.2, _rect.maxX - inset, false);
    const Rect yard = _rect.grownBy(-16.0);
    addBox(yard.centreX() + 3.0, yard.centreY() - 2.0, 5.0, 3.5, 4.0, Facade::plain);
    scatterTrees(yard, 12, 1.6, 3.6);
}

void BlockBuilder::slabs()
{
    const int rows = std::max(1, static_cast<int>(_rect.height() / 27.0));
    const double pitch = _rect.height() / rows;
    const double storeys = 6.0 + std::floor(5.0 * _random.next());
    for (int row = 0; row < rows; ++row)
    {
        const double y = _rect.minY + (row + 0.34) * pitch;
        const double half = 0.5 * _rect.width() - _random.between(4.0, 9.0);
        if (addBox(_rect.centreX(), y, half, 6.0, 1.2 + kStorey * (storeys - row % 2), Facade::panel))
            addMachinery(_objects.boxes.back());
        parkCars(_rect.minX + 8.0, y + 0.48 * pitch, 9, true);
        scatterTrees({_rect.centreX(), y + 8.0, _rect.maxX - 2.0, y + pitch - 8.0}, 9, 1.8, 3.8);
        scatterTrees({_rect.minX + 2.0, y - 12.0, _rect.maxX - 2.0, y - 8.0}, 5, 1.4, 2.6);
    }
}

void BlockBuilder::addTower(double x, double y, double half)
{
    const bool glass = _random.chance(0.6);
    const Facade facade = glass ? Facade::glass : Facade::panel;
    const double height = 34.0 + 38.0 * _random.next() * _random.next() + 6.0;
    if (!addBox(x, y, half + 5.0, half + 4.0, 8.5, glass ? Facade::glass : Facade::plaster)) return;

    const Colour wall = _objects.boxes.back().wall;
    addBox(x, y, half, half * _random.between(0.8, 1.0), height, facade);
    _objects.boxes.back().wall = wall;
    if (_random.chance(0.6))
    {
        addBox(x, y, 0.72 * half, 0.62 * half, height + _random.between(4.0, 12.0), facade);
        _objects.boxes.back().wall = wall;
    }
    addMachinery(_objects.boxes.back());
}

void BlockBuilder::towers()
{
    const double stepX = 0.25 * _rect.width();
    const double stepY = 0.25 * _rect.height();
    addTower(_rect.minX + stepX, _rect.minY + stepY, _random.between(8.0, 9.5));
    addTower(_rect.maxX - stepX, _rect.maxY - stepY, _random.between(8.0, 10.0));
    const double low = 1.0 + kStorey * std::floor(_random.between(5.0, 9.0));
    if (addBox(_rect.maxX - stepX, _rect.minY + stepY, 0.7 * stepX, 0.62 * stepY, low, Facade::brick))
        addMachinery(_objects.boxes.back());
    if (_random.chance(0.6))
        addBox(_rect.minX + stepX, _rect.maxY - stepY, 0.6 * stepX, 0.7 * stepY, low + 6.2, Facade::plaster);
    scatterTrees(_rect.grownBy(-3.0), 22, 1.4, 2.8);
}

void BlockBuilder::park()
{
    const Rect inside = _rect.grownBy(-3.0);
    for (int i = 0; i < 90; ++i)
    {
        const double x = _random.between(inside.minX, inside.maxX);
        const double y = _random.between(inside.minY, inside.maxY);
        const bool hidesPond = _plan.waterDistance(x, y + 4.0) < 5.0;
        if (!hidesPond) addTree(x, y, _random.between(1.5, 3.9));
    }
}

void BlockBuilder::school()
{
    const double west = _rect.minX + 9.0;
    const double high = 1.0 + 3.4 * 3.0;
    if (addBox(west, _rect.centreY(), 6.5, 0.5 * _rect.height() - 4.0, high, Facade::brick))
        addMachinery(_objects.boxes.back());
    addBox(west + 18.0, _rect.maxY - 9.5, 11.4, 6.5, high - 3.4, Facade::plaster);
    const Rect grounds = {west + 10.0, _rect.minY + 2.0, _rect.maxX - 2.0, _rect.minY + 7.0};
    scatterTrees(grounds, 9, 1.8, 3.2);
    for (double y = _rect.minY + 6.0; y < _rect.maxY - 4.0; y += 6.5)
        addTree(_rect.maxX - 2.5, y, _random.between(1.7, 2.6));
}

void BlockBuilder::works()
{
    Box shed;
    shed.x = _rect.centreX() - 4.0;
    shed.y = _rect.centreY() + 6.0;
    shed.halfX = 0.36 * _rect.width();
    shed.halfY = 0.27 * _rect.height();
    shed.top = _random.between(7.5, 10.0);
    shed.ridge = 1.9;
    shed.roof = Roof::gable;
    shed.facade = Facade::shed;
    shed.wall = Colour(0.62F, 0.66F, 0.69F) * static_cast<float>(_random.between(0.85, 1.1));
    shed.cover = _random.chance(0.5) ? Colour(0.70F, 0.71F, 0.72F) : Colour(0.42F, 0.52F, 0.60F);
    add(shed);
    addBox(_rect.maxX - 8.0, _rect.minY + 12.0, 6.0, 8.0, 7.4, Facade::plaster);
    parkCars(_rect.minX + 5.0, _rect.minY + 6.0, 14, true);
    parkCars(_rect.minX + 5.0, _rect.minY + 13.0, 14, true);
    scatterTrees({_rect.minX, _rect.maxY - 6.0, _rect.maxX, _rect.maxY - 1.5}, 10, 1.6, 2.9);
}

void BlockBuilder::riverside()
{
    for (double x = _rect.minX + 3.0; x < _rect.maxX; x += _random.between(5.5, 8.0))
    {
        addTree(x, _rect.maxY - 2.0, _random.between(2.0, 3.3));
        addTree(x, _rect.minY + 2.0, _random.between(2.0, 3.3));
    }
    scatterTrees(_rect.grownBy(-2.0), 26, 0.8, 2.8);
}
} // namespace

void fillBlock(const Block& block, const CityPlan& plan, CityObjects& objects)
{
    // A sliver at the city's edge stays green.
    if (block.rect.width() < 26.0 || block.rect.height() < 26.0) return;

    BlockBuilder builder(block, plan, objects);
    switch (block.use)
    {
    case BlockUse::houses:
        return builder.houses();
    case BlockUse::courtyard:
        return builder.courtyard();
    case BlockUse::slabs:
        return builder.slabs();
    case BlockUse::towers:
        return builder.towers();
    case BlockUse::park:
        return builder.park();
    case BlockUse::school:
        return builder.school();
    case BlockUse::works:
        return builder.works();
    case BlockUse::river:
        return builder.riverside();
    }
}
} // namespace mvgeo::sample
