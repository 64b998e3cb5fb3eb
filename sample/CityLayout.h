#pragma once

#include "sample/CityPlan.h"
#include "sample/Colour.h"

#include <vector>

namespace mvgeo::sample
{
enum class Roof
{
    flat,
    gable, // the ridge runs along the box's own x axis
    hip,
    deck // a bridge: the street goes over it
};

enum class Facade
{
    plaster,
    brick,
    panel, // large prefabricated slabs with balconies
    glass,
    shed,
    bridge,
    plain // rooftop machinery: no windows
};

/** An upright box with a roof; every building is made of one or several. */
struct Box
{
    double x = 0.0, y = 0.0;         // centre
    double halfX = 5.0, halfY = 5.0; // along the box's own axes
    double cosine = 1.0, sine = 0.0; // of the angle from east to the box's own x axis
    double bottom = 0.0;             // below the ground
    double top = 0.0;                // the eaves
    double ridge = 0.0;              // above the eaves
    Roof roof = Roof::flat;
    Facade facade = Facade::plaster;
    Colour wall;
    Colour cover; // of the roof
    std::uint32_t seed = 0;
    bool detail = false; // left out of the coarse levels

    [[nodiscard]] double localX(double px, double py) const { return (px - x) * cosine + (py - y) * sine; }
    [[nodiscard]] double localY(double px, double py) const { return (py - y) * cosine - (px - x) * sine; }
    [[nodiscard]] double worldX(double u, double v) const { return x + u * cosine - v * sine; }
    [[nodiscard]] double worldY(double u, double v) const { return y + u * sine + v * cosine; }

    /** The roof's height above the eaves at a place in the box's own frame. */
    [[nodiscard]] double roofRise(double u, double v) const;
};

struct Tree
{
    double x = 0.0, y = 0.0;
    double radius = 2.0, height = 5.0;
    int kind = 0; // which of the foliage patches
    std::uint32_t seed = 0;
};

struct Car
{
    double x = 0.0, y = 0.0;
    double cosine = 1.0, sine = 0.0; // driving direction
    double length = 4.4, width = 1.85, height = 1.45;
    Colour paint;
};

struct CityObjects
{
    std::vector<Box> boxes;
    std::vector<Tree> trees;
    std::vector<Car> cars;
};

/** The city: its plan and all that stands on it. The same size and seed give the same city.
 * Thread: any, it never changes after its construction. */
class CityLayout
{
public:
    CityLayout(double width, double height, std::uint32_t seed);

    [[nodiscard]] const CityPlan& plan() const { return _plan; }
    [[nodiscard]] const CityObjects& objects() const { return _objects; }

private:
    void addBridges();
    void addStreet(const Street& street, bool north);

    CityPlan _plan;
    CityObjects _objects;
};
} // namespace mvgeo::sample
