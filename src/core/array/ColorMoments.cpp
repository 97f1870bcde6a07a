#include "core/array/ColorMoments.h"

#include <memory>

#include "core/array/ArrayFactories.h"
#include "core/array/ArraySet.h"
#include "core/array/ElementWise.h"
#include "core/array/PixSum.h"
#include "core/array/ProjectRange.h"
#include "core/array/RecGauss.h"

namespace Tavlin
{
namespace Core
{
namespace Array
{

namespace
{

Array2dReal64* Filled(long long width, long long height, double v)
{
    Array2dReal64* a = ArrayCreate<Array2dReal64>(width, height, 0, 0);
    double* p = a->Data();
    for (long long i = 0; i < width * height; ++i)
        p[i] = v;
    return a;
}

// Entry k becomes entry k - 1 times entry 1, for k = 2 .. last.
void Powers(ArraySet<Array2dReal64>& set)
{
    for (int k = 2; k < set.Size(); ++k)
        Mul(set.mArrays[k], set.mArrays[k - 1], set.mArrays[1]);
}

void DeleteAll(ArraySet<Array2dReal64>& set)
{
    for (Array2dReal64*& a : set.mArrays)
    {
        delete a;
        a = nullptr;
    }
}

// Sum over the image of the pixel products of the factors, multiplied left to right;
// one running sum, rows top to bottom. The products of a row go through a buffer.
double SumOfProducts(Array2dReal64* const* factors, int count, std::vector<double>& row)
{
    const long long width = factors[0]->mWidth;
    const long long height = factors[0]->mHeight;
    double* buf = row.data();
    double sum = 0.0;
    for (long long y = 0; y < height; ++y)
    {
        const double* first = factors[0]->PixelPtr(0, y);
        for (long long x = 0; x < width; ++x)
            buf[x] = first[x];
        for (int k = 1; k < count; ++k)
        {
            const double* f = factors[k]->PixelPtr(0, y);
            for (long long x = 0; x < width; ++x)
                buf[x] *= f[x];
        }
        for (long long x = 0; x < width; ++x)
            sum += buf[x];
    }
    return sum;
}

double Determinant(const double (&u)[3], const double (&v)[3], const double (&w)[3])
{
    const double num = u[0] * v[1] * w[2] + u[1] * v[2] * w[0] + u[2] * v[0] * w[1] - u[2] * v[1] * w[0] -
                       u[0] * v[2] * w[1] - u[1] * v[0] * w[2];
    return num / (w[0] * w[1] * w[2]);
}

} // namespace

void ColorMoments::FillMomentCache(Array2dVec3Real64* image, int maxOrder, int maxDegree, bool useMask,
                                   Array2dReal64* mask, bool smooth, double sigma)
{
    mCache.clear();
    if (maxOrder < 0 || maxDegree < 0)
        return;
    useMask = useMask && mask;
    const long long width = image->mWidth;
    const long long height = image->mHeight;
    const double n = useMask ? PixSum(mask) : static_cast<double>(width) * static_cast<double>(height);

    ArraySet<Array2dReal64> xs(maxOrder + 1), ys(maxOrder + 1);
    ArraySet<Array2dReal64> rs(maxDegree + 1), gs(maxDegree + 1), bs(maxDegree + 1);
    ArraySet<Array2dReal64>* all[5] = {&xs, &ys, &rs, &gs, &bs};
    for (ArraySet<Array2dReal64>* set : all)
        set->mArrays[0] = Filled(width, height, 1.0);

    if (maxOrder > 0)
    {
        xs.mArrays[1] = ArrayCreate<Array2dReal64>(width, height, 0, 0);
        ys.mArrays[1] = ArrayCreate<Array2dReal64>(width, height, 0, 0);
        for (long long y = 0; y < height; ++y)
        {
            double* px = xs.mArrays[1]->PixelPtr(0, y);
            double* py = ys.mArrays[1]->PixelPtr(0, y);
            for (long long x = 0; x < width; ++x)
            {
                px[x] = static_cast<double>(mOriginX + x + 1);
                py[x] = static_cast<double>(mOriginY + y + 1);
            }
        }
    }
    if (maxDegree > 0)
    {
        ArraySet<Array2dReal64>* channels[3] = {&rs, &gs, &bs};
        for (int c = 0; c < 3; ++c)
        {
            Array2dReal64*& plane = channels[c]->mArrays[1];
            ProjectRange(plane, image, c + 1);
            if (smooth)
            {
                Array2dReal64* smoothed = nullptr;
                RecGauss(smoothed, plane, sigma, sigma, 0, 0, 1);
                delete plane;
                plane = smoothed;
            }
        }
    }
    for (ArraySet<Array2dReal64>* set : all)
        Powers(*set);

    std::vector<double> row(static_cast<size_t>(width > 0 ? width : 0));
    for (int s = 0; s <= maxOrder; ++s)
        for (int p = 0; p <= s; ++p)
            for (int q = 0; q <= s; ++q)
            {
                if (p + q != s)
                    continue;
                for (int d = 0; d <= maxDegree; ++d)
                    for (int a = 0; a <= d; ++a)
                        for (int b = 0; b <= d; ++b)
                            for (int c = 0; c <= d; ++c)
                            {
                                if (a + b + c != d)
                                    continue;
                                Array2dReal64* factors[6];
                                int count = 0;
                                factors[count++] = rs.mArrays[a];
                                if (b != 0)
                                    factors[count++] = gs.mArrays[b];
                                if (c != 0)
                                    factors[count++] = bs.mArrays[c];
                                if (p != 0)
                                    factors[count++] = xs.mArrays[p];
                                if (q != 0)
                                    factors[count++] = ys.mArrays[q];
                                if (useMask)
                                    factors[count++] = mask;
                                const double value = SumOfProducts(factors, count, row) / n;
                                mCache.push_back(ColorMoment{p, q, a, b, c, value});
                            }
            }

    for (ArraySet<Array2dReal64>* set : all)
        DeleteAll(*set);
}

double ColorMoments::Lookup(int p, int q, int r, int g, int b) const
{
    for (const ColorMoment& m : mCache)
        if (m.mOrderX == p && m.mOrderY == q && m.mPowerR == r && m.mPowerG == g && m.mPowerB == b)
            return m.mValue;
    return 0.0;
}

double ColorMoments::SB(int p, int q, char band, int power) const
{
    switch (band)
    {
    case 'R':
        return Lookup(p, q, power, 0, 0);
    case 'G':
        return Lookup(p, q, 0, power, 0);
    case 'B':
        return Lookup(p, q, 0, 0, power);
    default:
        return 0.0;
    }
}

double ColorMoments::DB(int p, int q, std::string bands, int powerFirst, int powerSecond) const
{
    if (bands == "RG")
        return Lookup(p, q, powerFirst, powerSecond, 0);
    if (bands == "RB")
        return Lookup(p, q, powerFirst, 0, powerSecond);
    if (bands == "GB")
        return Lookup(p, q, 0, powerFirst, powerSecond);
    return 0.0;
}

double ColorMoments::C02(std::string bands) const
{
    return DB(0, 0, bands, 1, 1) * DB(0, 0, bands, 0, 0) / (DB(0, 0, bands, 0, 1) * DB(0, 0, bands, 1, 0));
}

double ColorMoments::C02tilde(std::string bands) const
{
    return DB(0, 0, bands, 2, 0) * DB(0, 0, bands, 0, 2) / (DB(0, 0, bands, 1, 1) * DB(0, 0, bands, 1, 1));
}

double ColorMoments::PairDeterminant(const std::string& bands, const int (&powers)[3][2]) const
{
    double u[3], v[3], w[3];
    for (int i = 0; i < 3; ++i)
    {
        u[i] = DB(1, 0, bands, powers[i][0], powers[i][1]);
        v[i] = DB(0, 1, bands, powers[i][0], powers[i][1]);
        w[i] = DB(0, 0, bands, powers[i][0], powers[i][1]);
    }
    return Determinant(u, v, w);
}

double ColorMoments::C11(std::string bands) const
{
    return PairDeterminant(bands, {{1, 0}, {0, 1}, {0, 0}});
}

double ColorMoments::C12_1(std::string bands) const
{
    return PairDeterminant(bands, {{1, 0}, {1, 1}, {0, 0}});
}

double ColorMoments::C12_2(std::string bands) const
{
    return PairDeterminant(bands, {{0, 1}, {1, 1}, {0, 0}});
}

double ColorMoments::C12_3(std::string bands) const
{
    return PairDeterminant(bands, {{1, 0}, {0, 2}, {0, 0}});
}

double ColorMoments::C12_4(std::string bands) const
{
    return PairDeterminant(bands, {{2, 0}, {0, 1}, {0, 0}});
}

double ColorMoments::B12(char band) const
{
    const int powers[3] = {1, 2, 0};
    double u[3], v[3], w[3];
    for (int i = 0; i < 3; ++i)
    {
        u[i] = SB(1, 0, band, powers[i]);
        v[i] = SB(0, 1, band, powers[i]);
        w[i] = SB(0, 0, band, powers[i]);
    }
    return Determinant(u, v, w);
}

void ColorMoments::GetInvariants(std::vector<double>& out, Array2dVec3Real64* image, bool useMask,
                                 Array2dReal64* mask, bool smooth, double sigma)
{
    FillMomentCache(image, 1, 2, useMask, mask, smooth, sigma);
    for (char band : {'R', 'G', 'B'})
        out.push_back(SB(0, 0, band, 0) * SB(0, 0, band, 2) / (SB(0, 0, band, 1) * SB(0, 0, band, 1)));
    const char* pairs[3] = {"RG", "RB", "GB"};
    for (const char* bands : pairs)
        out.push_back(C02(bands));
    for (const char* bands : pairs)
        out.push_back(C02tilde(bands));
    for (const char* bands : pairs)
        out.push_back(C11(bands));
    for (char band : {'R', 'G', 'B'})
        out.push_back(B12(band));
    for (const char* bands : pairs)
        out.push_back(C12_1(bands));
    for (const char* bands : pairs)
        out.push_back(C12_2(bands));
    // Only these three of the last two families: the descriptor format fixes them.
    out.push_back(C12_3("RG"));
    out.push_back(C12_3("GB"));
    out.push_back(C12_4("RB"));
}

} // namespace Array
} // namespace Core
} // namespace Tavlin
