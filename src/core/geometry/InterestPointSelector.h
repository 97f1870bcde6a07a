// One spatial cell of an image: a predicate on a point's position. The text form picks
// a cell of a regular grid ("P<columns>x<rows>#<cell>", cells counted row-major from
// the top left) or a box in the 1-based coordinates of the output files
// ("B<left>#<right>/<top>#<bottom>", both ends included).
#ifndef TAVLIN_CORE_GEOMETRY_INTERESTPOINTSELECTOR_H
#define TAVLIN_CORE_GEOMETRY_INTERESTPOINTSELECTOR_H

#include <string>

namespace Tavlin
{
namespace Core
{
namespace Geometry
{

class InterestPointSelector
{
public:
    // Throws the text "Unknown pointSelector" for a first character other than P or B,
    // and std::out_of_range for a letter with nothing behind it. `border` is the width
    // cut from each image edge, so that box numbers match the files.
    InterestPointSelector(std::string spec, int border);
    virtual ~InterestPointSelector() = default;

    // Grid cells are half-open bands, so the cells of one grid cover every pixel of a
    // width x height image exactly once.
    virtual bool Accept(int x, int y, int width, int height);

    int mGridColumns = 0;
    int mGridRows = 0;
    int mGridCell = 0;
    double mLeft = 0.0;
    double mRight = 0.0;
    double mTop = 0.0;
    double mBottom = 0.0;
    bool mIsGrid = false;
    bool mIsBox = false;
};

// A point's position as Accept takes it: truncated toward zero, with values beyond the
// int range (and NaN) brought to a position that no image holds.
int SelectorPosition(double coordinate);

} // namespace Geometry
} // namespace Core
} // namespace Tavlin

#endif
