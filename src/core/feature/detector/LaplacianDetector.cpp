#include "core/feature/detector/LaplacianDetector.h"

#include <cmath>
#include <memory>

#include "basis/Report.h"
#include "basis/Timer.h"
#include "core/array/ArrayFactories.h"
#include "core/array/Laplacian.h"
#include "core/table/SortOnColumn5.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

using Array::Array2dReal64;

namespace
{

log4cpp::Category& sLogDetector = log4cpp::Category::getInstance("Core.Feature.LaplacianDetector");
log4cpp::Category& sLogDetection = log4cpp::Category::getInstance("Core.Feature.LaplacianDetection");

const int kLevels = 21;

// c against the 3 x 3 block at p (stride apart), itself excluded when own is set;
// ge: c >= every value, else every value >= c.
inline bool Dominates(double c, const double* p, long long stride, bool own, bool ge)
{
    for (long long dy = -1; dy <= 1; ++dy)
        for (long long dx = -1; dx <= 1; ++dx)
        {
            if (own && dx == 0 && dy == 0)
                continue;
            const double v = p[dy * stride + dx];
            if (ge ? !(c >= v) : !(v >= c))
                return false;
        }
    return true;
}

} // namespace

template <class ArrayT>
PointDescriptorTable* LaplacianDetection(ArrayT* grey, bool recGauss, double precision)
{
    PointDescriptorTable* table = new PointDescriptorTable(FeatureDefinition(""));
    const long long width = grey->mWidth;
    const long long height = grey->mHeight;

    // The extrema of level k need levels k - 1 .. k + 1 only: three images are kept.
    std::unique_ptr<Array2dReal64> level[3];
    double scales[kLevels];
    for (int i = 0; i < kLevels; ++i)
        scales[i] = std::pow(1.189207115002721, i) * 0.8;
    auto compute = [&](int i) {
        TLOG_DEBUG(sLogDetection, "Computing Laplacian scale: " << scales[i]);
        Array2dReal64* lap = nullptr;
        Array::Laplacian(lap, grey, scales[i], 1, recGauss, precision);
        return lap;
    };
    level[1].reset(compute(0));
    level[2].reset(compute(1));
    for (int k = 1; k < kLevels - 1; ++k)
    {
        level[0] = std::move(level[1]);
        level[1] = std::move(level[2]);
        level[2].reset(compute(k + 1));
        if (height <= 10 || width <= 10)
            continue;
        const Array2dReal64* below = level[0].get();
        const Array2dReal64* own = level[1].get();
        const Array2dReal64* above = level[2].get();
        for (long long x = 5; x < width - 5; ++x)
            for (long long y = 5; y < height - 5; ++y)
            {
                const double* p = own->PixelPtr(x, y);
                const double c = *p;
                if (std::fabs(c) < 0.001)
                    continue;
                const double* pb = below->PixelPtr(x, y);
                const double* pa = above->PixelPtr(x, y);
                const bool isMax = Dominates(c, p, own->RowStride(), true, true) &&
                                   Dominates(c, pb, below->RowStride(), false, true) &&
                                   Dominates(c, pa, above->RowStride(), false, true);
                const bool isMin = !isMax && Dominates(c, p, own->RowStride(), true, false) &&
                                   Dominates(c, pb, below->RowStride(), false, false) &&
                                   Dominates(c, pa, above->RowStride(), false, false);
                if (isMax || isMin)
                    table->AddPoint(static_cast<double>(x), static_cast<double>(y), scales[k], 0.0, c);
            }
    }
    return table;
}

template <class ArrayT>
PointDescriptorTable* LaplacianDetector(ArrayT* image, bool recGauss, double precision)
{
    Timer timer;
    timer.Start();
    const long long width = image->mWidth;
    const long long height = image->mHeight;
    std::unique_ptr<Array2dReal64> grey(Array::ArrayCreate<Array2dReal64>(width, height, 0, 0));
    for (long long y = 0; y < height; ++y)
    {
        const typename ArrayT::StorType* s = image->PixelPtr(0, y);
        double* d = grey->PixelPtr(0, y);
        for (long long x = 0; x < width; ++x)
            d[x] = static_cast<double>(s[3 * x]) * 0.298936021293775 +
                   static_cast<double>(s[3 * x + 1]) * 0.587043074451121 +
                   static_cast<double>(s[3 * x + 2]) * 0.114020904255103;
    }
    PointDescriptorTable* table = LaplacianDetection(grey.get(), recGauss, precision);
    TLOG_INFO(sLogDetector,
              "Laplacian detector found " << table->Size() << " points; " << Timer::Format(timer.SplitTime()));
    grey.reset();
    Table::SortOnColumn5(table, false);
    return table;
}

template PointDescriptorTable* LaplacianDetector<Array::Array2dVec3UInt8>(Array::Array2dVec3UInt8*, bool, double);
template PointDescriptorTable* LaplacianDetection<Array2dReal64>(Array2dReal64*, bool, double);

} // namespace Feature
} // namespace Core
} // namespace Tavlin
