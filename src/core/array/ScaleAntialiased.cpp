#include "core/array/ScaleAntialiased.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <new>
#include <vector>

#include <log4cpp/Category.hh>

#include "basis/Report.h"
#include "core/array/ArrayFactories.h"

namespace Tavlin
{
namespace Core
{
namespace Array
{

namespace
{

log4cpp::Category& Log()
{
    static log4cpp::Category& sLog = log4cpp::Category::getInstance("Tavlin.Core.Array.ScaleAntialiased");
    return sLog;
}

double Lanczos3(double t)
{
    if (t == 0.0)
        return 1.0;
    if (!(t >= -3.0 && t < 3.0))
        return 0.0;
    const double a = M_PI * t;
    const double b = M_PI * (t / 3.0);
    return (std::sin(a) / a) * (std::sin(b) / b);
}

// Not above 0 gives 0 (NaN included), above 255 gives 255.
inline double Clamp8(double v)
{
    return v > 0.0 ? (v > 255.0 ? 255.0 : v) : 0.0;
}

// The weights of one output position along one axis, in single precision. When
// enlarging, the support of 0.5 keeps the window one or two pixels wide.
class LanczosWindow
{
public:
    LanczosWindow(long long srcLength, long long newLength)
        : mSrcLength(srcLength),
          mScale(static_cast<float>(srcLength) / static_cast<float>(newLength)),
          mSupport(mScale < 1.0f ? 0.5f : 3.0f * mScale),
          mInvScale(1.0f / (mScale < 1.0f ? 1.0f : mScale)),
          mCapacity(mScale < 1.0f ? 10 : 2 * static_cast<long long>(3.0f * mScale) + 10),
          mWeights(new (std::nothrow) float[static_cast<size_t>(mCapacity)]),
          mStart(0),
          mCount(0),
          mNorm(1.0f)
    {
        if (!mWeights)
            TLOG_ERROR(Log(), "allocation failed");
    }

    bool Ok() const { return mWeights != nullptr; }

    void At(long long x)
    {
        const float centre = static_cast<float>((x + 0.5) * static_cast<double>(mScale));
        const long long first = static_cast<long long>(std::floor(centre - mSupport));
        mStart = first < 0 ? 0 : first;
        long long stop = static_cast<long long>(std::min(static_cast<float>(mSrcLength), std::ceil(centre + mSupport)));
        // Only a source wider than a float counts exactly could reach these limits.
        stop = std::min(std::min(stop, mSrcLength), mStart + mCapacity);
        mCount = stop > mStart ? stop - mStart : 0;
        float sum = 0.0f;
        for (long long k = 0; k < mCount; ++k)
        {
            const double t = (static_cast<double>(static_cast<float>(mStart + k) - centre) + 0.5) * mInvScale;
            const float w = static_cast<float>(Lanczos3(t) * mInvScale);
            mWeights[k] = w;
            sum += w;
        }
        mNorm = sum != 0.0f ? 1.0f / sum : 1.0f;
    }

    long long Start() const { return mStart; }
    long long Count() const { return mCount; }
    const float* Weights() const { return mWeights.get(); }
    double Norm() const { return mNorm; }

private:
    long long mSrcLength;
    float mScale;
    float mSupport;
    float mInvScale;
    long long mCapacity;
    std::unique_ptr<float[]> mWeights;
    long long mStart;
    long long mCount;
    float mNorm;
};

// Replaces dst by a new borderless array; false when there is nothing to compute or
// no storage to compute into.
bool NewPassResult(Array2dVec3Real64*& dst, long long width, long long height)
{
    delete dst;
    dst = ArrayCreate<Array2dVec3Real64>(std::max(width, 0LL), std::max(height, 0LL), 0, 0);
    return width > 0 && height > 0 && dst->Data();
}

} // namespace

template <class SrcT>
void ScaleAntialiasedHorizontal(Array2dVec3Real64*& dst, SrcT* src, long long newWidth)
{
    if (!NewPassResult(dst, newWidth, src->mHeight))
        return;
    LanczosWindow window(src->mWidth, newWidth);
    if (!window.Ok())
        return;
    const long long height = src->mHeight;
    const long long srcStride = src->RowStride();
    const long long dstStride = dst->RowStride();
    const float* weights = window.Weights();
    for (long long x = 0; x < newWidth; ++x)
    {
        window.At(x);
        const long long count = window.Count();
        const double norm = window.Norm();
        const typename SrcT::StorType* s = src->PixelPtr(window.Start(), 0);
        double* d = dst->PixelPtr(x, 0);
        for (long long y = 0; y < height; ++y, s += srcStride, d += dstStride)
        {
            double a0 = 0.0;
            double a1 = 0.0;
            double a2 = 0.0;
            const typename SrcT::StorType* p = s;
            for (long long k = 0; k < count; ++k, p += 3)
            {
                const double w = weights[k];
                a0 += p[0] * w;
                a1 += p[1] * w;
                a2 += p[2] * w;
            }
            d[0] = Clamp8(a0 * norm);
            d[1] = Clamp8(a1 * norm);
            d[2] = Clamp8(a2 * norm);
        }
    }
}

// Rows of the result are accumulated in a row buffer, each value over the window in
// ascending order, as the horizontal pass does along a row.
template <class SrcT>
void ScaleAntialiasedVertical(Array2dVec3Real64*& dst, SrcT* src, long long newHeight)
{
    if (!NewPassResult(dst, src->mWidth, newHeight))
        return;
    LanczosWindow window(src->mHeight, newHeight);
    if (!window.Ok())
        return;
    const long long values = src->mWidth * 3;
    const long long srcStride = src->RowStride();
    const float* weights = window.Weights();
    std::vector<double> acc(static_cast<size_t>(values));
    double* a = acc.data();
    for (long long y = 0; y < newHeight; ++y)
    {
        window.At(y);
        std::fill(acc.begin(), acc.end(), 0.0);
        const typename SrcT::StorType* s = src->PixelPtr(0, window.Start());
        for (long long k = 0; k < window.Count(); ++k, s += srcStride)
        {
            const double w = weights[k];
            for (long long i = 0; i < values; ++i)
                a[i] += s[i] * w;
        }
        const double norm = window.Norm();
        double* d = dst->PixelPtr(0, y);
        for (long long i = 0; i < values; ++i)
            d[i] = Clamp8(a[i] * norm);
    }
}

void ScaleAntialiased(Array2dVec3Real64*& dst, Array2dVec3UInt8* src, long long newWidth, long long newHeight)
{
    Array2dVec3Real64* temp = nullptr;
    if (newHeight * src->mWidth >= newWidth * src->mHeight)
    {
        ScaleAntialiasedHorizontal(temp, src, newWidth);
        ScaleAntialiasedVertical(dst, temp, newHeight);
    }
    else
    {
        ScaleAntialiasedVertical(temp, src, newHeight);
        ScaleAntialiasedHorizontal(dst, temp, newWidth);
    }
    delete temp;
}

void ScaleDownAntialiased(Array2dVec3UInt8*& dst, Array2dVec3UInt8* src, double factor)
{
    if (factor <= 0.0 || factor == 1.0)
        return;
    if (factor > 1.0)
    {
        factor = std::min(factor / src->mWidth, factor / src->mHeight);
        if (factor >= 1.0)
            return;
    }
    const long long newWidth = static_cast<long long>(src->mWidth * factor);
    const long long newHeight = static_cast<long long>(src->mHeight * factor);
    std::unique_ptr<Array2dVec3Real64> temp;
    {
        Array2dVec3Real64* scaled = nullptr;
        ScaleAntialiased(scaled, src, newWidth, newHeight);
        temp.reset(scaled);
    }
    if (!dst)
        dst = ArrayCreate<Array2dVec3UInt8>(temp->mWidth, temp->mHeight, 0, 0);
    // A given dst is trusted for its size; the copy stays inside both arrays all the same.
    const long long width = std::min(dst->mWidth, temp->mWidth);
    const long long height = std::min(dst->mHeight, temp->mHeight);
    if (!dst->Data() || !temp->Data())
        return;
    for (long long y = 0; y < height; ++y)
    {
        const double* s = temp->PixelPtr(0, y);
        unsigned char* d = dst->PixelPtr(0, y);
        for (long long i = 0; i < width * 3; ++i)
            d[i] = static_cast<unsigned char>(static_cast<int>(s[i]));
    }
}

template void ScaleAntialiasedHorizontal<Array2dVec3UInt8>(Array2dVec3Real64*&, Array2dVec3UInt8*, long long);
template void ScaleAntialiasedHorizontal<Array2dVec3Real64>(Array2dVec3Real64*&, Array2dVec3Real64*, long long);
template void ScaleAntialiasedVertical<Array2dVec3UInt8>(Array2dVec3Real64*&, Array2dVec3UInt8*, long long);
template void ScaleAntialiasedVertical<Array2dVec3Real64>(Array2dVec3Real64*&, Array2dVec3Real64*, long long);

} // namespace Array
} // namespace Core
} // namespace Tavlin
