#include "core/feature/detector/HarrisLaplaceDetector.h"

#include <cmath>
#include <memory>
#include <set>
#include <tuple>
#include <unordered_map>

#include "basis/CpuFeatures.h"
#include "basis/Report.h"
#include "basis/Timer.h"
#include "core/array/ArrayFactories.h"
#include "core/array/FuncBorderMirror2d.h"
#include "core/array/GaussDerivative.h"
#include "core/array/Laplacian.h"
#include "core/array/LaplacianAtPoints.h"
#include "core/array/ProjectRange.h"
#include "core/array/RecGauss.h"
#include "core/feature/FeatureImageTypes.h"
#include "core/table/SortOnColumn5.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

namespace
{

log4cpp::Category& sLog = log4cpp::Category::getInstance("Core.Feature.HarrisLaplaceDetector");

const int kLaplacianLevels = 21;
const int kHarrisLevels = 8;
// Wide enough for every finite derivative and smoothing kernel of the Harris ladder, so
// the filters work on the grey plane in place instead of copying it at each call.
const long long kWorkBorder = 64;

// The Harris ladder of one image form: grey plane or colour working image.
void LevelCorners(HarrisLaplaceDetector& det, std::vector<MyPoint*>& level, Array2dReal64* grey, double sigma,
                  double k, double threshold)
{
    std::unique_ptr<Array2dReal64> cornerness(det.GreyCornerness(grey, sigma, k));
    det.DoMaxPoints(cornerness.get(), std::back_inserter(level), threshold);
}

void LevelCorners(HarrisLaplaceDetector& det, std::vector<MyPoint*>& level, Array2dVec3Real64* colour,
                  double sigma, double k, double threshold)
{
    det.harrisCornerDetector(level, colour, sigma, k, threshold);
}

template <class ArrayT>
void HarrisLadder(HarrisLaplaceDetector& det, std::vector<MyPoint*>& points, ArrayT* image, double threshold,
                  double k, bool logRejects)
{
    const double width = static_cast<double>(image->mWidth);
    const double height = static_cast<double>(image->mHeight);
    for (int i = 1; i <= kHarrisLevels; ++i)
    {
        const double sigma = std::pow(1.4142135623730951, i) * 0.75;
        std::vector<MyPoint*> level;
        LevelCorners(det, level, image, sigma, k, threshold);
        for (MyPoint* p : level)
        {
            p->scale = sigma;
            if (p->x >= 4.0 && p->y >= 4.0 && p->x < width - 4.0 && p->y < height - 4.0)
            {
                points.push_back(p);
                continue;
            }
            if (logRejects)
                TLOG_DEBUG(sLog, "   " << p->x << " " << p->y << " BORDER CLOSENESS REJECT");
            delete p;
        }
        TLOG_DEBUG(sLog, sigma << " " << level.size());
    }
}

// One row of a channel's structure terms a a s2, b b s2 and a b s2 from its first
// derivatives a, b: stored, or added to the row's terms. The stored terms of the first
// channel replace its derivatives, so pxx and pyy may be px and py.
template <bool kAdd>
inline void StructureTermsRow(const double* px, const double* py, double* pxx, double* pyy, double* pxy,
                              long long width, double s2)
{
    for (long long x = 0; x < width; ++x)
    {
        const double a = px[x];
        const double b = py[x];
        const double xx = a * a * s2;
        const double yy = b * b * s2;
        const double xy = a * b * s2;
        pxx[x] = kAdd ? pxx[x] + xx : xx;
        pyy[x] = kAdd ? pyy[x] + yy : yy;
        pxy[x] = kAdd ? pxy[x] + xy : xy;
    }
}

// Row y of the cornerness where it is the maximum of its window of half side `half`,
// 0.0 elsewhere, from `cm`, the maxima over the window's rows of each column. The
// maximum starts from 0.0 and never takes a value that is not a number, so the order in
// which the values are taken does not matter; the loops run across the pixels so that
// they share the vector unit. cm holds width + 2 half columns from index -half.
TAVLIN_ALWAYS_INLINE void MaskRow(Array2dReal64* work, long long y, long long half, const double* __restrict cm,
                                  double* __restrict values)
{
    const long long width = work->mWidth;
    for (long long x = 0; x < width; ++x)
        values[x] = cm[x - half] > 0.0 ? cm[x - half] : 0.0;
    for (long long i = -half + 1; i <= half; ++i)
    {
        const double* __restrict q = cm + i;
        for (long long x = 0; x < width; ++x)
            values[x] = q[x] > values[x] ? q[x] : values[x];
    }
    const double* __restrict c = work->PixelPtr(0, y);
    for (long long x = 0; x < width; ++x)
    {
        const double mask = std::fabs(values[x] - c[x]) <= 1e-16 ? 1.0 : 0.0;
        values[x] = mask * c[x];
    }
}

// m[x], x < columns: the maximum from 0.0 of `rows` rows `stride` apart, from `top` on.
TAVLIN_ALWAYS_INLINE void ColumnMaxima(const double* top, long long rows, long long stride, long long columns,
                                       double* __restrict m)
{
    for (long long x = 0; x < columns; ++x)
        m[x] = top[x] > 0.0 ? top[x] : 0.0;
    for (long long r = 1; r < rows; ++r)
    {
        const double* __restrict p = top + r * stride;
        for (long long x = 0; x < columns; ++x)
            m[x] = p[x] > m[x] ? p[x] : m[x];
    }
}

// Rows y and y + 1 (which must exist in the mirrored border) together: their windows
// share all rows but one each, whose column maxima are taken once. The window is read
// through the mirrored border.
TAVLIN_ALWAYS_INLINE void MaskedMaximaRows(Array2dReal64* work, long long y, long long half, double* __restrict shared,
                                           double* __restrict cm, double* __restrict values0,
                                           double* __restrict values1)
{
    const long long width = work->mWidth;
    const long long stride = work->RowStride();
    const double* first = work->PixelPtr(-half, y - half);
    double* __restrict s = shared - half;
    double* __restrict m = cm - half;
    const long long columns = width + 2 * half;
    ColumnMaxima(first + stride, 2 * half, stride, columns, s);
    const double* __restrict above = first;
    for (long long x = 0; x < columns; ++x)
        m[x] = above[x] > s[x] ? above[x] : s[x];
    MaskRow(work, y, half, cm, values0);
    const double* __restrict below = first + (2 * half + 1) * stride;
    for (long long x = 0; x < columns; ++x)
        m[x] = below[x] > s[x] ? below[x] : s[x];
    MaskRow(work, y + 1, half, cm, values1);
}

// Row y alone, the same way.
TAVLIN_ALWAYS_INLINE void MaskedMaximaRow(Array2dReal64* work, long long y, long long half, double* __restrict cm,
                                          double* __restrict values)
{
    const long long columns = work->mWidth + 2 * half;
    ColumnMaxima(work->PixelPtr(-half, y - half), 2 * half + 1, work->RowStride(), columns, cm - half);
    MaskRow(work, y, half, cm, values);
}

TAVLIN_TARGET_AVX2 void MaskedMaximaRowsAvx2(Array2dReal64* work, long long y, long long half, double* shared,
                                             double* cm, double* values0, double* values1)
{
    MaskedMaximaRows(work, y, half, shared, cm, values0, values1);
}

TAVLIN_TARGET_AVX2 void MaskedMaximaRowAvx2(Array2dReal64* work, long long y, long long half, double* cm,
                                            double* values)
{
    MaskedMaximaRow(work, y, half, cm, values);
}

void FreePoints(std::vector<MyPoint*>& points)
{
    for (MyPoint* p : points)
        delete p;
    points.clear();
}

} // namespace

void HarrisLaplaceDetector::AddStructureTerms(Array2dReal64* channel, double sd, bool first, Array2dReal64*& lxx,
                                              Array2dReal64*& lyy, Array2dReal64*& lxy)
{
    Array2dReal64* dx = nullptr;
    Array2dReal64* dy = nullptr;
    if (mRecGauss)
    {
        Array::RecGauss(dx, channel, sd, sd, 1, 0, static_cast<int>(mPrecision));
        Array::RecGauss(dy, channel, sd, sd, 0, 1, static_cast<int>(mPrecision));
    }
    else
    {
        Array::GaussDerivative(dx, channel, sd, 1, 0, mPrecision);
        Array::GaussDerivative(dy, channel, sd, 0, 1, mPrecision);
    }
    const double s2 = sd * sd;
    const long long width = channel->mWidth;
    if (first)
    {
        // The first channel's terms take over the derivative planes.
        lxy = Array::ArrayClone<Array2dReal64, Array2dReal64>(dx, 0, 0);
        lxx = dx;
        lyy = dy;
    }
    for (long long y = 0; y < channel->mHeight; ++y)
    {
        const double* px = dx->PixelPtr(0, y);
        const double* py = dy->PixelPtr(0, y);
        double* pxx = lxx->PixelPtr(0, y);
        double* pyy = lyy->PixelPtr(0, y);
        double* pxy = lxy->PixelPtr(0, y);
        if (first)
            StructureTermsRow<false>(px, py, pxx, pyy, pxy, width, s2);
        else
            StructureTermsRow<true>(px, py, pxx, pyy, pxy, width, s2);
    }
    if (!first)
    {
        delete dx;
        delete dy;
    }
}

Array2dReal64* HarrisLaplaceDetector::IntegrateTerms(Array2dReal64* lxx, Array2dReal64* lyy, Array2dReal64* lxy,
                                                     double sigma, double k)
{
    Array2dReal64* terms[3] = {lxx, lyy, lxy};
    Array2dReal64* smooth[3] = {nullptr, nullptr, nullptr};
    for (int i = 0; i < 3; ++i)
    {
        // The integration always uses precision 3.
        if (mRecGauss)
        {
            Array::RecGauss(smooth[i], terms[i], sigma, sigma, 0, 0, 3);
            delete terms[i];
        }
        else
        {
            Array::GaussSmoothInPlace(terms[i], sigma, 3.0);
            smooth[i] = terms[i];
        }
    }
    Array2dReal64* result = smooth[0];
    const long long width = result->mWidth;
    const long long height = result->mHeight;
    for (long long y = 0; y < height; ++y)
    {
        double* __restrict pxx = smooth[0]->PixelPtr(0, y);
        const double* __restrict pyy = smooth[1]->PixelPtr(0, y);
        const double* __restrict pxy = smooth[2]->PixelPtr(0, y);
        for (long long x = 0; x < width; ++x)
        {
            const double a = pxx[x];
            const double b = pyy[x];
            const double c = pxy[x];
            const double t = a + b;
            pxx[x] = a * b - c * c - k * (t * t);
        }
    }
    delete smooth[1];
    delete smooth[2];
    return result;
}

Array2dReal64* HarrisLaplaceDetector::GreyCornerness(Array2dReal64* grey, double sigma, double k)
{
    Array2dReal64* lxx = nullptr;
    Array2dReal64* lyy = nullptr;
    Array2dReal64* lxy = nullptr;
    AddStructureTerms(grey, 0.7125 * sigma, true, lxx, lyy, lxy);
    return IntegrateTerms(lxx, lyy, lxy, sigma, k);
}

template <class ArrayT>
void HarrisLaplaceDetector::harrisCornerDetector(std::vector<MyPoint*>& points, ArrayT* image, double sigma,
                                                 double k, double threshold)
{
    const double sd = 0.7125 * sigma;
    Array2dReal64* lxx = nullptr;
    Array2dReal64* lyy = nullptr;
    Array2dReal64* lxy = nullptr;
    for (int channel = 1; channel <= 3; ++channel)
    {
        Array2dReal64* plane = Array::ArrayClone<Array2dReal64, ArrayT>(image, kWorkBorder, kWorkBorder);
        Array::ProjectRange(plane, image, channel);
        AddStructureTerms(plane, sd, channel == 1, lxx, lyy, lxy);
        delete plane;
    }
    std::unique_ptr<Array2dReal64> cornerness(IntegrateTerms(lxx, lyy, lxy, sigma, k));
    DoMaxPoints(cornerness.get(), std::back_inserter(points), threshold);
}

void HarrisLaplaceDetector::DoMaxPoints(Array2dReal64* cornerness,
                                        std::back_insert_iterator<std::vector<MyPoint*>> out, double threshold)
{
    const long long size = static_cast<long long>(2 * mMaxRadius + 1.0);
    const long long half = size / 2;
    const long long width = cornerness->mWidth;
    const long long height = cornerness->mHeight;
    if (width < 1 || height < 1)
        return;

    Array2dReal64* work = cornerness;
    std::unique_ptr<Array2dReal64> copy;
    if (cornerness->mBorderWidth < half || cornerness->mBorderHeight < half)
    {
        copy.reset(Array::ArrayClone<Array2dReal64, Array2dReal64>(cornerness, half, half));
        Array::CopyImageRows(copy.get(), cornerness);
        work = copy.get();
    }
    Array::Pattern::FuncBorderMirror2d(work, half, half);

    // The flat structuring element makes the dilation a window maximum (from 0.0),
    // taken over columns first and then along the row: the same maximum, fewer reads.
    std::vector<double> columnMax(static_cast<size_t>(width + 2 * half));
    std::vector<double> sharedMax(columnMax.size());
    std::vector<double> values(static_cast<size_t>(2 * width));
    double* cm = columnMax.data() + half;
    double* shared = sharedMax.data() + half;
    auto emit = [&](const double* v, long long y) {
        for (long long x = 0; x < width; ++x)
            if (v[x] > threshold)
                *out++ = new MyPoint{0.0, v[x], static_cast<int>(x), static_cast<int>(y)};
    };
    const bool avx2 = CpuHasAvx2();
    long long y = 0;
    for (; y + 1 < height; y += 2)
    {
        if (avx2)
            MaskedMaximaRowsAvx2(work, y, half, shared, cm, values.data(), values.data() + width);
        else
            MaskedMaximaRows(work, y, half, shared, cm, values.data(), values.data() + width);
        emit(values.data(), y);
        emit(values.data() + width, y + 1);
    }
    for (; y < height; ++y)
    {
        if (avx2)
            MaskedMaximaRowAvx2(work, y, half, cm, values.data());
        else
            MaskedMaximaRow(work, y, half, cm, values.data());
        emit(values.data(), y);
    }
}

template <class T>
void HarrisLaplaceDetector::laplacianScaleSelection(PointDescriptorTable* table, T* image,
                                                    std::vector<MyPoint*>& points, double laplaceThreshold)
{
    double scales[kLaplacianLevels];
    for (int i = 0; i < kLaplacianLevels; ++i)
        scales[i] = std::pow(1.189207115002721, i) * 0.75;

    // Each point's nearest level, and the distinct pixels that need each level.
    const size_t count = points.size();
    std::vector<int> nearest(count);
    std::vector<int> location(count);
    std::unordered_map<long long, int> locationOf;
    std::vector<std::pair<int, int>> locations;
    std::vector<unsigned> levelMask; // per location, bit j: level j needed
    for (size_t p = 0; p < count; ++p)
    {
        const MyPoint* point = points[p];
        double best = 999.0;
        int n = 0;
        for (int i = 0; i < kLaplacianLevels; ++i)
        {
            const double diff = scales[i] - point->scale;
            const double dist = mIntegerScaleMatch ? std::fabs(static_cast<double>(static_cast<int>(diff)))
                                                   : std::fabs(diff);
            if (dist < best)
            {
                best = dist;
                n = i;
            }
        }
        if (best > 0.0001)
            TLOG_WARN(sLog, "WARNING: scale mismatch");
        nearest[p] = n;
        const long long key = (static_cast<long long>(point->y) << 32) | static_cast<unsigned>(point->x);
        auto found = locationOf.emplace(key, static_cast<int>(locations.size()));
        if (found.second)
        {
            locations.emplace_back(point->x, point->y);
            levelMask.push_back(0u);
        }
        const int loc = found.first->second;
        location[p] = loc;
        const int low = n - 4 < 0 ? 0 : n - 4;
        const int high = n + 4 > kLaplacianLevels - 1 ? kLaplacianLevels - 1 : n + 4;
        for (int j = low; j <= high; ++j)
            levelMask[loc] |= 1u << j;
    }

    // The response of every needed level at every pixel that needs it, one level at a
    // time so that only one Laplacian image is alive.
    std::vector<double> values(locations.size() * kLaplacianLevels, 0.0);
    std::vector<int> wanted;
    const double pixels = static_cast<double>(image->mWidth) * static_cast<double>(image->mHeight);
    for (int j = 0; j < kLaplacianLevels; ++j)
    {
        TLOG_DEBUG(sLog, "Computing Laplacian scale: " << scales[j]);
        wanted.clear();
        for (size_t loc = 0; loc < locations.size(); ++loc)
            if (levelMask[loc] & (1u << j))
                wanted.push_back(static_cast<int>(loc));
        if (wanted.empty())
            continue;
        if (!mRecGauss)
        {
            // A few pixels are cheaper to filter one by one than the whole image; the
            // sums are the same, so is the result.
            Array::LaplacianAtPoints<T> at(image, scales[j], 2, mPrecision);
            if (static_cast<double>(wanted.size()) * at.CostPerPixel() < 0.5 * pixels * at.CostWholeImage())
            {
                for (int loc : wanted)
                    values[loc * kLaplacianLevels + j] = at.At(locations[loc].first, locations[loc].second);
                continue;
            }
        }
        Array2dReal64* lap = nullptr;
        Array::Laplacian(lap, image, scales[j], 2, mRecGauss, mPrecision);
        std::unique_ptr<Array2dReal64> lapOwner(lap);
        for (int loc : wanted)
            values[loc * kLaplacianLevels + j] = std::fabs(*lap->PixelPtr(locations[loc].first, locations[loc].second));
    }

    std::set<std::tuple<int, int, int>> made;
    for (size_t p = 0; p < count; ++p)
    {
        const MyPoint* point = points[p];
        const int n = nearest[p];
        const int low = n - 4 < 0 ? 0 : n - 4;
        const int high = n + 4 > kLaplacianLevels - 1 ? kLaplacianLevels - 1 : n + 4;
        const double* a = values.data() + location[p] * kLaplacianLevels;
        for (int j = low + 1; j < high; ++j)
        {
            const double v = a[j];
            if (!(v > a[j - 1] && v > a[j + 1] && v > laplaceThreshold))
                continue;
            if (!made.emplace(point->x, point->y, j).second)
                continue;
            table->AddPoint(point->x, point->y, scales[j], 0.0, point->cornerness);
        }
    }
}

template <class ArrayT>
PointDescriptorTable* HarrisLaplaceDetector::HLDetector(ArrayT* image, double harrisThreshold, double k,
                                                        double laplaceThreshold)
{
    const long long width = image->mWidth;
    const long long height = image->mHeight;
    std::unique_ptr<Array2dReal64> grey(
        Array::ArrayCreate<Array2dReal64>(width, height, kWorkBorder, kWorkBorder));
    for (long long y = 0; y < height; ++y)
    {
        const typename ArrayT::StorType* s = image->PixelPtr(0, y);
        double* d = grey->PixelPtr(0, y);
        for (long long x = 0; x < width; ++x)
        {
            const double r = s[3 * x];
            const double g = s[3 * x + 1];
            const double b = s[3 * x + 2];
            d[x] = (r * 0.298936021293775 + g * 0.587043074451121 + b * 0.114020904255103) * 0.00392156862745098;
        }
    }

    std::vector<MyPoint*> points;
    HarrisLadder(*this, points, grey.get(), harrisThreshold, k, false);
    PointDescriptorTable* table = new PointDescriptorTable(FeatureDefinition(""));
    laplacianScaleSelection(table, grey.get(), points, laplaceThreshold);
    FreePoints(points);
    Table::SortOnColumn5(table, false);
    return table;
}

PointDescriptorTable* HarrisLaplaceDetector::CHLDetector(Array2dVec3UInt8* image, double harrisThreshold,
                                                         double k, double laplaceThreshold)
{
    const long long width = image->mWidth;
    const long long height = image->mHeight;
    std::unique_ptr<Array2dVec3Real64> colour(Array::ArrayCreate<Array2dVec3Real64>(width, height, 0, 0));
    for (long long y = 0; y < height; ++y)
    {
        const unsigned char* s = image->PixelPtr(0, y);
        double* d = colour->PixelPtr(0, y);
        for (long long x = 0; x < width; ++x)
        {
            const double r = s[3 * x];
            const double g = s[3 * x + 1];
            const double b = s[3 * x + 2];
            const double e = (0.000233846 * r + 0.00261968 * g + 0.00127135 * b) * 255;
            const double el = (0.000726333 * r + 0.000718106 * g - 0.00121377 * b) * 255;
            const double ell = (0.000846833 * r - 0.00173932 * g + 0.000221515 * b) * 255;
            d[3 * x] = e * 0.065;
            d[3 * x + 1] = el * 0.85;
            d[3 * x + 2] = ell * 0.524;
        }
    }

    Timer timer;
    timer.Start();
    std::vector<MyPoint*> points;
    HarrisLadder(*this, points, colour.get(), harrisThreshold, k, true);
    TLOG_INFO(sLog, "Harris corner detector found " << points.size() << " points");
    TLOG_DEBUG(sLog, "[Timing2] HarrisCornerDetector " << Timer::Format(timer.SplitTime()));

    timer.Start();
    PointDescriptorTable* table = new PointDescriptorTable(FeatureDefinition(""));
    laplacianScaleSelection(table, colour.get(), points, laplaceThreshold);
    FreePoints(points);
    TLOG_INFO(sLog, "Laplacian scale selection left " << table->Size() << " points");
    TLOG_DEBUG(sLog, "[Timing2] LaplacianScaleSelection" << Timer::Format(timer.SplitTime()));
    Table::SortOnColumn5(table, false);
    return table;
}

template void HarrisLaplaceDetector::harrisCornerDetector<Array2dVec3Real64>(std::vector<MyPoint*>&,
                                                                             Array2dVec3Real64*, double, double,
                                                                             double);
template PointDescriptorTable* HarrisLaplaceDetector::HLDetector<Array2dVec3UInt8>(Array2dVec3UInt8*, double,
                                                                                   double, double);
template void HarrisLaplaceDetector::laplacianScaleSelection<Array2dReal64>(PointDescriptorTable*, Array2dReal64*,
                                                                            std::vector<MyPoint*>&, double);
template void HarrisLaplaceDetector::laplacianScaleSelection<Array2dVec3Real64>(PointDescriptorTable*,
                                                                                Array2dVec3Real64*,
                                                                                std::vector<MyPoint*>&, double);

} // namespace Feature
} // namespace Core
} // namespace Tavlin
