#include "core/geometry/Rectangle.h"

#include <istream>
#include <ostream>

namespace Tavlin
{
namespace Core
{
namespace Geometry
{

Rectangle GrowBorder(const Rectangle& r, int n)
{
    return Rectangle(r.left - n, r.top - n, r.right + n, r.bottom + n);
}

Rectangle operator*(Rectangle& r, double f)
{
    return Rectangle(static_cast<int32_t>(r.left * f), static_cast<int32_t>(r.top * f),
                     static_cast<int32_t>(r.right * f), static_cast<int32_t>(r.bottom * f));
}

Rectangle operator/(Rectangle& r, double f)
{
    return Rectangle(static_cast<int32_t>(r.left / f), static_cast<int32_t>(r.top / f),
                     static_cast<int32_t>(r.right / f), static_cast<int32_t>(r.bottom / f));
}

std::ostream& operator<<(std::ostream& os, const Rectangle& r)
{
    return os << r.left << " " << r.top << " " << r.right << " " << r.bottom;
}

std::istream& operator>>(std::istream& is, Rectangle& r)
{
    return is >> r.left >> r.top >> r.right >> r.bottom;
}

} // namespace Geometry
} // namespace Core
} // namespace Tavlin
