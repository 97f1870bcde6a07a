// The absolute scale-normalised Laplacian of the finite Gaussian path at chosen pixels
// only, equal bit for bit to what Laplacian gives there for the whole image: the same
// kernels, mirrored borders and order of every sum. Worth it when far fewer pixels are
// wanted than the image holds, as for the corners of a scale selection.
#ifndef TAVLIN_CORE_ARRAY_LAPLACIANATPOINTS_H
#define TAVLIN_CORE_ARRAY_LAPLACIANATPOINTS_H

#include <memory>
#include <vector>

#include "core/array/Array2dTem.h"

namespace Tavlin
{
namespace Core
{
namespace Array
{

// ArrayT: Array2dReal64, or Array2dVec3Real64 (the sum of the channel Laplacians).
// The image is read, never written; it must outlive this object.
template <class ArrayT>
class LaplacianAtPoints
{
public:
    LaplacianAtPoints(ArrayT* image, double sigma, int scalePower, double precision);

    // |Laplacian| at image pixel (x, y).
    double At(long long x, long long y);

    // Multiply-adds per pixel here, and per pixel when the whole image is filtered.
    double CostPerPixel() const;
    double CostWholeImage() const;

private:
    struct View
    {
        const double* origin;
        long long stride;
        long long step;
    };

    // (Lxx + Lyy) sigma^scalePower of one channel at image row y, mColumns set for x.
    double PairAt(const View& v, long long y);

    std::unique_ptr<Array2dReal64> mXX, mY0, mX0, mYY;
    double mFactor;
    long long mWidth;
    long long mHeight;
    View mViews[3];
    std::vector<long long> mColumns;
    bool mColumnsAdjacent = false; // no mirrored column among mColumns
    std::vector<const double*> mRows;
    std::vector<double> mRowSums;
};

extern template class LaplacianAtPoints<Array2dReal64>;
extern template class LaplacianAtPoints<Array2dVec3Real64>;

} // namespace Array
} // namespace Core
} // namespace Tavlin

#endif
