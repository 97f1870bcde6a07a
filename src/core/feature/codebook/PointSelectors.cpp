#include "core/feature/codebook/PointSelectors.h"

#include <memory>

#include "util/StringParser.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

namespace
{
std::string GridCells(int columns, int rows)
{
    std::string text;
    const std::string prefix = "P" + std::to_string(columns) + "x" + std::to_string(rows) + "#";
    for (int cell = 0; cell < columns * rows; ++cell)
        text += "+" + prefix + std::to_string(cell);
    return text;
}
} // namespace

std::string ExpandPyramidName(const std::string& name)
{
    const std::string level1 = "P1x1#0";
    const std::string level2 = level1 + GridCells(2, 2);
    if (name == "pyramid-1x1")
        return level1;
    if (name == "pyramid-1x1-2x2")
        return level2;
    if (name == "pyramid-1x1-2x2-3x1")
        return level2 + GridCells(3, 1);
    if (name == "pyramid-1x1-1x3")
        return level1 + GridCells(1, 3);
    if (name == "pyramid-1x1-2x2-1x3")
        return level2 + GridCells(1, 3);
    if (name == "pyramid-1x1-2x2-4x4")
        return level2 + GridCells(4, 4);
    if (name == "pyramid-1x1-2x2-4x4-1x3")
        return level2 + GridCells(4, 4) + GridCells(1, 3);
    return name;
}

std::vector<Geometry::InterestPointSelector*> MakePointSelectors(const std::string& pyramid, int border)
{
    std::vector<std::unique_ptr<Geometry::InterestPointSelector>> made;
    Util::StringParser parser(ExpandPyramidName(pyramid));
    while (!parser.IsEnd())
    {
        const std::string piece = parser.GetString('+', false);
        if (piece.empty())
            break;
        made.emplace_back(new Geometry::InterestPointSelector(piece, border));
    }
    std::vector<Geometry::InterestPointSelector*> selectors;
    for (auto& selector : made)
        selectors.push_back(selector.release());
    return selectors;
}

std::string PyramidParameter(const std::string& pyramid)
{
    std::string text;
    for (char c : pyramid)
    {
        if (c == '+')
            continue;
        text += c == '#' ? 'x' : c;
    }
    return text;
}

} // namespace Feature
} // namespace Core
} // namespace Tavlin
