// An integer rectangle of pixels, right and bottom inclusive: the region handed to
// MakeRoi and the cell of a spatial grid.
#ifndef TAVLIN_CORE_GEOMETRY_RECTANGLE_H
#define TAVLIN_CORE_GEOMETRY_RECTANGLE_H

#include <cstdint>
#include <iosfwd>

namespace Tavlin
{
namespace Core
{
namespace Geometry
{

struct Rectangle
{
    Rectangle() : left(0), top(0), right(0), bottom(0) {}
    Rectangle(int32_t l, int32_t t, int32_t r, int32_t b) : left(l), top(t), right(r), bottom(b) {}

    int32_t left;
    int32_t top;
    int32_t right;
    int32_t bottom;
};

Rectangle GrowBorder(const Rectangle& r, int n);
// Each field scaled in double and truncated towards zero; r is unchanged.
Rectangle operator*(Rectangle& r, double f);
Rectangle operator/(Rectangle& r, double f);
std::ostream& operator<<(std::ostream& os, const Rectangle& r);
std::istream& operator>>(std::istream& is, Rectangle& r);

} // namespace Geometry
} // namespace Core
} // namespace Tavlin

#endif
