#include "core/feature/DrawRegions.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <numeric>
#include <vector>

#include "basis/Report.h"
#include "core/array/ArrayFactories.h"
#include "core/array/WritePng.h"
#include "core/feature/PointDescriptorTable.h"
#include "util/IOBuffer.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

namespace
{

log4cpp::Category& sLog = log4cpp::Category::getInstance("Tavlin.Core.Feature.DrawRegions");

// Weak to strong, evenly spaced.
const double sColourMap[5][3] = {{0, 0, 255}, {0, 255, 255}, {0, 255, 0}, {255, 255, 0}, {255, 0, 0}};

double Round(double v)
{
    return std::floor(v + 0.5);
}

// Cornerness order: an undefined value is weaker than any other, and all undefined
// values tie, so the order stays a strict weak one.
struct Weaker
{
    const double* mCornerness;
    bool operator()(int a, int b) const
    {
        const double u = mCornerness[a];
        const double v = mCornerness[b];
        return (std::isnan(u) && !std::isnan(v)) || u < v;
    }
};

// Per row a place on the colour map in [0, 1]: the mean of the ranks its cornerness
// takes, so that equal values get equal colours.
std::vector<double> RankFractions(const double* cornerness, int n)
{
    std::vector<int> order(n);
    std::iota(order.begin(), order.end(), 0);
    const Weaker weaker{cornerness};
    std::stable_sort(order.begin(), order.end(), weaker);
    std::vector<double> fraction(n, 0.5);
    for (int first = 0; first < n;)
    {
        int last = first;
        while (last + 1 < n && !weaker(order[first], order[last + 1]))
            ++last;
        const double value = n > 1 ? (first + last) / (2.0 * (n - 1)) : 0.5;
        for (int k = first; k <= last; ++k)
            fraction[order[k]] = value;
        first = last + 1;
    }
    return fraction;
}

// Writes one colour at whole-pixel positions, dropping every position outside the
// image (an undefined one included).
class Canvas
{
public:
    explicit Canvas(Array::Array2dVec3UInt8* image)
        : mOrigin(image->PixelPtr(0, 0)),
          mStride(image->RowStride()),
          mWidth(static_cast<double>(image->mWidth)),
          mHeight(static_cast<double>(image->mHeight))
    {
    }

    void SetColour(double place)
    {
        const double s = place * 4.0;
        const int k = std::min(static_cast<int>(s), 3);
        const double f = s - k;
        for (int c = 0; c < 3; ++c)
        {
            const double from = sColourMap[k][c];
            mColour[c] = static_cast<unsigned char>(Round(from + (sColourMap[k + 1][c] - from) * f));
        }
    }

    void Plot(double x, double y) const
    {
        if (!(x >= 0.0 && x < mWidth && y >= 0.0 && y < mHeight))
            return;
        unsigned char* p = mOrigin + static_cast<long long>(y) * mStride + static_cast<long long>(x) * 3;
        p[0] = mColour[0];
        p[1] = mColour[1];
        p[2] = mColour[2];
    }

    double Width() const { return mWidth; }
    double Height() const { return mHeight; }

private:
    unsigned char* mOrigin;
    long long mStride;
    double mWidth;
    double mHeight;
    unsigned char mColour[3] = {0, 0, 0};
};

// Whole pixels lo .. hi of the span centre - reach .. centre + reach that lie in
// 0 .. size - 1; false when none does.
bool Span(double centre, double reach, double size, long long& lo, long long& hi)
{
    const double from = std::max(centre - reach, 0.0);
    const double to = std::min(centre + reach, size - 1.0);
    if (!(from <= to))
        return false;
    lo = static_cast<long long>(from);
    hi = static_cast<long long>(to);
    return true;
}

// The circle's other coordinate, rounded, at offset d from its centre along one axis.
double Offset(double r, double d)
{
    return Round(std::sqrt(r - d) * std::sqrt(r + d));
}

// The last offset along one axis at which the circle's pixel still lies at least as far
// along the other: there the walk by columns hands over to the walk by rows, as in the
// midpoint algorithm, so the line closes without doubling.
double OctantReach(double r)
{
    double m = std::floor(r * M_SQRT1_2);
    for (int i = 0; i < 3 && m + 1.0 <= Offset(r, m + 1.0); ++i)
        m += 1.0;
    for (int i = 0; i < 3 && m > Offset(r, m); ++i)
        m -= 1.0;
    return m;
}

// One pixel per column near the top and bottom, one per row near the sides: a closed
// line one pixel wide. Only the columns and rows inside the image are visited.
void Circle(const Canvas& canvas, double cx, double cy, double r)
{
    const double reach = OctantReach(r);
    long long lo = 0, hi = -1;
    if (Span(cx, reach, canvas.Width(), lo, hi))
        for (long long x = lo; x <= hi; ++x)
        {
            const double h = Offset(r, static_cast<double>(x) - cx);
            canvas.Plot(static_cast<double>(x), cy - h);
            canvas.Plot(static_cast<double>(x), cy + h);
        }
    if (Span(cy, reach, canvas.Height(), lo, hi))
        for (long long y = lo; y <= hi; ++y)
        {
            const double w = Offset(r, static_cast<double>(y) - cy);
            canvas.Plot(cx - w, static_cast<double>(y));
            canvas.Plot(cx + w, static_cast<double>(y));
        }
}

// Narrows [u0, u1] to the parameters u where p u <= q; false when nothing is left.
bool ClipEdge(double p, double q, double& u0, double& u1)
{
    if (p == 0.0)
        return q >= 0.0;
    const double u = q / p;
    if (p < 0.0)
        u0 = std::max(u0, u);
    else
        u1 = std::min(u1, u);
    return u0 <= u1;
}

// The radius from the centre along angle, clipped to the image first, so its length in
// steps is bounded by the image's size.
void Radius(const Canvas& canvas, double cx, double cy, double r, double angle)
{
    const double ex = r * std::cos(angle);
    const double ey = r * std::sin(angle);
    if (!std::isfinite(ex) || !std::isfinite(ey))
        return;
    double u0 = 0.0, u1 = 1.0;
    if (!ClipEdge(-ex, cx + 0.5, u0, u1) || !ClipEdge(ex, canvas.Width() - 0.5 - cx, u0, u1) ||
        !ClipEdge(-ey, cy + 0.5, u0, u1) || !ClipEdge(ey, canvas.Height() - 0.5 - cy, u0, u1))
        return;
    const double x0 = cx + u0 * ex, y0 = cy + u0 * ey;
    const double dx = (u1 - u0) * ex, dy = (u1 - u0) * ey;
    const double length = std::ceil(std::max(std::fabs(dx), std::fabs(dy)));
    const long long steps = static_cast<long long>(std::min(length, canvas.Width() + canvas.Height()));
    for (long long i = 0; i <= steps; ++i)
    {
        const double u = steps > 0 ? static_cast<double>(i) / static_cast<double>(steps) : 0.0;
        canvas.Plot(Round(x0 + dx * u), Round(y0 + dy * u));
    }
}

} // namespace

void DrawRegions(Array::Array2dVec3UInt8* image, const PointDescriptorTable& table, int offset)
{
    const int n = table.Size();
    if (!image || n < 1)
        return;
    const std::vector<double> place = RankFractions(table.Cornerness(), n);
    Canvas canvas(image);
    for (int i = 0; i < n; ++i)
    {
        const double cx = Round(table.X()[i] + offset);
        const double cy = Round(table.Y()[i] + offset);
        const double r = 3.0 * table.Scale()[i];
        if (!std::isfinite(cx) || !std::isfinite(cy) || std::isinf(r))
            continue;
        canvas.SetColour(place[i]);
        if (!(r >= 0.5))
        {
            canvas.Plot(cx, cy);
            continue;
        }
        Circle(canvas, cx, cy, r);
        const double orientation = table.Orientation()[i];
        if (orientation != 0.0)
            Radius(canvas, cx, cy, r, orientation);
    }
}

bool DrawRegionsToFile(Array::Array2dVec3UInt8* image, const PointDescriptorTable& table, int offset,
                       Persistency::File file)
{
    std::unique_ptr<Array::Array2dVec3UInt8> picture;
    if (image)
        picture.reset(Array::ArrayCreateOrNull<Array::Array2dVec3UInt8>(image->mWidth, image->mHeight));
    if (!picture)
    {
        TLOG_ERROR(sLog, "[ERROR] No image to draw the regions on for " << file.GetPath());
        return false;
    }
    Array::CopyImageRows(picture.get(), image);
    DrawRegions(picture.get(), table, offset);
    std::unique_ptr<Util::IOBuffer> buffer(file.GetWriteBuffer());
    if (!buffer || !Array::WritePng(picture.get(), buffer.get()))
    {
        TLOG_ERROR(sLog, "[ERROR] Could not write the regions picture " << file.GetPath());
        return false;
    }
    return true;
}

} // namespace Feature
} // namespace Core
} // namespace Tavlin
