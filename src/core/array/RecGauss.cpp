#include "core/array/RecGauss.h"

#include <iostream>
#include <memory>

#include "core/array/ArrayFactories.h"
#include "core/array/ConvKernel1d.h"
#include "core/array/ConvKernelSeparated.h"
#include "core/array/ElementWise.h"
#include "core/array/MakeGaussIIR1d.h"
#include "core/array/RecConvKernelSeparated.h"

namespace Tavlin
{
namespace Core
{
namespace Array
{

namespace
{

// The difference kernel of a derivative order, null for orders without one.
Array2dReal64* MakeDifferenceKernel(int order)
{
    double first[3] = {-0.5, 0.0, 0.5};
    double second[3] = {1.0, -2.0, 1.0};
    if (order == 1)
        return MakeFromData<Array2dReal64>(first, 3, 1, 0, 0, false);
    if (order == 2)
        return MakeFromData<Array2dReal64>(second, 3, 1, 0, 0, false);
    return nullptr;
}

} // namespace

Array2dReal64* RecGaussSmoothing(Array2dReal64* src, double sigmaX, double sigmaY, int orderX, int orderY,
                                 int precision)
{
    std::unique_ptr<Array2dReal64> kx(MakeGaussIIR1d(sigmaX, orderX, precision));
    std::unique_ptr<Array2dReal64> ky(MakeGaussIIR1d(sigmaY, orderY, precision));
    Array2dReal64* dst = nullptr;
    RecConvKernelSeparated(dst, src, kx.get(), ky.get(), nullptr);
    return dst;
}

void RecGauss(Array2dReal64*& dst, Array2dReal64* src, double sigmaX, double sigmaY, int orderX, int orderY,
              int precision)
{
    if (orderX == 0 && orderY == 0)
    {
        std::unique_ptr<Array2dReal64> kx(MakeGaussIIR1d(sigmaX, orderX, precision));
        std::unique_ptr<Array2dReal64> ky(MakeGaussIIR1d(sigmaY, orderY, precision));
        RecConvKernelSeparated(dst, src, kx.get(), ky.get(), nullptr);
        return;
    }
    std::unique_ptr<Array2dReal64> temp(RecGaussSmoothing(src, sigmaX, sigmaY, orderX, orderY, precision));

    std::unique_ptr<Array2dReal64> dx(MakeDifferenceKernel(orderX));
    std::unique_ptr<Array2dReal64> dy(MakeDifferenceKernel(orderY));
    if (dx && dy)
    {
        std::cout << "doing it" << std::endl;
        ConvKernelSeparated(dst, temp.get(), dx.get(), dy.get(), 6, nullptr);
    }
    else if (dx)
    {
        ConvKernel1d(dst, temp.get(), 1, dx.get());
    }
    else if (dy)
    {
        ConvKernel1d(dst, temp.get(), 2, dy.get());
    }
    else
    {
        // Orders above 2 have no difference kernel: the smoothed plane is the result.
        Set(dst, temp.get());
    }
}

} // namespace Array
} // namespace Core
} // namespace Tavlin
