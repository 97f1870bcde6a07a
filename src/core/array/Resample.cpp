#include "core/array/Resample.h"

#include <algorithm>
#include <memory>

#include <log4cpp/Category.hh>

#include "basis/Report.h"
#include "core/array/ArrayFactories.h"
#include "core/array/PatGeometricOp.h"
#include "core/array/RecGauss.h"
#include "core/matrix/MatCreate.h"

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
    static log4cpp::Category& sLog = log4cpp::Category::getInstance("Tavlin.Core.Array.Resample");
    return sLog;
}

// Channel 0, 1 or 2 of src as an 8-bit plane of the same shape (image pixels only).
Array2dUInt8* CopyChannel(Array2dVec3UInt8* src, int channel)
{
    Array2dUInt8* plane = new Array2dUInt8(src->mWidth, src->mHeight, src->mBorderWidth, src->mBorderHeight);
    for (long long y = 0; y < src->mHeight; ++y)
    {
        const unsigned char* s = src->PixelPtr(0, y) + channel;
        unsigned char* d = plane->PixelPtr(0, y);
        for (long long x = 0; x < src->mWidth; ++x)
            d[x] = s[3 * x];
    }
    return plane;
}

} // namespace

void Resample(Array2dVec3UInt8*& dst, Array2dVec3UInt8* src, int newWidth, int newHeight)
{
    if (src->mWidth < 1 || src->mHeight < 1 || newWidth < 1 || newHeight < 1)
    {
        TLOG_ERROR(Log(), "[Resample] cannot resample a " << src->mWidth << "x" << src->mHeight << " image to "
                                                          << newWidth << "x" << newHeight);
        return;
    }
    const double sx = static_cast<double>(newWidth) / static_cast<double>(src->mWidth);
    const double sy = static_cast<double>(newHeight) / static_cast<double>(src->mHeight);
    double rows[9] = {sx, 0.0, 0.0, 0.0, sy, 0.0, 0.0, 0.0, 1.0};
    std::unique_ptr<Array2dReal64> matrix(Matrix::MatCreate<Array2dReal64>(3, 3, rows, true));

    std::unique_ptr<Array2dReal64> smooth[3];
    for (int c = 0; c < 3; ++c)
    {
        std::unique_ptr<Array2dUInt8> channel(CopyChannel(src, c));
        Array2dReal64* plane = nullptr;
        Pattern::PatGeometricOp<Array2dReal64, const Array2dUInt8>(plane, channel.get(), matrix.get(), true,
                                                                   Geometry::GeoIntLinear, true, 0.0);
        std::unique_ptr<Array2dReal64> warped(plane);
        if (!warped || !warped->Data())
            return;
        Array2dReal64* smoothed = nullptr;
        RecGauss(smoothed, warped.get(), 0.75, 0.75, 0, 0, 3);
        smooth[c].reset(smoothed);
    }

    if (!dst)
        dst = ArrayCreate<Array2dVec3UInt8>(smooth[0]->mWidth, smooth[0]->mHeight, smooth[0]->mBorderWidth,
                                            smooth[0]->mBorderHeight);
    // A given dst is trusted for its size; the loops stay inside the planes all the same.
    const long long width = std::min(dst->mWidth, smooth[0]->mWidth);
    const long long height = std::min(dst->mHeight, smooth[0]->mHeight);
    if (!dst->Data())
        return;
    for (int c = 0; c < 3; ++c)
        for (long long y = 0; y < height; ++y)
        {
            const double* s = smooth[c]->PixelPtr(0, y);
            unsigned char* d = dst->PixelPtr(0, y) + c;
            for (long long x = 0; x < width; ++x)
                d[3 * x] = static_cast<unsigned char>(static_cast<int>(s[x]));
        }
}

} // namespace Array
} // namespace Core
} // namespace Tavlin
