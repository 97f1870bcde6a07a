#include "core/array/PatGeometricOp.h"

#include <algorithm>
#include <cstring>
#include <iostream>
#include <memory>

#include "core/array/ArrayFactories.h"
#include "core/array/FuncGeometricOp.h"
#include "core/matrix/MatCreate.h"
#include "core/matrix/MatInverse.h"

namespace Tavlin
{
namespace Core
{
namespace Array
{
namespace Pattern
{

namespace
{

Array2dReal64* CopyMatrix(Array2dReal64* m)
{
    Array2dReal64* copy = Matrix::MatCreate<Array2dReal64>(static_cast<int>(m->mHeight), static_cast<int>(m->mWidth));
    std::memcpy(copy->Data(), m->Data(), static_cast<size_t>(m->DataSize()) * sizeof(double));
    return copy;
}

// A size from a transformed extent; what no array could have becomes 0.
long long Extent(double span)
{
    const double rounded = span + 0.5;
    return rounded >= 0.0 && rounded < 2147483647.0 ? static_cast<long long>(rounded) : 0;
}

} // namespace

template <class DstT, class SrcT>
void PatGeometricOp(DstT*& dst, SrcT* src, Array2dReal64* matrix, bool isForward,
                    Geometry::GeoIntType interpolation, bool adjustSize, typename DstT::ArithType background)
{
    if (matrix->mWidth != 3 || matrix->mHeight != 3)
    {
        std::cout << "PatGeometricOp: matrix needs to be 3x3" << std::endl;
        return;
    }
    std::unique_ptr<Array2dReal64> forward(isForward ? CopyMatrix(matrix) : Matrix::MatInverse(matrix));
    std::unique_ptr<Array2dReal64> inverse(isForward ? Matrix::MatInverse(matrix) : CopyMatrix(matrix));
    // MatInverse has said why on the standard error stream.
    if (!inverse || (adjustSize && !forward))
        return;

    long long width = dst ? dst->mWidth : src->mWidth;
    long long height = dst ? dst->mHeight : src->mHeight;
    Vec3Real64 offset(0.0, 0.0, 0.0);
    if (adjustSize)
    {
        const double w = static_cast<double>(src->mWidth);
        const double h = static_cast<double>(src->mHeight);
        const double corners[4][2] = {{0.0, 0.0}, {0.0, h}, {w, 0.0}, {w, h}};
        const double* f = forward->Data();
        double minX = 0.0, maxX = 0.0, minY = 0.0, maxY = 0.0;
        for (int c = 0; c < 4; ++c)
        {
            const double x = 0.0 + f[0] * corners[c][0] + f[1] * corners[c][1] + f[2] * 1.0;
            const double y = 0.0 + f[3] * corners[c][0] + f[4] * corners[c][1] + f[5] * 1.0;
            minX = c == 0 ? x : std::min(minX, x);
            maxX = c == 0 ? x : std::max(maxX, x);
            minY = c == 0 ? y : std::min(minY, y);
            maxY = c == 0 ? y : std::max(maxY, y);
        }
        width = Extent(maxX - minX);
        height = Extent(maxY - minY);
        offset = Vec3Real64(minX, minY, 0.0);
    }

    if (dst && (dst->mWidth != width || dst->mHeight != height))
    {
        delete dst;
        dst = nullptr;
    }
    if (!dst)
        dst = ArrayCreate<DstT>(width, height, src->mBorderWidth, src->mBorderHeight);
    if (!dst->Data())
        return;
    FuncGeometricOp(dst, src, inverse.get(), interpolation, offset, background);
}

template void PatGeometricOp<Array2dReal64, const Array2dUInt8>(Array2dReal64*&, const Array2dUInt8*,
                                                                Array2dReal64*, bool, Geometry::GeoIntType, bool,
                                                                double);

} // namespace Pattern
} // namespace Array
} // namespace Core
} // namespace Tavlin
