#include "core/geometry/InterestPointSelector.h"

#include <climits>
#include <cmath>
#include <stdexcept>

#include "util/StringParser.h"

namespace Tavlin
{
namespace Core
{
namespace Geometry
{

InterestPointSelector::InterestPointSelector(std::string spec, int border)
{
    const char form = spec.empty() ? '\0' : spec[0];
    if (form != 'P' && form != 'B')
        throw "Unknown pointSelector";
    if (spec.size() < 2)
        throw std::out_of_range("basic_string::substr");
    Util::StringParser parser(spec.substr(1));
    if (form == 'P')
    {
        mGridColumns = parser.GetInt('x', false);
        mGridRows = parser.GetInt('#', false);
        mGridCell = parser.GetInt('#', false);
        mIsGrid = true;
        return;
    }
    const double shift = 1.0 + border;
    mLeft = parser.GetDouble('#', false) - shift;
    mRight = parser.GetDouble('/', false) - shift;
    mTop = parser.GetDouble('#', false) - shift;
    mBottom = parser.GetDouble('#', false) - shift;
    mIsBox = true;
}

bool InterestPointSelector::Accept(int x, int y, int width, int height)
{
    if (mIsGrid)
    {
        // A grid without columns or rows has no cells. The products are formed in 64
        // bits: a fine grid on a wide image would overflow int.
        if (mGridColumns < 1 || mGridRows < 1)
            return false;
        const long long column = mGridCell % mGridColumns;
        const long long row = mGridCell / mGridColumns;
        const long long w = width, h = height;
        return x >= w * column / mGridColumns && x < w * (column + 1) / mGridColumns &&
               y >= h * row / mGridRows && y < h * (row + 1) / mGridRows;
    }
    if (mIsBox)
    {
        const double px = x, py = y;
        return mLeft <= px && px <= mRight && mTop <= py && py <= mBottom;
    }
    return false;
}

int SelectorPosition(double coordinate)
{
    if (!(coordinate > INT_MIN) || !(coordinate < INT_MAX))
        return INT_MIN;
    return static_cast<int>(coordinate);
}

} // namespace Geometry
} // namespace Core
} // namespace Tavlin
