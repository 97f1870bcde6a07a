#include "core/feature/descriptor/DenseSift.h"

#include <cmath>
#include <cstring>
#include <memory>
#include <vector>

#include "basis/Report.h"
#include "basis/String.h"
#include "basis/Timer.h"
#include "core/array/ArrayFactories.h"
#include "core/array/GaussDerivative.h"
#include "core/array/GradientMagnitude.h"
#include "core/feature/FeatureImageTypes.h"
#include "core/feature/descriptor/GetColorChannels.h"
#include "core/feature/detector/MakeDenseInterpolator.h"
#include "core/matrix/MatConcatenateHorizontal.h"
#include "core/matrix/MatMul.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

namespace
{

typedef std::unique_ptr<Array2dReal64> PlanePtr;

// The clipping level is the single-precision value of 0.2.
const double kClip = 0.20000000298023224;
// The single-precision value of pi, as the orientation quantization has it.
const double kPi = 3.1415927410125732;
const double kHalfSqrt2 = 0.7071067811865476;

// The table that a grid which can not be made contributes: no rows, the descriptor
// length of its family.
PointDescriptorTable* EmptyTable(int length)
{
    PointDescriptorTable* table = new PointDescriptorTable(FeatureDefinition(""));
    table->SetStorage(Array::ArrayCreate<Array2dReal64>(length, 0, 0, 0));
    return table;
}

// First derivatives along x and y of the input smoothed at sigma; their borders are
// left from the filtering and never read. Both filters run on one copy of the input
// with a border as wide as their kernels reach, which spares each its own copy.
void Derivatives(PlanePtr& dx, PlanePtr& dy, Array2dReal64* input, double sigma)
{
    const long long reach = static_cast<int>(sigma * 3.0 + 0.5);
    Array2dReal64* source = input;
    PlanePtr bordered;
    if (reach > 0 && (input->mBorderWidth < reach || input->mBorderHeight < reach))
    {
        bordered.reset(Array::ArrayClone<Array2dReal64>(input, reach, reach));
        Array::CopyImageRows(bordered.get(), input);
        source = bordered.get();
    }
    Array2dReal64* gx = nullptr;
    Array2dReal64* gy = nullptr;
    Array::GaussDerivative(gx, source, sigma, 1, 0, 3.0);
    dx.reset(gx);
    Array::GaussDerivative(gy, source, sigma, 0, 1, 3.0);
    dy.reset(gy);
}

inline double Positive(double v)
{
    return v > 0.0 ? v : 0.0;
}

// Planes s and s + 4 of the oriented gradients into borderless blocks of the
// derivatives' size: the positive and the negative part of source s, where the sources
// of planes 0 to 3 are dy, p, dx, q (planes 4 to 7 take them negated, which is exact).
template <int SourceT>
void OrientedPlanePairRows(double* positive, double* negative, const Array2dReal64* dx, const Array2dReal64* dy)
{
    const double r = kHalfSqrt2;
    const long long width = dx->mWidth;
    for (long long y = 0; y < dx->mHeight; ++y)
    {
        const double* __restrict gx = dx->PixelPtr(0, y);
        const double* __restrict gy = dy->PixelPtr(0, y);
        double* __restrict up = positive + y * width;
        double* __restrict down = negative + y * width;
        for (long long x = 0; x < width; ++x)
        {
            const double a = gx[x];
            const double b = gy[x];
            double v;
            if (SourceT == 0)
                v = b;
            else if (SourceT == 1)
                v = r * a + r * b;
            else if (SourceT == 2)
                v = a;
            else
                v = -r * a + r * b;
            up[x] = Positive(v);
            down[x] = Positive(-v);
        }
    }
}

void OrientedPlanePair(double* positive, double* negative, const Array2dReal64* dx, const Array2dReal64* dy,
                       int source)
{
    switch (source)
    {
    case 0:
        OrientedPlanePairRows<0>(positive, negative, dx, dy);
        break;
    case 1:
        OrientedPlanePairRows<1>(positive, negative, dx, dy);
        break;
    case 2:
        OrientedPlanePairRows<2>(positive, negative, dx, dy);
        break;
    default:
        OrientedPlanePairRows<3>(positive, negative, dx, dy);
        break;
    }
}

void DeletePlanes(Array2dReal64** planes, int count)
{
    for (int o = 0; o < count; ++o)
    {
        delete planes[o];
        planes[o] = nullptr;
    }
}

void EraseFirst(std::string& name, const std::string& what)
{
    const size_t at = name.find(what);
    if (at != std::string::npos)
        name.erase(at, what.size());
}

} // namespace

void DenseSiftGradient(Array2dReal64*& magnitude, Array2dReal64*& angle, Array2dReal64* input, double sigma)
{
    PlanePtr dx;
    PlanePtr dy;
    Derivatives(dx, dy, input, sigma);
    const long long width = input->mWidth;
    const long long height = input->mHeight;
    magnitude = Array::ArrayCreate<Array2dReal64>(width, height, 0, 0);
    angle = Array::ArrayCreate<Array2dReal64>(width, height, 0, 0);
    for (long long y = 0; y < height; ++y)
    {
        const double* __restrict gx = dx->PixelPtr(0, y);
        const double* __restrict gy = dy->PixelPtr(0, y);
        double* __restrict m = magnitude->mData + y * width;
        double* __restrict a = angle->mData + y * width;
        Array::GradientMagnitude(gx, gy, m, width);
        for (long long x = 0; x < width; ++x)
        {
            const double t = std::atan2(gy[x], gx[x]);
            a[x] = t != t ? 0.0 : t;
        }
    }
}

template <int OrientationsT>
void DenseSiftQuantizeOrientation(Array2dReal64* (&planes)[OrientationsT], Array2dReal64* angle,
                                  Array2dReal64* magnitude)
{
    const long long width = angle->mWidth;
    const long long height = angle->mHeight;
    const long long count = width * height;
    for (int o = 0; o < OrientationsT; ++o)
    {
        planes[o] = Array::ArrayCreate<Array2dReal64>(width, height, 0, 0);
        std::memset(planes[o]->mData, 0, static_cast<size_t>(count) * sizeof(double));
    }
    double* out[OrientationsT];
    for (int o = 0; o < OrientationsT; ++o)
        out[o] = planes[o]->mData;
    for (long long y = 0; y < height; ++y)
    {
        const double* a = angle->PixelPtr(0, y);
        const double* m = magnitude->PixelPtr(0, y);
        const long long row = y * width;
        for (long long x = 0; x < width; ++x)
        {
            const double b = std::fmod(a[x] / kPi + 2.0, 2.0) * OrientationsT * 0.5;
            const double bin = std::floor(b);
            // Only an angle that is not a number falls outside; it contributes nothing.
            if (!(bin >= 0.0 && bin < OrientationsT))
                continue;
            const int o = static_cast<int>(bin);
            const double f = b - bin;
            out[o][row + x] = (1.0 - f) * m[x];
            out[(o + 1) % OrientationsT][row + x] = f * m[x];
        }
    }
}

void DenseSiftOrientedGradients(Array2dReal64* (&planes)[8], Array2dReal64* input, double sigma)
{
    PlanePtr dx;
    PlanePtr dy;
    Derivatives(dx, dy, input, sigma);
    for (int o = 0; o < 8; ++o)
        planes[o] = Array::ArrayCreate<Array2dReal64>(input->mWidth, input->mHeight, 0, 0);
    for (int source = 0; source < 4; ++source)
        OrientedPlanePair(planes[source]->mData, planes[source + 4]->mData, dx.get(), dy.get(), source);
}

template <int OrientationsT>
void ExtractDescriptor(double* out, Array2dReal64* (&planes)[OrientationsT], int x, int y, int n)
{
    const int length = n * n * OrientationsT;
    for (int cy = 0; cy < n; ++cy)
        for (int o = 0; o < OrientationsT; ++o)
        {
            const double* cells = planes[o]->PixelPtr(x, y + cy);
            double* slot = out + cy * n * OrientationsT + o;
            for (int cx = 0; cx < n; ++cx)
                slot[cx * OrientationsT] = cells[cx];
        }

    double sum = 0.0;
    for (int k = 0; k < length; ++k)
        sum += out[k] * out[k];
    if (sum != 0.0)
    {
        const double factor = 1.0 / std::sqrt(sum);
        for (int k = 0; k < length; ++k)
            out[k] *= factor;
    }
    for (int k = 0; k < length; ++k)
        if (out[k] > kClip)
            out[k] = kClip;
    sum = 0.0;
    for (int k = 0; k < length; ++k)
        sum += out[k] * out[k];
    if (sum != 0.0)
    {
        const double factor = 1.0 / std::sqrt(sum);
        for (int k = 0; k < length; ++k)
            out[k] *= factor;
    }
}

namespace
{

// Descriptors per run of the batched read-out: their sums are independent chains, each
// in the specified order, so they go side by side through the vector units.
const int kLanes = 8;

// ExtractDescriptor for kLanes neighbouring positions (x .. x + kLanes - 1, y) at once,
// with the same arithmetic per descriptor. work holds length x kLanes values.
template <int OrientationsT>
void ExtractDescriptorRun(double* out, Array2dReal64* (&planes)[OrientationsT], int x, int y, int n, double* work)
{
    const int length = n * n * OrientationsT;
    for (int cy = 0; cy < n; ++cy)
        for (int cx = 0; cx < n; ++cx)
            for (int o = 0; o < OrientationsT; ++o)
            {
                const double* cells = planes[o]->PixelPtr(x + cx, y + cy);
                double* lane = work + ((cy * n + cx) * OrientationsT + o) * kLanes;
                for (int d = 0; d < kLanes; ++d)
                    lane[d] = cells[d];
            }

    for (int pass = 0; pass < 2; ++pass)
    {
        double sum[kLanes] = {};
        for (int k = 0; k < length; ++k)
        {
            const double* lane = work + k * kLanes;
            for (int d = 0; d < kLanes; ++d)
                sum[d] += lane[d] * lane[d];
        }
        // A factor of 1 leaves a zero descriptor as it is, as skipping would.
        double factor[kLanes];
        for (int d = 0; d < kLanes; ++d)
            factor[d] = sum[d] != 0.0 ? 1.0 / std::sqrt(sum[d]) : 1.0;
        for (int k = 0; k < length; ++k)
        {
            double* lane = work + k * kLanes;
            for (int d = 0; d < kLanes; ++d)
            {
                const double v = lane[d] * factor[d];
                lane[d] = pass == 0 && v > kClip ? kClip : v;
            }
        }
    }

    for (int d = 0; d < kLanes; ++d)
    {
        double* row = out + static_cast<long long>(d) * length;
        for (int k = 0; k < length; ++k)
            row[k] = work[k * kLanes + d];
    }
}

} // namespace

template <int OrientationsT>
PointDescriptorTable* MakeSpatial(Array2dReal64* (&planes)[OrientationsT], int spacing, int cellSize, int cellCount)
{
    static log4cpp::Category& sLog = log4cpp::Category::getInstance("Core.Feature.MakeSpatial");
    const long long nx = planes[0]->mWidth + 1 - cellCount;
    const long long ny = planes[0]->mHeight + 1 - cellCount;
    const int length = cellCount * cellCount * OrientationsT;
    const long long count = nx > 0 && ny > 0 ? nx * ny : 0;
    std::unique_ptr<PointDescriptorTable> table(EmptyTable(length));
    if (count == 0)
        return table.release();
    // The store goes in first, so that reserving the rows finds it in place.
    Array2dReal64* store = count > 0x7fffffffLL ? nullptr : Array::ArrayCreateOrNull<Array2dReal64>(length, count);
    if (store)
        table->SetStorage(store);
    if (!store || !table->Reserve(static_cast<int>(count), false))
    {
        TLOG_ERROR(sLog, "[MakeSpatial] no memory for " << count << " descriptors of " << length << " values");
        table->SetStorage(Array::ArrayCreate<Array2dReal64>(length, 0, 0, 0));
        return table.release();
    }
    const double offset = 0.5 * cellCount * cellSize;
    std::vector<double> work(static_cast<size_t>(length) * kLanes);
    for (long long j = 0; j < ny; ++j)
    {
        double* rowStart = store->mData + j * nx * length;
        long long i = 0;
        for (; i + kLanes <= nx; i += kLanes)
            ExtractDescriptorRun<OrientationsT>(rowStart + i * length, planes, static_cast<int>(i), static_cast<int>(j),
                                                cellCount, work.data());
        for (; i < nx; ++i)
            ExtractDescriptor<OrientationsT>(rowStart + i * length, planes, static_cast<int>(i), static_cast<int>(j),
                                             cellCount);
        for (i = 0; i < nx; ++i)
            table->AddPoint(static_cast<double>(i * spacing) + offset - 0.5,
                            static_cast<double>(j * spacing) + offset - 0.5, 0.0, 0.0, 0.0);
    }
    return table.release();
}

PointDescriptorTable* DoDenseSift(Array2dReal64* channel, int spacing, int cellSize, double sigma, int cellCount,
                                  bool quantizeOrientation)
{
    static log4cpp::Category& sLog = log4cpp::Category::getInstance("Core.Feature.DoDenseSift");
    Timer timer;
    const int length = cellCount * cellCount * 8;
    // Quantized planes are made all at once, as each pixel feeds two of them; oriented
    // planes two at a time from the derivatives, into two blocks that are reused, each
    // pooled before the next are made.
    Array2dReal64* planes[8] = {};
    PlanePtr dx;
    PlanePtr dy;
    if (quantizeOrientation)
    {
        Array2dReal64* magnitude = nullptr;
        Array2dReal64* angle = nullptr;
        DenseSiftGradient(magnitude, angle, channel, sigma);
        DenseSiftQuantizeOrientation<8>(planes, angle, magnitude);
        delete magnitude;
        delete angle;
    }
    else
    {
        Derivatives(dx, dy, channel, sigma);
    }
    TLOG_DEBUG(sLog, "channel gradients done at " << timer.SplitTimeStr());

    PlanePtr vertical(MakeDenseInterpolator<Array2dReal64>(static_cast<int>(channel->mHeight), spacing, cellSize, true));
    PlanePtr horizontal(
        MakeDenseInterpolator<Array2dReal64>(static_cast<int>(channel->mWidth), spacing, cellSize, false));
    Array2dReal64* grids[8] = {};
    bool pooled = vertical && horizontal;
    PlanePtr positive;
    PlanePtr negative;
    if (pooled && !quantizeOrientation)
    {
        positive.reset(Array::ArrayCreate<Array2dReal64>(channel->mWidth, channel->mHeight, 0, 0));
        negative.reset(Array::ArrayCreate<Array2dReal64>(channel->mWidth, channel->mHeight, 0, 0));
    }
    for (int o = 0; o < 8 && pooled; ++o)
    {
        // Sources in the order 0, 4, 1, 5, ...: each pair comes from one pass.
        const int plane = o % 2 == 0 ? o / 2 : o / 2 + 4;
        Array2dReal64* source = planes[plane];
        if (!quantizeOrientation)
        {
            if (plane < 4)
                OrientedPlanePair(positive->mData, negative->mData, dx.get(), dy.get(), plane);
            source = plane < 4 ? positive.get() : negative.get();
        }
        PlanePtr pooledRows(Matrix::MatMul(vertical.get(), source));
        delete planes[plane];
        planes[plane] = nullptr;
        if (pooledRows)
            grids[plane] = Matrix::MatMul(pooledRows.get(), horizontal.get());
        pooled = grids[plane] != nullptr;
    }
    // The full-size blocks go before the read-out, which can then reuse their memory.
    DeletePlanes(planes, 8);
    dx.reset();
    dy.reset();
    positive.reset();
    negative.reset();
    if (!pooled)
    {
        DeletePlanes(grids, 8);
        return EmptyTable(length);
    }
    PointDescriptorTable* table = MakeSpatial<8>(grids, spacing, cellSize, cellCount);
    DeletePlanes(grids, 8);
    TLOG_DEBUG(sLog, "channel done at " << timer.SplitTimeStr());
    return table;
}

PointDescriptorTable* DenseSift(Array2dVec3UInt8* image, std::string name, int spacing, int cellSize, double sigma,
                                int cellCount)
{
    static log4cpp::Category& sLog = log4cpp::Category::getInstance("Core.Feature.DenseSift");
    EraseFirst(name, "dift");
    const bool quantizeOrientation = StringEndsWith(name, "dixt");
    EraseFirst(name, "dixt");

    std::vector<PlanePtr> channels;
    for (Array2dReal64* channel : GetColorChannels(image, name))
        channels.emplace_back(channel);
    TLOG_DEBUG(sLog, "colour model '" << name << "': " << channels.size() << " channels");
    std::vector<std::unique_ptr<PointDescriptorTable>> tables;
    for (PlanePtr& channel : channels)
    {
        tables.emplace_back(DoDenseSift(channel.get(), spacing, cellSize, sigma, cellCount, quantizeOrientation));
        channel.reset();
    }
    if (tables.size() == 1)
        return tables[0].release();
    if (tables.empty())
        return EmptyTable(0);

    std::vector<Array2dReal64*> parts;
    for (const auto& table : tables)
        parts.push_back(table->GetDescriptorStorage());
    Array2dReal64* joined = Matrix::MatConcatenateHorizontal(parts);
    if (joined)
        tables[0]->SetStorage(joined);
    return tables[0].release();
}

template void DenseSiftQuantizeOrientation<8>(Array2dReal64* (&)[8], Array2dReal64*, Array2dReal64*);
template PointDescriptorTable* MakeSpatial<8>(Array2dReal64* (&)[8], int, int, int);
template void ExtractDescriptor<8>(double*, Array2dReal64* (&)[8], int, int, int);

} // namespace Feature
} // namespace Core
} // namespace Tavlin
