#include "core/array/Laplacian.h"

#include <memory>

#include "core/array/ElementWise.h"
#include "core/array/GaussDerivative.h"
#include "core/array/ProjectRange.h"
#include "core/array/RecGauss.h"

namespace Tavlin
{
namespace Core
{
namespace Array
{

void Laplacian(Array2dReal64*& dst, Array2dReal64* src, double sigma, int scalePower, bool recGauss,
               double precision)
{
    Array2dReal64* lxx = nullptr;
    Array2dReal64* lyy = nullptr;
    if (recGauss)
    {
        RecGauss(lxx, src, sigma, sigma, 2, 0, static_cast<int>(precision));
        RecGauss(lyy, src, sigma, sigma, 0, 2, static_cast<int>(precision));
    }
    else
    {
        GaussDerivative(lxx, src, sigma, 2, 0, precision);
        GaussDerivative(lyy, src, sigma, 0, 2, precision);
    }
    std::unique_ptr<Array2dReal64> xx(lxx);
    std::unique_ptr<Array2dReal64> yy(lyy);
    Add(dst, lxx, lyy);
    double factor = 1.0;
    for (int i = 0; i < scalePower; ++i)
        factor *= sigma;
    MulVal(dst, dst, factor);
}

void Laplacian(Array2dReal64*& dst, Array2dVec3Real64* src, double sigma, int scalePower, bool recGauss,
               double precision)
{
    for (int channel = 1; channel <= 3; ++channel)
    {
        Array2dReal64* plane = nullptr;
        ProjectRange(plane, src, channel);
        std::unique_ptr<Array2dReal64> planeOwner(plane);
        Array2dReal64* lap = nullptr;
        Laplacian(lap, plane, sigma, scalePower, recGauss, precision);
        std::unique_ptr<Array2dReal64> lapOwner(lap);
        if (channel == 1)
            Set(dst, lap);
        else
            Add(dst, dst, lap);
    }
}

} // namespace Array
} // namespace Core
} // namespace Tavlin
