// Pyramid names, their selector lists, and the feature-name parameter of a pyramid.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/feature/InterestPointFeature.h"
#include "core/feature/codebook/PointSelectors.h"
#include "support/TestSupport.h"

using namespace Tavlin::Core::Feature;
using Tavlin::Core::Geometry::InterestPointSelector;
using TestSupport::Owned;

namespace
{
// Which cell of a 4 x 4 grid on a 40 x 40 image each selector takes: the index of the
// 10 x 10 block whose centre it accepts, -1 for the whole image, -2 for anything else.
std::vector<int> Cells(const std::vector<InterestPointSelector*>& selectors)
{
    std::vector<int> cells;
    for (InterestPointSelector* s : selectors)
    {
        std::vector<int> blocks;
        for (int b = 0; b < 16; ++b)
            if (s->Accept(10 * (b % 4) + 5, 10 * (b / 4) + 5, 40, 40))
                blocks.push_back(b);
        cells.push_back(blocks.size() == 16 ? -1 : (blocks.size() == 1 ? blocks[0] : -2 - static_cast<int>(blocks.size())));
    }
    return cells;
}
} // namespace

TEST(PointSelectors, PyramidNamesExpandToTheirCellsInOrder)
{
    EXPECT_EQ(ExpandPyramidName("pyramid-1x1"), "P1x1#0");
    EXPECT_EQ(ExpandPyramidName("pyramid-1x1-2x2"), "P1x1#0+P2x2#0+P2x2#1+P2x2#2+P2x2#3");
    EXPECT_EQ(ExpandPyramidName("pyramid-1x1-2x2-3x1"), "P1x1#0+P2x2#0+P2x2#1+P2x2#2+P2x2#3+P3x1#0+P3x1#1+P3x1#2");
    EXPECT_EQ(ExpandPyramidName("pyramid-1x1-1x3"), "P1x1#0+P1x3#0+P1x3#1+P1x3#2");
    EXPECT_EQ(ExpandPyramidName("pyramid-1x1-2x2-1x3"), "P1x1#0+P2x2#0+P2x2#1+P2x2#2+P2x2#3+P1x3#0+P1x3#1+P1x3#2");
    // Other texts are lists already.
    EXPECT_EQ(ExpandPyramidName("P1x1#0+P2x2#0"), "P1x1#0+P2x2#0");
    EXPECT_EQ(ExpandPyramidName("pyramid-2x2"), "pyramid-2x2");

    const std::vector<std::pair<std::string, size_t>> rows{
        {"pyramid-1x1", 1},         {"pyramid-1x1-2x2", 5},     {"pyramid-1x1-2x2-3x1", 8},
        {"pyramid-1x1-1x3", 4},     {"pyramid-1x1-2x2-1x3", 8}, {"pyramid-1x1-2x2-4x4", 21},
        {"pyramid-1x1-2x2-4x4-1x3", 24}};
    for (const auto& [name, count] : rows)
    {
        Owned<InterestPointSelector> selectors(MakePointSelectors(name, 0));
        EXPECT_EQ(selectors.p.size(), count) << name;
    }

    // The 4 x 4 level follows the 2 x 2 one, its cells row by row from the top left.
    Owned<InterestPointSelector> deep(MakePointSelectors("pyramid-1x1-2x2-4x4-1x3", 0));
    const std::vector<int> cells = Cells(deep.p);
    EXPECT_EQ(cells[0], -1);
    EXPECT_EQ(cells[1], -2 - 4); // a quarter holds four blocks
    for (int b = 0; b < 16; ++b)
        EXPECT_EQ(cells[5 + b], b);
    EXPECT_TRUE(deep.p[23]->Accept(0, 39, 40, 40));
    EXPECT_TRUE(deep.p[23]->Accept(0, 26, 40, 40)); // 40 * 2 / 3 = 26
    EXPECT_FALSE(deep.p[23]->Accept(0, 25, 40, 40));
}

TEST(PointSelectors, ListsEndAtTheTextsEndOrAnEmptyPiece)
{
    Owned<InterestPointSelector> trailing(MakePointSelectors("P1x1#0+", 0));
    EXPECT_EQ(trailing.p.size(), 1u);
    Owned<InterestPointSelector> typed(MakePointSelectors("P2x2#1+B1#5/1#5", 2));
    ASSERT_EQ(typed.p.size(), 2u);
    EXPECT_TRUE(typed.p[0]->mIsGrid);
    EXPECT_EQ(typed.p[0]->mGridCell, 1);
    EXPECT_EQ(typed.p[1]->mLeft, -2.0);

    // A bad piece anywhere throws; the selectors made before it are released (the
    // sanitizer build would see them leak).
    EXPECT_THROW(MakePointSelectors("P1x1#0+X", 0), const char*);
    EXPECT_THROW(MakePointSelectors("pyramid-2x2", 0), const char*);
}

TEST(PointSelectors, PyramidParameterDropsPlusAndWritesHashAsX)
{
    EXPECT_EQ(PyramidParameter("pyramid-1x1-2x2"), "pyramid-1x1-2x2");
    EXPECT_EQ(PyramidParameter("P1x1#0+P2x2#0"), "P1x1x0P2x2x0");
    EXPECT_EQ(PyramidParameter("B1#10/1#10"), "B1x10/1x10");
}

TEST(ConfigurePyramid, OneWholeImageCellWithoutTextAndThePsParameterWithIt)
{
    Tavlin::Util::PropertySet properties;
    properties.Add("detector", "densesampling");
    properties.Add("descriptor", "sift");
    properties.Add("noRandomizeSeed", "1");
    properties.Add("borderWidth", "3");
    InterestPointFeature plain(properties);
    plain.ConfigurePyramid(properties);
    ASSERT_EQ(plain.GetPointSelectors().size(), 1u);
    EXPECT_TRUE(plain.GetPointSelectors()[0]->Accept(0, 0, 1, 1));
    EXPECT_EQ(plain.GetFeatureDefinition().GetParameter("ps", "none"), "none");

    properties.Add("pointSelector", "pyramid-1x1");
    InterestPointFeature named(properties);
    named.ConfigurePyramid(properties);
    EXPECT_EQ(named.GetPointSelectors().size(), 1u);
    EXPECT_EQ(named.GetFeatureDefinition().GetParameter("ps", ""), "pyramid-1x1");

    // Typed lists name themselves; boxes take the feature's border.
    properties.Add("pointSelector", "P1x1#0+B4#13/4#13");
    InterestPointFeature typed(properties);
    typed.ConfigurePyramid(properties);
    ASSERT_EQ(typed.GetPointSelectors().size(), 2u);
    EXPECT_EQ(typed.GetPointSelectors()[1]->mLeft, 0.0);
    EXPECT_EQ(typed.GetFeatureDefinition().GetParameter("ps", ""), "P1x1x0B4x13/4x13");
    EXPECT_NE(typed.GetFeatureDefinition().AsString().find("_ps_P1x1x0B4x13/4x13"), std::string::npos);

    properties.Add("pointSelector", "P1x1#0+Z");
    InterestPointFeature bad(properties);
    EXPECT_THROW(bad.ConfigurePyramid(properties), const char*);
}
