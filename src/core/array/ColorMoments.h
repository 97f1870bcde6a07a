// Generalised colour moments of an image region and the 24 illumination invariants
// built from them. A fill computes every moment up to a spatial order and a colour
// degree into a cache; every query after that is a lookup in the cache, which stays
// until the next fill replaces it. A moment is the region mean of
// x^p y^q R^a G^b B^c, x and y counted from 1 (plus the origin), the channels as given.
#ifndef TAVLIN_CORE_ARRAY_COLORMOMENTS_H
#define TAVLIN_CORE_ARRAY_COLORMOMENTS_H

#include <cstdint>
#include <string>
#include <vector>

#include "core/array/Array2dTem.h"

namespace Tavlin
{
namespace Core
{
namespace Array
{

class ColorMoments
{
public:
    struct ColorMoment
    {
        int32_t mOrderX;
        int32_t mOrderY;
        int32_t mPowerR;
        int32_t mPowerG;
        int32_t mPowerB;
        double mValue;
    };

    ColorMoments() : mOriginX(0), mOriginY(0) {}

    // Records in the order: spatial order s ascending, p ascending within it; colour
    // degree d ascending, then a, then b. The mask weights each pixel when useMask is
    // set, and its sum is the divisor; smooth runs a first-order recursive Gaussian
    // of sigma over each channel first.
    void FillMomentCache(Array2dVec3Real64* image, int maxOrder, int maxDegree, bool useMask, Array2dReal64* mask,
                         bool smooth, double sigma);

    // Fills the cache (order 1, degree 2) and appends the 24 invariants to out.
    void GetInvariants(std::vector<double>& out, Array2dVec3Real64* image, bool useMask, Array2dReal64* mask,
                       bool smooth, double sigma);

    // Lookups; an unknown band, band pair or index combination gives 0.0.
    double SB(int p, int q, char band, int power) const;
    double DB(int p, int q, std::string bands, int powerFirst, int powerSecond) const;

    double C02(std::string bands) const;
    double C02tilde(std::string bands) const;
    double C11(std::string bands) const;
    double C12_1(std::string bands) const;
    double C12_2(std::string bands) const;
    double C12_3(std::string bands) const;
    double C12_4(std::string bands) const;
    double B12(char band) const;

    const std::vector<ColorMoment>& Cache() const { return mCache; }

    int32_t mOriginX;
    int32_t mOriginY;

private:
    double Lookup(int p, int q, int r, int g, int b) const;
    // The determinant form over the band-pair powers A, B, C (first and second band).
    double PairDeterminant(const std::string& bands, const int (&powers)[3][2]) const;

    std::vector<ColorMoment> mCache;
};

} // namespace Array
} // namespace Core
} // namespace Tavlin

#endif
