#include "device_agent/figures.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tavo::vms_server_plugins::analytics::orlix
{

namespace
{

using testing::ElementsAreArray;
using enum FigureOutcome;

struct FigureCase
{
    const char* name;
    std::string text;
    FigureOutcome outcome;
    std::vector<float> coordinates;
};

std::string figure(const std::string& points)
{
    return R"({"figure": {"points": )" + points + "}}";
}

void check(Figure (*parse)(std::string_view), const std::vector<FigureCase>& cases)
{
    for (const FigureCase& c : cases)
    {
        SCOPED_TRACE(c.name);
        const Figure parsed = parse(c.text);
        EXPECT_EQ(c.outcome, parsed.outcome);
        EXPECT_THAT(parsed.coordinates, ElementsAreArray(c.coordinates));
    }
}

const std::vector<FigureCase> kNoPoints = {
    {"empty", "", notJson, {}},
    {"cut off", R"({"figure": )", notJson, {}},
    {"null", "null", noPoints, {}},
    {"no figure", R"({"points": [[0.1, 0.2]]})", noPoints, {}},
    {"figure is no object", R"({"figure": [[0.1, 0.2]]})", noPoints, {}},
    {"points are no array", R"({"figure": {"points": {"x": 1}}})", noPoints, {}},
};

TEST(Figures, PolygonsTakeAnyNumberAndAnyCount)
{
    check(parsePolygon, kNoPoints);
    check(
        parsePolygon,
        {{"reals",
          figure("[[0.25, 0.5], [0.75, 1.0], [0.0, 0.125]]"),
          parsed,
          {0.25f, 0.5f, 0.75f, 1, 0, 0.125f}},
         {"integers",
          figure("[[0, 1], [-2, 18446744073709551615]]"),
          parsed,
          {0, 1, -2, 18446744073709551615.0f}},
         {"no numbers", figure(R"([["0.5", null], [true, [1]]])"), parsed, {0, 0, 0, 0}},
         {"short points", figure("[[0.5], [], 0.5]"), parsed, {0.5f, 0, 0, 0, 0, 0}},
         {"long point", figure("[[0.5, 0.25, 0.75]]"), parsed, {0.5f, 0.25f}},
         {"beyond a float", figure("[[1e300, -1e300]]"), parsed, {3.4028235e38f, -3.4028235e38f}},
         {"empty", figure("[]"), parsed, {}}});
}

TEST(Figures, LinesCountRealNumbersOnly)
{
    check(parseLine, kNoPoints);
    check(
        parseLine,
        {{"diagonal", figure("[[0.0, 0.0], [1.0, 1.0]]"), parsed, {0, 0, 1, 1}},
         {"integers", figure("[[0, 0], [1, 1]]"), parsed, {0, 0, 0, 0}},
         {"mixed", figure("[[0.5, 1], [1, 0.25]]"), parsed, {0.5f, 0, 0, 0.25f}},
         {"third point",
          figure("[[0.1, 0.2], [0.3, 0.4], [0.5, 0.6]]"),
          parsed,
          {0.1f, 0.2f, 0.3f, 0.4f}},
         {"points are no arrays", figure("[1.0, 1.0]"), parsed, {0, 0, 0, 0}},
         {"one point", figure("[[0.1, 0.2]]"), wrongShape, {}},
         {"no point", figure("[]"), wrongShape, {}}});
}

TEST(Figures, BoxesAreStrictInShapeClampedAndOrdered)
{
    check(parseBox, kNoPoints);
    check(
        parseBox,
        {{"ordered", figure("[[0.1, 0.2], [0.8, 0.9]]"), parsed, {0.1f, 0.2f, 0.8f, 0.9f}},
         {"swapped", figure("[[0.8, 0.9], [0.1, 0.2]]"), parsed, {0.1f, 0.2f, 0.8f, 0.9f}},
         {"one axis swapped", figure("[[0.8, 0.2], [0.1, 0.9]]"), parsed, {0.1f, 0.2f, 0.8f, 0.9f}},
         {"outside", figure("[[-0.5, -3], [1.5, 7]]"), parsed, {0, 0, 1, 1}},
         {"integers", figure("[[0, 0], [1, 1]]"), parsed, {0, 0, 1, 1}},
         {"no numbers", figure(R"([["a", 0.5], [null, 0.75]])"), parsed, {0, 0.5f, 0, 0.75f}},
         {"three points", figure("[[0.1, 0.2], [0.3, 0.4], [0.5, 0.6]]"), wrongShape, {}},
         {"one point", figure("[[0.1, 0.2]]"), wrongShape, {}},
         {"long point", figure("[[0.1, 0.2, 0.3], [0.3, 0.4]]"), wrongShape, {}},
         {"short second point", figure("[[0.1, 0.2], [0.3]]"), wrongShape, {}},
         {"points are no arrays", figure("[0.1, 0.2]"), wrongShape, {}}});
}

} // namespace

} // namespace tavo::vms_server_plugins::analytics::orlix
