#include "TempFolder.h"

#include <common/HostError.h>
#include <measure/ProfilePlot.h>

#include <cpl_error.h>
#include <cpl_minixml.h>

#include <gmock/gmock.h>

#include <memory>

using namespace mvgeo::host;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace
{
std::vector<double> valuesOf(const AxisTicks& ticks)
{
    std::vector<double> values;
    for (int i = 0; i < ticks.count; ++i)
        values.push_back(ticks.at(i));
    return values;
}

std::size_t count(const std::string& text, const std::string& part)
{
    std::size_t found = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + part.size()))
        ++found;
    return found;
}

DrapedLine drape(double length, const std::vector<Points>& pieces)
{
    return makeDrapedLine({{0.0, 0.0, 0.0}, {length, 0.0, 0.0}}, pieces, std::nullopt);
}

/** A ridge of 100 m in the middle of 1000 m. */
DrapedLine ridge()
{
    return drape(1000.0, {{{0.0, 0.0, 200.0}, {500.0, 0.0, 300.0}, {1000.0, 0.0, 200.0}}});
}
} // namespace

TEST(AxisTicks, AreRoundNumbers)
{
    EXPECT_THAT(valuesOf(ticksWithin(0.0, 10.0, 6)), ElementsAre(0, 2, 4, 6, 8, 10));
    EXPECT_THAT(valuesOf(ticksWithin(0.0, 9.9, 6)), ElementsAre(0, 2, 4, 6, 8));
    EXPECT_THAT(valuesOf(ticksWithin(3.0, 47.0, 6)), ElementsAre(10, 20, 30, 40));
    EXPECT_THAT(valuesOf(ticksAround(3.0, 47.0, 6)), ElementsAre(0, 10, 20, 30, 40, 50));
    EXPECT_THAT(valuesOf(ticksAround(-120.0, 130.0, 4)), ElementsAre(-200, -100, 0, 100, 200));
    EXPECT_THAT(valuesOf(ticksAround(200.0, 300.0, 5)), ElementsAre(200, 250, 300));
}

TEST(AxisTicks, KnowTheDecimalsOfTheirLabels)
{
    EXPECT_EQ(ticksWithin(0.0, 10.0, 6).decimals, 0);
    EXPECT_EQ(ticksWithin(0.0, 2.5, 6).decimals, 1);
    EXPECT_EQ(ticksWithin(0.0, 0.1, 6).decimals, 2);
    EXPECT_EQ(ticksAround(4000000.0, 4000000.001, 6).decimals, 4);
    EXPECT_EQ(ticksWithin(0.0, 5e6, 6).decimals, 0);
}

TEST(AxisTicks, EncloseWhatTheyAreAround)
{
    for (const double low : {-3.7, 0.0, 0.999, 1234.5, 4e6})
        for (const double range : {1e-3, 0.3, 1.0, 7.7, 99.0, 2.5e4})
        {
            SCOPED_TRACE(testing::Message() << low << " and " << range << " above");
            const AxisTicks around = ticksAround(low, low + range, 7);
            EXPECT_LE(around.first, low + 1e-8 * around.step);
            EXPECT_GE(around.last(), low + range - 1e-8 * around.step);
            EXPECT_GE(around.count, 3);
            EXPECT_LE(around.count, 8);
            const AxisTicks within = ticksWithin(low, low + range, 7);
            EXPECT_GE(within.first, low - 1e-8 * within.step);
            EXPECT_LE(within.last(), low + range + 1e-8 * within.step);
            EXPECT_GE(within.count, 2);
            EXPECT_LE(within.count, 7);
        }
}

// 298 pixels for 200 to 300 m, 890 pixels for 1000 m: 2.98 over 0.89.
TEST(ProfilePlot, StatesItsFigures)
{
    const std::string svg = makeProfile(ridge(), {}, "hill");
    EXPECT_THAT(svg, HasSubstr(">Profile across hill</text>"));
    EXPECT_THAT(svg, HasSubstr("1000.00 m long, heights 200.00 m to 300.00 m, vertical exaggeration 3.35\xC3\x97<"));
    EXPECT_THAT(svg, HasSubstr(">distance along the line (m)</text>"));
    EXPECT_THAT(svg, HasSubstr(">height (m)</text>"));
    EXPECT_THAT(svg, HasSubstr(">0</text>"));
    EXPECT_THAT(svg, HasSubstr(">1000</text>"));
    EXPECT_THAT(svg, HasSubstr(">220</text>"));
}

TEST(ProfilePlot, PutsHeightsWhereTheyBelong)
{
    EXPECT_THAT(makeProfile(ridge(), {}, "hill"), HasSubstr("d=\"M80.00 360.00 L525.00 62.00 L970.00 360.00\""));
}

TEST(ProfilePlot, DrawsEveryPieceAsALineOfItsOwn)
{
    const DrapedLine line = drape(100.0, {{{0.0, 0.0, 0.0}, {40.0, 0.0, 0.0}},
                                          {{20.0, 0.0, 5.0}, {30.0, 0.0, 5.0}},
                                          {{60.0, 0.0, 0.0}, {100.0, 0.0, 1.0}}});
    EXPECT_EQ(count(makeProfile(line, {}, "bridge"), "<path "), 3U);
}

TEST(ProfilePlot, LeavesOutPointsThatNobodyCouldTellApart)
{
    Points dense;
    for (int i = 0; i <= 100000; ++i)
        dense.emplace_back(i * 0.01, 0.0, 5.0);
    const std::string svg = makeProfile(drape(1000.0, {dense}), {}, "dense");
    EXPECT_LT(svg.size(), 200000U);
    EXPECT_THAT(svg, HasSubstr(" L970.00 "));
}

TEST(ProfilePlot, LabelsLongLinesInKilometres)
{
    const std::string svg = makeProfile(drape(14000.0, {{{0.0, 0.0, 0.0}, {14000.0, 0.0, 900.0}}}), {}, "long");
    EXPECT_THAT(svg, HasSubstr("distance along the line (km)"));
    EXPECT_THAT(svg, HasSubstr(">14</text>"));
}

TEST(ProfilePlot, StatesNoExaggerationForDegrees)
{
    ModelSystem degrees;
    degrees.unit = "degrees";
    const std::string svg = makeProfile(drape(0.5, {{{0.0, 0.0, 0.0}, {0.5, 0.0, 900.0}}}), degrees, "map");
    EXPECT_THAT(svg, HasSubstr("distance along the line (degrees)"));
    EXPECT_THAT(svg, Not(HasSubstr("exaggeration")));
}

TEST(ProfilePlot, MarksWhereTheLineBends)
{
    const Points bent{{0.0, 0.0, 0.0}, {50.0, 0.0, 0.0}, {50.0, 50.0, 0.0}};
    const std::string svg = makeProfile(makeDrapedLine(bent, {{{0.0, 0.0, 1.0}, {50.0, 0.0, 2.0}}}, {}), {}, "bent");
    const std::size_t dashed = svg.find("stroke-dasharray");
    ASSERT_NE(dashed, std::string::npos);
    EXPECT_EQ(count(svg.substr(dashed, svg.find("</g>", dashed) - dashed), "<line "), 1U);
    EXPECT_THAT(svg.substr(dashed), HasSubstr("x1=\"525.0\""));
}

// A hatching of more than forty bends would show nothing.
TEST(ProfilePlot, MarksFortyBendsAndNoMore)
{
    for (const int bends : {40, 41})
    {
        Points zigzag;
        for (int i = 0; i < bends + 2; ++i)
            zigzag.emplace_back(i, i % 2, 0.0);
        const std::string svg = makeProfile(makeDrapedLine(zigzag, {{zigzag[0], zigzag[1]}}, {}), {}, "zigzag");
        const std::size_t dashed = svg.find("stroke-dasharray");
        EXPECT_EQ(dashed != std::string::npos, bends == 40);
        if (dashed == std::string::npos) continue;
        EXPECT_EQ(count(svg.substr(dashed, svg.find("</g>", dashed) - dashed), "<line "), 40U);
    }
}

TEST(ProfilePlot, LabelsUpToFiveKilometresInMetres)
{
    const auto labelOf = [](double length) {
        return makeProfile(drape(length, {{{0.0, 0.0, 0.0}, {length, 0.0, 900.0}}}), {}, "long");
    };
    EXPECT_THAT(labelOf(5000.0), HasSubstr("along the line (m)"));
    EXPECT_THAT(labelOf(5000.0), HasSubstr(">5000</text>"));
    EXPECT_THAT(labelOf(5001.0), HasSubstr("along the line (km)"));
}

// 10 cm around 7 m in steps of 2 cm, from below to above.
TEST(ProfilePlot, ShowsTenCentimetresAtLeast)
{
    const std::string level = makeProfile(drape(10.0, {{{0.0, 0.0, 7.0}, {10.0, 0.0, 7.0}}}), {}, "level");
    for (const char* label : {">6.94<", ">6.96<", ">6.98<", ">7.00<", ">7.02<", ">7.04<", ">7.06<"})
        EXPECT_THAT(level, HasSubstr(label));
    EXPECT_THAT(level, Not(HasSubstr(">6.92<")));
    EXPECT_THAT(level, Not(HasSubstr(">7.08<")));
}

TEST(ProfilePlot, IsXmlWhateverTheModelIsCalled)
{
    for (const std::string& name : {std::string("a&b<c>\"d'"), std::string("caf\xE9\x01"), std::string("\xE6\xB2\xA1")})
    {
        SCOPED_TRACE(name);
        CPLErrorReset();
        const std::unique_ptr<CPLXMLNode, void (*)(CPLXMLNode*)> document(
            CPLParseXMLString(makeProfile(ridge(), {}, name).c_str()), CPLDestroyXMLNode);
        EXPECT_TRUE(document);
        EXPECT_STREQ(CPLGetLastErrorMsg(), "");
    }
    EXPECT_THAT(makeProfile(ridge(), {}, "a&b<c"), HasSubstr("a&amp;b&lt;c"));
    EXPECT_THAT(makeProfile(ridge(), {}, "caf\xE9"), HasSubstr("caf\xEF\xBF\xBD"));
}

TEST(ProfilePlot, CopesWithLevelGroundWithNothingAndWithNonsense)
{
    const std::string level = makeProfile(drape(10.0, {{{0.0, 0.0, 7.0}, {10.0, 0.0, 7.0}}}), {}, "level");
    EXPECT_THAT(level, HasSubstr("M80.00 211.00")); // half way up
    EXPECT_THAT(makeProfile(drape(10.0, {}), {}, "none"), HasSubstr("does not meet the model"));
    const std::string wild = makeProfile(drape(10.0, {{{0.0, 0.0, -1e300}, {10.0, 0.0, 1e300}}}), {}, "wild");
    EXPECT_THAT(wild, Not(HasSubstr("nan")));
    EXPECT_THAT(wild, Not(HasSubstr("inf")));
}

TEST(ProfilePlot, IsWrittenAsSvgOnly)
{
    const TempFolder folder;
    EXPECT_NO_THROW(checkProfilePath(folder.path("a.svg")));
    for (const char* name : {"a.png", "a", "a.svg.gz", "missing/a.svg"})
        EXPECT_THROW(checkProfilePath(folder.path(name)), HostError) << name;
}
