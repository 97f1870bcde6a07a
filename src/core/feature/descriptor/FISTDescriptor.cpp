#include "core/feature/descriptor/FISTDescriptor.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <iostream>
#include <memory>
#include <string>
#include <tuple>

#include "basis/CpuFeatures.h"
#include "basis/Report.h"
#include "basis/Timer.h"
#include "core/array/ArrayFactories.h"
#include "core/array/GradientMagnitude.h"
#include "core/array/RecGauss.h"

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace Tavlin
{
namespace Core
{
namespace Feature
{

using Array::Array2dReal64;

namespace
{

// The full turn as the orientation arithmetic has it; not quite 2 pi.
const double kTwoPi = 6.283185308;
// The clipping level is the single-precision value of 0.2.
const double kClip = 0.20000000298023224;
// Distinct footprints kept per ladder level; points of one level rarely have more.
const int kFootprintCacheSize = 4;
// Rows a band of spread bins holds above and below the tallest footprint of its level,
// and the most pixels it may hold (eight doubles each). Points come in bands of rows,
// so their windows go up and down a little while they move down the image.
const long long kBandSlack = 48;
const long long kBandPixels = 1LL << 18;
// Angles are brought into one turn by repeated subtraction, whose cost grows with the
// orientation: points turned further than this (or not a number) are refused.
const double kMaxOrientation = 4096 * kTwoPi;

log4cpp::Category& sLog = log4cpp::Category::getInstance("Core.Feature.FISTDescriptor");

// True when static_cast<int32_t> of v is defined (the value truncated fits).
inline bool FitsInt32(double v)
{
    return v > -2147483649.0 && v < 2147483648.0;
}

// A point whose orientation the angle reduction can handle and whose rounded position
// is an int; anything else (not a number included) gets no descriptor.
inline bool PointInRange(double orientation, double x, double y)
{
    return std::fabs(orientation) <= kMaxOrientation && FitsInt32(x + 0.5) && FitsInt32(y + 0.5);
}

// row is the point's row in its table, or -1 when not known; x and y are 0-based.
bool PointUsable(double orientation, int row, double x, double y)
{
    if (PointInRange(orientation, x, y))
        return true;
    if (std::fabs(orientation) > kMaxOrientation || std::isnan(orientation))
        TLOG_WARN(sLog, "Point " << (row >= 0 ? std::to_string(row) + " " : std::string()) << "at x " << x << ", y "
                                 << y << " (0-based) refused: orientation " << orientation
                                 << " is out of range; its descriptor stays zero");
    else
        TLOG_WARN(sLog, "Point " << (row >= 0 ? std::to_string(row) + " " : std::string()) << "at x " << x << ", y "
                                 << y << " (0-based) refused: position is out of range; its descriptor stays zero");
    return false;
}

// Half side of the square that holds a footprint's taps; -1 for a scale no int holds.
inline int FootprintRadius(double scale, double spatialBins)
{
    const double radius = 3.0 * scale * 1.414 * spatialBins * 0.5 + 0.5;
    return FitsInt32(radius) ? static_cast<int32_t>(radius) : -1;
}

// Per image row, the runs of columns that some footprint of a level reads (sorted,
// apart). Gradient angles cost most of a level, so they are computed only there.
struct ReadSpans
{
    std::vector<std::vector<std::pair<long long, long long>>> runs;
    std::vector<std::tuple<long long, long long, long long, long long>> rectangles; // x0, x1, y0, y1
    long long width = 0;

    void Clear(long long w, long long height)
    {
        width = w;
        runs.resize(static_cast<size_t>(height));
        for (std::vector<std::pair<long long, long long>>& r : runs)
            r.clear();
        rectangles.clear();
    }

    // Columns x0 .. x1 of rows y0 .. y1, clipped to the image.
    void AddRectangle(long long x0, long long x1, long long y0, long long y1)
    {
        y0 = std::max<long long>(y0, 0);
        y1 = std::min<long long>(y1, static_cast<long long>(runs.size()) - 1);
        x0 = std::max<long long>(x0, 0);
        x1 = std::min<long long>(x1, width - 1);
        if (x0 <= x1 && y0 <= y1)
            rectangles.emplace_back(x0, x1, y0, y1);
    }

    // The runs of all rectangles added: taken from left to right, each row's runs come
    // in order and merge with the last one where they touch.
    void MakeRuns()
    {
        std::sort(rectangles.begin(), rectangles.end());
        for (const std::tuple<long long, long long, long long, long long>& r : rectangles)
        {
            const long long x0 = std::get<0>(r);
            const long long x1 = std::get<1>(r);
            for (long long y = std::get<2>(r); y <= std::get<3>(r); ++y)
            {
                std::vector<std::pair<long long, long long>>& row = runs[y];
                if (!row.empty() && x0 <= row.back().second + 1)
                    row.back().second = std::max(row.back().second, x1);
                else
                    row.emplace_back(x0, x1);
            }
        }
    }

    // Pixels from each row's first read column to its last, gaps included.
    long long HullPixels() const
    {
        long long pixels = 0;
        for (const std::vector<std::pair<long long, long long>>& row : runs)
            if (!row.empty())
                pixels += row.back().second - row.front().first + 1;
        return pixels;
    }
};

// Orientation bin and fraction of angle a (already relative to the point's
// orientation); false when the fraction leaves [0, 1].
inline bool OrientationBin(double a, double bins, int& o0, double& fo)
{
    if (std::isfinite(a))
    {
        while (a > kTwoPi)
            a -= kTwoPi;
        while (a < 0)
            a += kTwoPi;
    }
    const double obin = a * bins / kTwoPi;
    const double o0f = std::floor(obin);
    fo = obin - o0f;
    if (!(fo >= 0.0 && fo <= 1.0))
        return false;
    o0 = static_cast<int>(o0f);
    return true;
}

// 1 / norm when the sum of the row's powers is above the threshold (or not a number),
// else 1: nearly empty histograms keep their size.
inline double FactorOfSum(double sum, double norm)
{
    if (sum > 0.0001 || sum != sum)
        return 1.0 / norm;
    return 1.0;
}

void ReportFractions(double fr, double fc, double fo)
{
    std::cerr << "[Failure] Fractions outside valid range " << fr << " " << fc << " " << fo << std::endl;
}

// Adds one weighted sample to the up to four grid cells of a tap and its two
// orientation bins. The products keep the order w x row weight x column weight x
// orientation weight.
template <class TapT, int SpatialBinsT, int OrientationBinsT>
inline void Deposit(double* row, const TapT& tap, double w, int o0, int o1, double fo)
{
    const double go = 1.0 - fo;
    if (tap.cells & 3u)
    {
        const double wr = w * (1.0 - tap.fr);
        if (tap.cells & 1u)
        {
            const double wrc = wr * (1.0 - tap.fc);
            double* cell = row + tap.cell;
            cell[o0] += wrc * go;
            cell[o1] += wrc * fo;
        }
        if (tap.cells & 2u)
        {
            const double wrc = wr * tap.fc;
            double* cell = row + tap.cell + OrientationBinsT;
            cell[o0] += wrc * go;
            cell[o1] += wrc * fo;
        }
    }
    if (tap.cells & 12u)
    {
        const double wr = w * tap.fr;
        if (tap.cells & 4u)
        {
            const double wrc = wr * (1.0 - tap.fc);
            double* cell = row + tap.cell + SpatialBinsT * OrientationBinsT;
            cell[o0] += wrc * go;
            cell[o1] += wrc * fo;
        }
        if (tap.cells & 8u)
        {
            const double wrc = wr * tap.fc;
            double* cell = row + tap.cell + SpatialBinsT * OrientationBinsT + OrientationBinsT;
            cell[o0] += wrc * go;
            cell[o1] += wrc * fo;
        }
    }
}

// The central difference (-0.5, 0, 0.5) of three samples, with its sum taken as the
// three-tap filter takes it: from 0.0, tap by tap.
inline double CentralDifference(double before, double at, double after)
{
    double sum = 0.0;
    sum += -0.5 * before;
    sum += 0.0 * at;
    sum += 0.5 * after;
    return sum;
}

// Magnitude and orientation of the gradient of `channel` smoothed at `sigma`, where
// `spans` says they are read. The differences of the two smoothed planes are taken
// there only, the mirrored edge repeating the edge pixel. With `bins` and `fractions`
// (planes of the image's size) also each pixel's orientation bin and fraction at
// orientation 0, the bin -1 where the fraction is out of range.
// Orientation bins and fractions at orientation 0 of the angles a[x0 .. x1 - 1], which
// are negated two-argument arc tangents (or -0.0): within one half turn of 0, so one
// addition of a turn brings the negative ones into [0, 2 pi], as the repeated addition
// does. Bin 8 becomes 0; -1 marks a fraction out of range.
template <int OrientationBinsT>
TAVLIN_ALWAYS_INLINE void BinsOfRun(const double* a, int8_t* bin, double* fraction, long long x0, long long x1)
{
    for (long long x = x0; x < x1; ++x)
    {
        int o0 = 0;
        double fo = 0.0;
        if (OrientationBin(a[x] - 0.0, OrientationBinsT, o0, fo))
            bin[x] = static_cast<int8_t>(o0 >= OrientationBinsT ? 0 : o0);
        else
            bin[x] = -1;
        fraction[x] = fo;
    }
}

#if defined(__x86_64__)
TAVLIN_TARGET_AVX2 void BinsOfRunAvx2(const double* a, int8_t* bin, double* fraction, long long x0, long long x1)
{
    const __m256d zero = _mm256_setzero_pd();
    const __m256d one = _mm256_set1_pd(1.0);
    const __m256d turn = _mm256_set1_pd(kTwoPi);
    const __m256d bins = _mm256_set1_pd(8.0);
    const __m128i last = _mm_set1_epi32(7);
    const __m128i none = _mm_set1_epi32(-1);
    long long x = x0;
    for (; x + 4 <= x1; x += 4)
    {
        __m256d v = _mm256_sub_pd(_mm256_loadu_pd(a + x), zero);
        v = _mm256_blendv_pd(v, _mm256_add_pd(v, turn), _mm256_cmp_pd(v, zero, _CMP_LT_OQ));
        const __m256d obin = _mm256_div_pd(_mm256_mul_pd(v, bins), turn);
        const __m256d o0f = _mm256_round_pd(obin, _MM_FROUND_TO_NEG_INF | _MM_FROUND_NO_EXC);
        const __m256d fo = _mm256_sub_pd(obin, o0f);
        _mm256_storeu_pd(fraction + x, fo);
        const __m256d ok = _mm256_and_pd(_mm256_cmp_pd(fo, zero, _CMP_GE_OQ), _mm256_cmp_pd(fo, one, _CMP_LE_OQ));
        // Lanes out of range are replaced before their bin is used.
        const __m256d o0safe = _mm256_blendv_pd(zero, o0f, ok);
        __m128i o0 = _mm256_cvttpd_epi32(o0safe);
        o0 = _mm_andnot_si128(_mm_cmpgt_epi32(o0, last), o0);
        const __m128i okLanes = _mm256_cvtpd_epi32(_mm256_blendv_pd(zero, one, ok));
        o0 = _mm_blendv_epi8(none, o0, _mm_cmpeq_epi32(okLanes, _mm_set1_epi32(1)));
        const __m128i bytes = _mm_shuffle_epi8(o0, _mm_setr_epi8(0, 4, 8, 12, -1, -1, -1, -1, -1, -1, -1, -1, -1,
                                                                  -1, -1, -1));
        const int packed = _mm_cvtsi128_si32(bytes);
        std::memcpy(bin + x, &packed, sizeof(packed));
    }
    BinsOfRun<8>(a, bin, fraction, x, x1);
}
#endif

template <int OrientationBinsT>
void BinsOfRuns(const double* a, int8_t* bin, double* fraction, long long x0, long long x1)
{
#if defined(__x86_64__)
    if (OrientationBinsT == 8 && CpuHasAvx2())
    {
        BinsOfRunAvx2(a, bin, fraction, x0, x1);
        return;
    }
#endif
    BinsOfRun<OrientationBinsT>(a, bin, fraction, x0, x1);
}

// Differences of columns x0 .. x1 - 1 of a row: `h` the row smoothed for
// the x derivative, `above`, `at` and `below` three rows smoothed for the y derivative.
// The mirrored edge repeats the edge pixel; the edge columns are taken apart, so that
// the inner ones run without index tests.
TAVLIN_ALWAYS_INLINE void GradientRun(const double* h, const double* above, const double* at, const double* below,
                                      double* gx, double* gy, long long x0, long long x1, long long width)
{
    if (x0 == 0)
        gx[0] = CentralDifference(h[0], h[0], h[width > 1 ? 1 : 0]);
    if (x1 == width && width > 1)
        gx[width - 1] = CentralDifference(h[width - 2], h[width - 1], h[width - 1]);
    for (long long x = std::max<long long>(x0, 1); x < std::min<long long>(x1, width - 1); ++x)
        gx[x] = CentralDifference(h[x - 1], h[x], h[x + 1]);
    for (long long x = x0; x < x1; ++x)
        gy[x] = CentralDifference(above[x], at[x], below[x]);
}

#if defined(__x86_64__)
TAVLIN_TARGET_AVX2 void GradientRunAvx2(const double* h, const double* above, const double* at, const double* below,
                                        double* gx, double* gy, long long x0, long long x1, long long width)
{
    GradientRun(h, above, at, below, gx, gy, x0, x1, width);
}
#endif

// Magnitude and orientation of the gradient of `channel` smoothed at `sigma`, on the
// runs of `spans`. The differences of the two smoothed planes are taken there only,
// the mirrored edge repeating the edge pixel. With `bins` and `fractions` (planes of
// the image's size) also each pixel's orientation bin and fraction at orientation 0,
// the bin -1 where the fraction is out of range. Without an angle plane the angles
// only pass through a row on their way to the bins.
template <int OrientationBinsT>
void LevelGradients(Array2dReal64* channel, double sigma, Array2dReal64* magnitude, Array2dReal64* angle,
                    const ReadSpans& spans, int8_t* bins, double* fractions)
{
    std::unique_ptr<Array2dReal64> sx(Array::RecGaussSmoothing(channel, sigma, sigma, 1, 0, 3));
    std::unique_ptr<Array2dReal64> sy(Array::RecGaussSmoothing(channel, sigma, sigma, 0, 1, 3));
    const long long width = channel->mWidth;
    const long long height = channel->mHeight;
    std::vector<double> gxRow(static_cast<size_t>(width));
    std::vector<double> gyRow(static_cast<size_t>(width));
    std::vector<double> angleRow(angle ? 0 : static_cast<size_t>(width));
    double* gx = gxRow.data();
    double* gy = gyRow.data();
    for (long long y = 0; y < height; ++y)
    {
        const double* h = sx->PixelPtr(0, y);
        const double* above = sy->PixelPtr(0, y > 0 ? y - 1 : 0);
        const double* at = sy->PixelPtr(0, y);
        const double* below = sy->PixelPtr(0, y + 1 < height ? y + 1 : height - 1);
        double* m = magnitude->PixelPtr(0, y);
        double* a = angle ? angle->PixelPtr(0, y) : angleRow.data();
        for (const std::pair<long long, long long>& run : spans.runs[y])
        {
            const long long x0 = run.first;
            const long long x1 = std::min(run.second + 1, width);
#if defined(__x86_64__)
            if (CpuHasAvx2())
                GradientRunAvx2(h, above, at, below, gx, gy, x0, x1, width);
            else
#endif
                GradientRun(h, above, at, below, gx, gy, x0, x1, width);
            Array::GradientMagnitude(gx + x0, gy + x0, m + x0, x1 - x0);
            for (long long x = x0; x < x1; ++x)
            {
                double t = std::atan2(gy[x], gx[x]);
                if (t != t)
                    t = 0.0;
                a[x] = -t;
            }
            if (bins)
                BinsOfRuns<OrientationBinsT>(a, bins + y * width, fractions + y * width, x0, x1);
        }
    }
}

// The deposits of one footprint grouped by grid cell, as raw arrays.
struct CellDeposits
{
    int cells;
    const int32_t* start;
    const int32_t* i;
    const int32_t* j;
    const double* weight;
    const double* rowFactor;
    const double* columnFactor;
};

#if defined(__x86_64__)
// The histogram of a point at orientation 0 with eight orientation bins, cell by cell,
// each cell's eight values in two registers. The terms and their order per value are
// those of the tap-by-tap walk: w = magnitude x weight, then (w x row factor) x column
// factor = wrc, times the pixel's eight spread bins (see OrientationPlanes). That gives
// wrc x (1 - fo) and wrc x fo in bins o0 and o0 + 1 and +0 in the others, and adding
// +0 leaves a sum of such terms as it is; so the magnitudes must be finite. Planes are
// `width` wide and addressed from the point's pixel; without InsideT, pixels outside
// the image are skipped.
// One term of AccumulateSpreadAvx2 for deposit e.
template <bool InsideT>
TAVLIN_TARGET_AVX2 TAVLIN_ALWAYS_INLINE void AddSpreadTerm(__m256d& low, __m256d& high, const CellDeposits& d,
                                                           const long long* offset, int e, const double* magnitude,
                                                           const double* spread, long long ix, long long iy,
                                                           long long width, long long height)
{
    if (!InsideT && (static_cast<unsigned long long>(iy + d.i[e]) >= static_cast<unsigned long long>(height) ||
                     static_cast<unsigned long long>(ix + d.j[e]) >= static_cast<unsigned long long>(width)))
        return;
    const long long p = offset[e];
    const double w = magnitude[p] * d.weight[e];
    const __m256d wrc = _mm256_set1_pd(w * d.rowFactor[e] * d.columnFactor[e]);
    const double* bins = spread + 8 * p;
    low = _mm256_add_pd(low, _mm256_mul_pd(wrc, _mm256_loadu_pd(bins)));
    high = _mm256_add_pd(high, _mm256_mul_pd(wrc, _mm256_loadu_pd(bins + 4)));
}

template <bool InsideT>
TAVLIN_TARGET_AVX2 void AccumulateSpreadAvx2(double* row, const CellDeposits& d, const long long* offset,
                                             const double* magnitude, const double* spread, long long ix,
                                             long long iy, long long width, long long height)
{
    // Two cells at a time, so that two chains of additions overlap.
    int c = 0;
    for (; c + 2 <= d.cells; c += 2)
    {
        double* out = row + 8 * c;
        __m256d low0 = _mm256_loadu_pd(out);
        __m256d high0 = _mm256_loadu_pd(out + 4);
        __m256d low1 = _mm256_loadu_pd(out + 8);
        __m256d high1 = _mm256_loadu_pd(out + 12);
        int e0 = d.start[c];
        int e1 = d.start[c + 1];
        const int end0 = d.start[c + 1];
        const int end1 = d.start[c + 2];
        for (; e0 < end0 && e1 < end1; ++e0, ++e1)
        {
            AddSpreadTerm<InsideT>(low0, high0, d, offset, e0, magnitude, spread, ix, iy, width, height);
            AddSpreadTerm<InsideT>(low1, high1, d, offset, e1, magnitude, spread, ix, iy, width, height);
        }
        for (; e0 < end0; ++e0)
            AddSpreadTerm<InsideT>(low0, high0, d, offset, e0, magnitude, spread, ix, iy, width, height);
        for (; e1 < end1; ++e1)
            AddSpreadTerm<InsideT>(low1, high1, d, offset, e1, magnitude, spread, ix, iy, width, height);
        _mm256_storeu_pd(out, low0);
        _mm256_storeu_pd(out + 4, high0);
        _mm256_storeu_pd(out + 8, low1);
        _mm256_storeu_pd(out + 12, high1);
    }
    for (; c < d.cells; ++c)
    {
        double* out = row + 8 * c;
        __m256d low = _mm256_loadu_pd(out);
        __m256d high = _mm256_loadu_pd(out + 4);
        for (int e = d.start[c]; e < d.start[c + 1]; ++e)
            AddSpreadTerm<InsideT>(low, high, d, offset, e, magnitude, spread, ix, iy, width, height);
        _mm256_storeu_pd(out, low);
        _mm256_storeu_pd(out + 4, high);
    }
}
#endif

#if defined(__x86_64__)
// Values b[0], b[8], b[down] and b[down + 8]: one bin of a square of four cells.
template <int down>
TAVLIN_TARGET_AVX2 TAVLIN_ALWAYS_INLINE __m256d LoadCells(const double* b)
{
    return _mm256_set_pd(b[down + 8], b[down], b[8], b[0]);
}

template <int down>
TAVLIN_TARGET_AVX2 TAVLIN_ALWAYS_INLINE void StoreCells(double* b, __m256d v)
{
    const __m128d lower = _mm256_castpd256_pd128(v);
    const __m128d upper = _mm256_extractf128_pd(v, 1);
    _mm_storel_pd(b, lower);
    _mm_storeh_pd(b + 8, lower);
    _mm_storel_pd(b + down, upper);
    _mm_storeh_pd(b + down + 8, upper);
}
#endif

#if defined(__x86_64__)
// The tap walk of a point at orientation 0 (4 x 4 cells, 8 bins), row by row, with the
// histogram in a grid padded by one cell on every side, so that every tap adds to all
// four of its cells without tests: cells off the grid land in the padding and are
// dropped. The four products w x row weight x column weight are made side by side, the
// row weights taken once per row and the column weights from the footprint's table. The
// eight values a tap adds to stay in registers while the taps that follow add to the
// same ones (same cells, same bins), as neighbouring pixels mostly do; each value still
// adds the same terms in the same order. Rows firstI .. lastI and columns firstJ ..
// lastJ of the footprint, all inside the image; mag, bin and fraction are at the point.
template <class TapT>
TAVLIN_TARGET_AVX2 void WalkAtZeroRowsAvx2(double* row, const TapT* taps, const int32_t* rowStart,
                                           const double* rowWeights, const int32_t* rowCells,
                                           const double* columnWeights, const int32_t* columnCells, long long minI,
                                           long long minJ, long long firstI, long long lastI, long long firstJ,
                                           long long lastJ, const double* mag, long long stride, const int8_t* bin,
                                           const double* fraction, long long width)
{
    const int side = 6;
    constexpr int down = 6 * 8;
    alignas(32) double grid[side * side * 8];
    std::memset(grid, 0, sizeof(grid));
    for (int r = 0; r < 4; ++r)
        std::memcpy(grid + ((r + 1) * side + 1) * 8, row + r * 32, 32 * sizeof(double));
    double* held0 = nullptr;
    double* held1 = nullptr;
    __m256d low = _mm256_setzero_pd();
    __m256d high = _mm256_setzero_pd();
    for (long long i = firstI; i <= lastI; ++i)
    {
        const long long r = i - minI;
        const __m256d rowWeight = _mm256_loadu_pd(rowWeights + 4 * r);
        double* gridRow = grid + rowCells[r];
        const TapT* tap = taps + rowStart[r] + (firstJ - minJ);
        const double* m = mag + i * stride;
        const int8_t* b = bin + i * width;
        const double* f = fraction + i * width;
        for (long long j = firstJ; j <= lastJ; ++j, ++tap)
        {
            const long long c = j - minJ;
            const double w = m[j] * tap->weight;
            const int o0 = b[j];
            const double fo = f[j];
            if (o0 < 0)
            {
                ReportFractions(tap->fr, tap->fc, fo);
                continue;
            }
            double* b0 = gridRow + columnCells[c] + o0;
            if (b0 != held0)
            {
                if (held0)
                {
                    StoreCells<down>(held0, low);
                    StoreCells<down>(held1, high);
                }
                held0 = b0;
                held1 = gridRow + columnCells[c] + (o0 + 1 == 8 ? 0 : o0 + 1);
                low = LoadCells<down>(held0);
                high = LoadCells<down>(held1);
            }
            const __m256d wrc = _mm256_mul_pd(_mm256_mul_pd(_mm256_set1_pd(w), rowWeight),
                                              _mm256_loadu_pd(columnWeights + 4 * c));
            low = _mm256_add_pd(low, _mm256_mul_pd(wrc, _mm256_set1_pd(1.0 - fo)));
            high = _mm256_add_pd(high, _mm256_mul_pd(wrc, _mm256_set1_pd(fo)));
        }
    }
    if (held0)
    {
        StoreCells<down>(held0, low);
        StoreCells<down>(held1, high);
    }
    for (int r = 0; r < 4; ++r)
        std::memcpy(row + r * 32, grid + ((r + 1) * side + 1) * 8, 32 * sizeof(double));
}
#endif

// The start of a band of spread bins in its store (eight doubles more than the band):
// each pixel's eight values on one cache line.
inline double* SpreadBand(std::vector<double>& store)
{
    const uintptr_t at = reinterpret_cast<uintptr_t>(store.data());
    return store.data() + ((64 - at % 64) % 64) / sizeof(double);
}

// Rows first .. first + rows - 1 of the orientation planes spread out into `spread`,
// eight values a pixel. Pixels that no footprint reads hold stale bins of 0 to 7 (or
// -1), which the mask keeps inside the eight values.
void SpreadBins(double* spread, const int8_t* bin, const double* fraction, long long width, long long first,
                long long rows)
{
    const long long count = rows * width;
    const int8_t* o0 = bin + first * width;
    const double* fo = fraction + first * width;
    for (long long p = 0; p < count; ++p)
    {
        double* bins = spread + 8 * p;
        for (int k = 0; k < 8; ++k)
            bins[k] = 0.0;
        const int o = o0[p] & 7;
        bins[o] = 1.0 - fo[p];
        bins[(o + 1) & 7] = fo[p];
    }
}

// Whether the vector loop gives the same sums on this level: every bin read in range
// (out-of-range bins are reported tap by tap) and every magnitude read finite.
bool LevelIsPlain(const int8_t* bins, Array2dReal64* magnitude, const ReadSpans& spans)
{
    const long long width = magnitude->mWidth;
    bool plain = true;
    for (long long y = 0; y < magnitude->mHeight; ++y)
    {
        // Rows nobody reads have no bins to address (none at all on a level without
        // points at orientation 0).
        if (spans.runs[y].empty())
            continue;
        const int8_t* bin = bins + y * width;
        const double* m = magnitude->PixelPtr(0, y);
        for (const std::pair<long long, long long>& run : spans.runs[y])
            for (long long x = run.first; x <= run.second; ++x)
                plain = plain && bin[x] >= 0 && std::isfinite(m[x]);
    }
    return plain;
}

} // namespace

template <int SpatialBinsT, int OrientationBinsT>
const double FISTDescriptor<SpatialBinsT, OrientationBinsT>::sScaleLadder[LadderLevels + 1] = {
    1.00794, 1.26992, 1.6,     2.01587, 2.53984, 3.2,    4.03175, 5.07968, 6.4,  8.06349,
    10.1594, 12.8,    16.127,  20.3187, 25.6,    32.254, 40.6375, 51.2,    -1.0};

template <int SpatialBinsT, int OrientationBinsT>
FISTDescriptor<SpatialBinsT, OrientationBinsT>::FISTDescriptor()
    : mNoGaussianWeight(false), mOutputScale(512.0), mCustomNorm(-1)
{
}

template <int SpatialBinsT, int OrientationBinsT>
int FISTDescriptor<SpatialBinsT, OrientationBinsT>::LevelOfScale(double scale)
{
    for (int i = 0; i < LadderLevels; ++i)
        if (scale < sScaleLadder[i + 1] && (i == 0 || scale >= sScaleLadder[i]))
            return i;
    return -1;
}

template <int SpatialBinsT, int OrientationBinsT>
Array2dReal64* FISTDescriptor<SpatialBinsT, OrientationBinsT>::DoCalculateFISTDescriptors(
    Array2dReal64* channel, PointDescriptorTable* table)
{
    const int size = table->Size();
    Array2dReal64* result = Array::ArrayCreate<Array2dReal64>(DescriptorLength, size, 0, 0);
    if (size == 0)
        return result;
    // Rows outside the ladder are never written; zero keeps them harmless downstream.
    std::memset(result->mData, 0, static_cast<size_t>(size) * DescriptorLength * sizeof(double));
    DoCalculateFISTDescriptorsInto(channel, table, result->mData, DescriptorLength);
    return result;
}

template <int SpatialBinsT, int OrientationBinsT>
void FISTDescriptor<SpatialBinsT, OrientationBinsT>::DoCalculateFISTDescriptorsInto(Array2dReal64* channel,
                                                                                    PointDescriptorTable* table,
                                                                                    double* rows, long long stride)
{
    const int size = table->Size();
    if (size == 0)
        return;

    // Points by level, table order kept within each level.
    std::vector<int> levelOf(size);
    std::vector<int> levelStart(LadderLevels + 1, 0);
    const double* xs = table->X();
    const double* ys = table->Y();
    const double* scales = table->Scale();
    const double* orientations = table->Orientation();
    for (int k = 0; k < size; ++k)
    {
        levelOf[k] = LevelOfScale(scales[k]);
        if (levelOf[k] >= 0)
            ++levelStart[levelOf[k] + 1];
    }
    for (int i = 0; i < LadderLevels; ++i)
        levelStart[i + 1] += levelStart[i];
    std::vector<int> order(levelStart[LadderLevels]);
    {
        std::vector<int> fill(levelStart.begin(), levelStart.end() - 1);
        for (int k = 0; k < size; ++k)
            if (levelOf[k] >= 0)
                order[fill[levelOf[k]]++] = k;
    }
    if (order.empty())
        return;

    std::unique_ptr<Array2dReal64> magnitude(Array::ArrayCreate<Array2dReal64>(channel->mWidth, channel->mHeight, 0, 0));
    // The angle plane only for points turned away from orientation 0; those at 0 read
    // the orientation planes.
    std::unique_ptr<Array2dReal64> angle;
    std::vector<Footprint> cache(kFootprintCacheSize);
    OrientationPlanes planes;
    ReadSpans spans;
    std::vector<std::tuple<long long, long long, int>> usable; // band of rows, column, table row
    // Rows are normalised a few at a time, which lets their sums overlap.
    double* pending[NormaliseBatch];
    int pendingCount = 0;

    for (int level = 0; level < LadderLevels; ++level)
    {
        if (levelStart[level] == levelStart[level + 1])
            continue;
        spans.Clear(channel->mWidth, channel->mHeight);
        // Footprints grow with the level: the last level's go, memory and all.
        for (Footprint& f : cache)
            f = Footprint();
        int nextSlot = 0;
        // The footprint of a point from the level's cache, made when missing.
        auto footprintOf = [&](double scale, double fx, double fy, double orientation) -> Footprint& {
            for (Footprint& f : cache)
                if (f.valid && f.scale == scale && f.fx == fx && f.fy == fy && f.orientation == orientation)
                    return f;
            Footprint& made = cache[nextSlot];
            MakeFootprint(made, scale, fx, fy, orientation);
            nextSlot = (nextSlot + 1) % kFootprintCacheSize;
            return made;
        };
        // Gradients are needed where some footprint has a tap. The usable points are
        // then taken in bands of rows, left to right, so that the footprints of one
        // point after another overlap in the cache.
        bool anyAtZero = false;
        long long tallest = 0;
        long long atZero = 0;
        usable.clear();
        for (int n = levelStart[level]; n < levelStart[level + 1]; ++n)
        {
            const int k = order[n];
            if (!PointUsable(orientations[k], k, xs[k], ys[k]))
                continue;
            const long long ix = static_cast<int32_t>(xs[k] + 0.5);
            const long long iy = static_cast<int32_t>(ys[k] + 0.5);
            usable.push_back({iy >> 5, ix, k});
            const Footprint& f = footprintOf(scales[k], xs[k] - ix, ys[k] - iy, orientations[k]);
            if (!f.taps.empty())
                spans.AddRectangle(ix + f.minJ, ix + f.maxJ, iy + f.minI, iy + f.maxI);
            if (orientations[k] == 0.0 && !std::signbit(orientations[k]))
            {
                anyAtZero = true;
                ++atZero;
                tallest = std::max<long long>(tallest, f.maxI - f.minI + 1);
            }
            else if (!angle)
            {
                angle.reset(Array::ArrayCreate<Array2dReal64>(channel->mWidth, channel->mHeight, 0, 0));
            }
        }
        spans.MakeRuns();
        if (anyAtZero && planes.o0.empty())
        {
            planes.o0.resize(static_cast<size_t>(channel->mWidth * channel->mHeight));
            planes.fo.resize(planes.o0.size());
        }
        LevelGradients<OrientationBinsT>(channel, sScaleLadder[level], magnitude.get(), angle.get(), spans,
                                         anyAtZero ? planes.o0.data() : nullptr,
                                         anyAtZero ? planes.fo.data() : nullptr);
        planes.bandRows = 0;
        planes.bandCapacity = 0;
        // Spreading the bins costs about two passes over the rows read; it pays where
        // the footprints read each pixel many times, as on a dense grid.
        const long long spanPixels = spans.HullPixels();
        const long long capacity = std::min<long long>(tallest + 2 * kBandSlack, channel->mHeight);
        if (OrientationBinsT == 8 && atZero > 0 && atZero * tallest * tallest >= 4 * spanPixels && CpuHasAvx2() &&
            capacity * channel->mWidth <= kBandPixels &&
            LevelIsPlain(planes.o0.data(), magnitude.get(), spans))
        {
            planes.bandCapacity = capacity;
            planes.spread.resize(static_cast<size_t>(capacity * channel->mWidth * 8 + 8));
        }
        std::sort(usable.begin(), usable.end());
        for (const std::tuple<long long, long long, int>& u : usable)
        {
            const int k = std::get<2>(u);
            const double scale = scales[k];
            const double orientation = orientations[k];
            const long long ix = static_cast<int32_t>(xs[k] + 0.5);
            const long long iy = static_cast<int32_t>(ys[k] + 0.5);
            Footprint* footprint = &footprintOf(scale, xs[k] - ix, ys[k] - iy, orientation);
            double* row = rows + static_cast<size_t>(k) * stride;
            if (orientation == 0.0 && !std::signbit(orientation))
            {
                if (planes.bandCapacity > 0 && footprint->offsetWidth != channel->mWidth)
                    MakeCellDeposits(*footprint, channel->mWidth);
                AccumulateAtZero(row, *footprint, magnitude.get(), planes, ix, iy);
            }
            else
            {
                Accumulate(row, *footprint, magnitude.get(), angle.get(), ix, iy, orientation);
            }
            pending[pendingCount++] = row;
            if (pendingCount == NormaliseBatch)
            {
                NormaliseRows(pending, pendingCount);
                pendingCount = 0;
            }
        }
    }
    NormaliseRows(pending, pendingCount);
}

template <int SpatialBinsT, int OrientationBinsT>
Array2dReal64* FISTDescriptor<SpatialBinsT, OrientationBinsT>::DoCalculateFISTDescriptorsAndEat(
    Array2dReal64* channel, PointDescriptorTable* table)
{
    static log4cpp::Category& sLog = log4cpp::Category::getInstance("Core.Feature.DoCalculateFISTDescriptorsAndEat");
    Timer timer;
    Array2dReal64* result = DoCalculateFISTDescriptors(channel, table);
    TLOG_DEBUG(sLog, "FIST channel in " << timer.SplitTimeStr());
    delete channel;
    return result;
}

template <int SpatialBinsT, int OrientationBinsT>
void FISTDescriptor<SpatialBinsT, OrientationBinsT>::DoCalculateFISTDescriptorsIntoAndEat(
    Array2dReal64* channel, PointDescriptorTable* table, double* rows, long long stride)
{
    static log4cpp::Category& sLog = log4cpp::Category::getInstance("Core.Feature.DoCalculateFISTDescriptorsAndEat");
    Timer timer;
    DoCalculateFISTDescriptorsInto(channel, table, rows, stride);
    TLOG_DEBUG(sLog, "FIST channel in " << timer.SplitTimeStr());
    delete channel;
}

template <int SpatialBinsT, int OrientationBinsT>
void FISTDescriptor<SpatialBinsT, OrientationBinsT>::InternalSample(double* row, Array2dReal64* magnitude,
                                                                    Array2dReal64* angle, double scale, double y,
                                                                    double x, double orientation)
{
    if (!PointUsable(orientation, -1, x, y))
        return;
    const long long ix = static_cast<int32_t>(x + 0.5);
    const long long iy = static_cast<int32_t>(y + 0.5);
    Footprint footprint;
    MakeFootprint(footprint, scale, x - ix, y - iy, orientation);
    Accumulate(row, footprint, magnitude, angle, ix, iy, orientation);
}

template <int SpatialBinsT, int OrientationBinsT>
void FISTDescriptor<SpatialBinsT, OrientationBinsT>::MakeFootprint(Footprint& footprint, double scale, double fx,
                                                                   double fy, double orientation) const
{
    const double bins = SpatialBinsT;
    const double half = SpatialBinsT * 0.5;
    footprint.scale = scale;
    footprint.fx = fx;
    footprint.fy = fy;
    footprint.orientation = orientation;
    footprint.valid = true;
    footprint.minI = 0;
    footprint.maxI = 0;
    footprint.minJ = 0;
    footprint.maxJ = 0;
    footprint.taps.clear();
    footprint.rowStart.assign(1, 0);
    footprint.rowWeights.clear();
    footprint.rowCells.clear();
    footprint.columnWeights.clear();
    footprint.columnCells.clear();
    // The cell deposits of an earlier footprint are stale until MakeCellDeposits runs.
    footprint.offsetWidth = 0;
    const double cell = 3.0 * scale;
    const int radius = FootprintRadius(scale, bins);
    if (radius < 0)
        return;
    const double c = std::cos(orientation);
    const double s = std::sin(orientation);
    // At orientation 0 the row position depends on i alone and the column position on
    // j alone (the zero products add nothing, signs of zero included): each is then
    // worked out once per row and per column instead of once per pixel.
    const bool separable = s == 0.0 && c == 1.0;
    const size_t side = static_cast<size_t>(2 * radius + 1);
    std::vector<double> rowV(separable ? side : 0), rowBin(rowV.size()), columnU(rowV.size()), columnBin(rowV.size());
    std::vector<char> rowIn(rowV.size()), columnIn(rowV.size());
    size_t rowsIn = 0;
    size_t columnsIn = 0;
    for (size_t k = 0; k < rowV.size(); ++k)
    {
        const int i = static_cast<int>(k) - radius;
        rowV[k] = (s * 0 + c * i - fy) / cell;
        rowBin[k] = rowV[k] + half - 0.5;
        rowIn[k] = rowBin[k] > -1.0 && rowBin[k] < bins;
        rowsIn += rowIn[k];
        columnU[k] = (c * i - s * 0 - fx) / cell;
        columnBin[k] = columnU[k] + half - 0.5;
        columnIn[k] = columnBin[k] > -1.0 && columnBin[k] < bins;
        columnsIn += columnIn[k];
    }
    auto inGrid = [&](int i, int j, double& v, double& rbin, double& u, double& cbin) {
        if (separable)
        {
            const size_t ki = static_cast<size_t>(i + radius);
            const size_t kj = static_cast<size_t>(j + radius);
            v = rowV[ki];
            rbin = rowBin[ki];
            u = columnU[kj];
            cbin = columnBin[kj];
            return rowIn[ki] && columnIn[kj];
        }
        v = (s * j + c * i - fy) / cell;
        rbin = v + half - 0.5;
        if (!(rbin > -1.0 && rbin < bins))
            return false;
        u = (c * j - s * i - fx) / cell;
        cbin = u + half - 0.5;
        return cbin > -1.0 && cbin < bins;
    };
    // Counted first: large footprints hold megabytes, which doubling would waste.
    size_t count = rowsIn * columnsIn;
    for (int i = -radius; i <= radius && !separable; ++i)
        for (int j = -radius; j <= radius; ++j)
        {
            double v, rbin, u, cbin;
            count += inGrid(i, j, v, rbin, u, cbin) ? 1 : 0;
        }
    footprint.taps = std::vector<Tap>();
    footprint.taps.reserve(count);
    for (int i = -radius; i <= radius; ++i)
    {
        for (int j = -radius; j <= radius; ++j)
        {
            double v, rbin, u, cbin;
            if (!inGrid(i, j, v, rbin, u, cbin))
                continue;
            Tap tap;
            tap.weight = mNoGaussianWeight ? 1.0 : std::exp((v * v + u * u) / -8.0);
            const double r0 = std::floor(rbin);
            const double c0 = std::floor(cbin);
            tap.fr = rbin - r0;
            tap.fc = cbin - c0;
            tap.i = i;
            tap.j = j;
            // -1 as unsigned fails every test against the grid size: cells off the grid drop.
            const unsigned int ur = static_cast<unsigned int>(static_cast<int32_t>(r0));
            const unsigned int uc = static_cast<unsigned int>(static_cast<int32_t>(c0));
            const unsigned int n = SpatialBinsT;
            tap.r0 = static_cast<int8_t>(r0);
            tap.c0 = static_cast<int8_t>(c0);
            tap.cell = static_cast<int16_t>((tap.r0 * SpatialBinsT + tap.c0) * OrientationBinsT);
            tap.cells = static_cast<uint8_t>((ur < n && uc < n ? 1u : 0u) | (ur < n && uc + 1 < n ? 2u : 0u) |
                        (ur + 1 < n && uc < n ? 4u : 0u) | (ur + 1 < n && uc + 1 < n ? 8u : 0u));
            if (footprint.taps.empty())
            {
                footprint.minI = footprint.maxI = i;
                footprint.minJ = footprint.maxJ = j;
            }
            footprint.minI = std::min(footprint.minI, i);
            footprint.maxI = std::max(footprint.maxI, i);
            footprint.minJ = std::min(footprint.minJ, j);
            footprint.maxJ = std::max(footprint.maxJ, j);
            footprint.taps.push_back(tap);
        }
        if (!footprint.taps.empty())
        {
            // Rows from minI on; rows without taps inside the range repeat the offset.
            const size_t rows = static_cast<size_t>(footprint.maxI - footprint.minI + 2);
            footprint.rowStart.resize(rows, footprint.rowStart.back());
            footprint.rowStart.back() = static_cast<int32_t>(footprint.taps.size());
        }
    }
    if (separable && !footprint.taps.empty())
    {
        for (int i = footprint.minI; i <= footprint.maxI; ++i)
        {
            const double rbin = rowBin[static_cast<size_t>(i + radius)];
            const double r0 = std::floor(rbin);
            const double fr = rbin - r0;
            footprint.rowWeights.insert(footprint.rowWeights.end(), {1.0 - fr, 1.0 - fr, fr, fr});
            footprint.rowCells.push_back((static_cast<int32_t>(r0) + 1) * (SpatialBinsT + 2) * OrientationBinsT);
        }
        for (int j = footprint.minJ; j <= footprint.maxJ; ++j)
        {
            const double cbin = columnBin[static_cast<size_t>(j + radius)];
            const double c0 = std::floor(cbin);
            const double fc = cbin - c0;
            footprint.columnWeights.insert(footprint.columnWeights.end(), {1.0 - fc, fc, 1.0 - fc, fc});
            footprint.columnCells.push_back((static_cast<int32_t>(c0) + 1) * OrientationBinsT);
        }
    }
}

template <int SpatialBinsT, int OrientationBinsT>
void FISTDescriptor<SpatialBinsT, OrientationBinsT>::MakeCellDeposits(Footprint& footprint, long long offsetWidth) const
{
    footprint.cellStart.assign(1, 0);
    footprint.cellI.clear();
    footprint.cellJ.clear();
    footprint.cellWeight.clear();
    footprint.cellRowFactor.clear();
    footprint.cellColumnFactor.clear();
    // Cell (r, c) of a tap is bit (r - r0) x 2 + (c - c0) of its cells.
    for (int r = 0; r < SpatialBinsT; ++r)
        for (int c = 0; c < SpatialBinsT; ++c)
        {
            for (const Tap& tap : footprint.taps)
            {
                const int rowStep = r - tap.r0;
                const int columnStep = c - tap.c0;
                if (rowStep < 0 || rowStep > 1 || columnStep < 0 || columnStep > 1 ||
                    !(tap.cells & (1u << (rowStep * 2 + columnStep))))
                    continue;
                footprint.cellI.push_back(tap.i);
                footprint.cellJ.push_back(tap.j);
                footprint.cellWeight.push_back(tap.weight);
                footprint.cellRowFactor.push_back(rowStep ? tap.fr : 1.0 - tap.fr);
                footprint.cellColumnFactor.push_back(columnStep ? tap.fc : 1.0 - tap.fc);
            }
            footprint.cellStart.push_back(static_cast<int32_t>(footprint.cellI.size()));
        }
    footprint.cellOffset.resize(footprint.cellI.size());
    footprint.offsetWidth = offsetWidth;
    for (size_t e = 0; e < footprint.cellI.size(); ++e)
        footprint.cellOffset[e] = footprint.cellI[e] * offsetWidth + footprint.cellJ[e];
}

template <int SpatialBinsT, int OrientationBinsT>
void FISTDescriptor<SpatialBinsT, OrientationBinsT>::Accumulate(double* row, const Footprint& footprint,
                                                                Array2dReal64* magnitude, Array2dReal64* angle,
                                                                long long ix, long long iy,
                                                                double orientation) const
{
    const unsigned long long width = static_cast<unsigned long long>(magnitude->mWidth);
    const unsigned long long height = static_cast<unsigned long long>(magnitude->mHeight);
    const double* magOrigin = magnitude->PixelPtr(0, 0);
    const double* angOrigin = angle->PixelPtr(0, 0);
    const long long magStride = magnitude->RowStride();
    const long long angStride = angle->RowStride();
    const double orientationBins = OrientationBinsT;
    for (const Tap& tap : footprint.taps)
    {
        const long long py = iy + tap.i;
        const long long px = ix + tap.j;
        if (static_cast<unsigned long long>(py) >= height || static_cast<unsigned long long>(px) >= width)
            continue;
        const double w = magOrigin[py * magStride + px] * tap.weight;
        int o0 = 0;
        double fo = 0.0;
        if (!OrientationBin(angOrigin[py * angStride + px] - orientation, orientationBins, o0, fo) ||
            !(tap.fr >= 0.0 && tap.fr <= 1.0 && tap.fc >= 0.0 && tap.fc <= 1.0))
        {
            ReportFractions(tap.fr, tap.fc, fo);
            continue;
        }
        if (o0 >= OrientationBinsT)
            o0 = 0;
        const int o1 = o0 + 1 == OrientationBinsT ? 0 : o0 + 1;
        Deposit<Tap, SpatialBinsT, OrientationBinsT>(row, tap, w, o0, o1, fo);
    }
}

template <int SpatialBinsT, int OrientationBinsT>
void FISTDescriptor<SpatialBinsT, OrientationBinsT>::AccumulateAtZero(double* row, const Footprint& footprint,
                                                                      Array2dReal64* magnitude,
                                                                      OrientationPlanes& planes, long long ix,
                                                                      long long iy) const
{
    if (footprint.taps.empty())
        return;
    const long long stride = magnitude->RowStride();
    const long long width = magnitude->mWidth;
    const long long height = magnitude->mHeight;
#if defined(__x86_64__)
    // The band is only set up where the vector loop gives the same sums (see
    // DoCalculateFISTDescriptors); bins out of range are reported by the walk below.
    const long long top = std::max<long long>(iy + footprint.minI, 0);
    const long long bottom = std::min<long long>(iy + footprint.maxI, height - 1);
    if (planes.bandCapacity > 0 && stride == width && footprint.offsetWidth == width && top <= bottom &&
        bottom - top < planes.bandCapacity)
    {
        if (top < planes.bandFirst || bottom >= planes.bandFirst + planes.bandRows)
        {
            // Some rows above the window too, for the next points' windows a little higher.
            planes.bandFirst = std::max<long long>(
                std::min(top - kBandSlack / 2, height - planes.bandCapacity), 0);
            planes.bandRows = std::min(planes.bandCapacity, height - planes.bandFirst);
            SpreadBins(SpreadBand(planes.spread), planes.o0.data(), planes.fo.data(), width, planes.bandFirst,
                       planes.bandRows);
        }
        const CellDeposits d = {SpatialBinsT * SpatialBinsT, footprint.cellStart.data(),  footprint.cellI.data(),
                                footprint.cellJ.data(),      footprint.cellWeight.data(), footprint.cellRowFactor.data(),
                                footprint.cellColumnFactor.data()};
        const double* mag = magnitude->PixelPtr(0, 0) + iy * width + ix;
        const double* spread = SpreadBand(planes.spread) + 8 * ((iy - planes.bandFirst) * width + ix);
        if (iy + footprint.minI >= 0 && iy + footprint.maxI < height && ix + footprint.minJ >= 0 &&
            ix + footprint.maxJ < width)
            AccumulateSpreadAvx2<true>(row, d, footprint.cellOffset.data(), mag, spread, ix, iy, width, height);
        else
            AccumulateSpreadAvx2<false>(row, d, footprint.cellOffset.data(), mag, spread, ix, iy, width, height);
        return;
    }
#endif
    // Only rows of the window inside the image; columns are tested where the window
    // reaches over the left or right edge.
    const long long firstI = std::max<long long>(footprint.minI, -iy);
    const long long lastI = std::min<long long>(footprint.maxI, height - 1 - iy);
    if (firstI > lastI)
        return;
    const bool columnsInside = ix + footprint.minJ >= 0 && ix + footprint.maxJ < width;
    const double* mag = magnitude->PixelPtr(0, iy) + ix;
    const int8_t* bin = planes.o0.data() + iy * width + ix;
    const double* fraction = planes.fo.data() + iy * width + ix;
    const Tap* begin = footprint.taps.data() + footprint.rowStart[firstI - footprint.minI];
    const Tap* end = footprint.taps.data() + footprint.rowStart[lastI - footprint.minI + 1];
#if defined(__x86_64__)
    if (SpatialBinsT == 4 && OrientationBinsT == 8 && CpuHasAvx2() && !footprint.rowCells.empty())
    {
        WalkAtZeroRowsAvx2(row, footprint.taps.data(), footprint.rowStart.data(), footprint.rowWeights.data(),
                           footprint.rowCells.data(), footprint.columnWeights.data(), footprint.columnCells.data(),
                           footprint.minI, footprint.minJ, firstI, lastI, std::max<long long>(footprint.minJ, -ix),
                           std::min<long long>(footprint.maxJ, width - 1 - ix), mag, stride, bin, fraction, width);
        return;
    }
#endif
    for (const Tap* tap = begin; tap != end; ++tap)
    {
        if (!columnsInside && static_cast<unsigned long long>(ix + tap->j) >= static_cast<unsigned long long>(width))
            continue;
        const double w = mag[tap->i * stride + tap->j] * tap->weight;
        const long long p = tap->i * width + tap->j;
        const int o0 = bin[p];
        const double fo = fraction[p];
        if (o0 < 0)
        {
            ReportFractions(tap->fr, tap->fc, fo);
            continue;
        }
        const int o1 = o0 + 1 == OrientationBinsT ? 0 : o0 + 1;
        Deposit<Tap, SpatialBinsT, OrientationBinsT>(row, *tap, w, o0, o1, fo);
    }
}

template <int SpatialBinsT, int OrientationBinsT>
double FISTDescriptor<SpatialBinsT, OrientationBinsT>::NormFactor(const double* row) const
{
    const int p = mCustomNorm;
    if (p == 0)
        return 1.0;
    double sum = 0.0;
    double norm;
    if (p < 0 || p == 2)
    {
        for (int k = 0; k < DescriptorLength; ++k)
            sum += row[k] * row[k];
        norm = std::sqrt(sum);
    }
    else
    {
        for (int k = 0; k < DescriptorLength; ++k)
            sum += std::pow(row[k], static_cast<double>(p));
        norm = std::pow(sum, 1.0 / p);
    }
    return FactorOfSum(sum, norm);
}

template <int SpatialBinsT, int OrientationBinsT>
void FISTDescriptor<SpatialBinsT, OrientationBinsT>::NormFactors(double* const* rows, int count,
                                                                 double* factors) const
{
    if (count < NormaliseBatch || !(mCustomNorm < 0 || mCustomNorm == 2))
    {
        for (int r = 0; r < count; ++r)
            factors[r] = NormFactor(rows[r]);
        return;
    }
    // Four sums of squares side by side: each in its own order, but they overlap in time.
    const double* r0 = rows[0];
    const double* r1 = rows[1];
    const double* r2 = rows[2];
    const double* r3 = rows[3];
    double s0 = 0.0;
    double s1 = 0.0;
    double s2 = 0.0;
    double s3 = 0.0;
    for (int k = 0; k < DescriptorLength; ++k)
    {
        s0 += r0[k] * r0[k];
        s1 += r1[k] * r1[k];
        s2 += r2[k] * r2[k];
        s3 += r3[k] * r3[k];
    }
    factors[0] = FactorOfSum(s0, std::sqrt(s0));
    factors[1] = FactorOfSum(s1, std::sqrt(s1));
    factors[2] = FactorOfSum(s2, std::sqrt(s2));
    factors[3] = FactorOfSum(s3, std::sqrt(s3));
}

template <int SpatialBinsT, int OrientationBinsT>
void FISTDescriptor<SpatialBinsT, OrientationBinsT>::Normalise(double* row) const
{
    NormaliseRows(&row, 1);
}

template <int SpatialBinsT, int OrientationBinsT>
void FISTDescriptor<SpatialBinsT, OrientationBinsT>::NormaliseRows(double* const* rows, int count) const
{
    double factors[NormaliseBatch];
    NormFactors(rows, count, factors);
    double* clipped[NormaliseBatch] = {};
    int clippedCount = 0;
    for (int r = 0; r < count; ++r)
    {
        double* row = rows[r];
        const double factor = factors[r];
        bool clip = false;
        for (int k = 0; k < DescriptorLength; ++k)
        {
            double e = factor * row[k];
            if (e > kClip)
            {
                e = kClip;
                clip = true;
            }
            row[k] = e;
        }
        factors[r] = 1.0;
        if (clip)
            clipped[clippedCount++] = row;
    }
    double again[NormaliseBatch];
    NormFactors(clipped, clippedCount, again);
    for (int r = 0, c = 0; r < count; ++r)
    {
        double* row = rows[r];
        const double factor = c < clippedCount && clipped[c] == row ? again[c++] : 1.0;
        for (int k = 0; k < DescriptorLength; ++k)
            row[k] = static_cast<double>(static_cast<int32_t>(factor * row[k] * mOutputScale));
    }
}

template class FISTDescriptor<4, 8>;

} // namespace Feature
} // namespace Core
} // namespace Tavlin
