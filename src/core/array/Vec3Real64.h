// The three double components of one pixel, channel 0 first: the arithmetic type of
// double colour images and the value the colour conversions work on. A plain value
// type with component-wise arithmetic only.
#ifndef TAVLIN_CORE_ARRAY_VEC3REAL64_H
#define TAVLIN_CORE_ARRAY_VEC3REAL64_H

namespace Tavlin
{
namespace Core
{
namespace Array
{

class Vec3Real64
{
public:
    Vec3Real64() : mValues{0, 0, 0} {}
    Vec3Real64(double v0, double v1, double v2) : mValues{v0, v1, v2} {}

    double& operator[](int i) { return mValues[i]; }
    const double& operator[](int i) const { return mValues[i]; }

    Vec3Real64& operator+=(const Vec3Real64& v)
    {
        for (int i = 0; i < 3; ++i)
            mValues[i] += v.mValues[i];
        return *this;
    }
    Vec3Real64& operator-=(const Vec3Real64& v)
    {
        for (int i = 0; i < 3; ++i)
            mValues[i] -= v.mValues[i];
        return *this;
    }
    Vec3Real64& operator*=(const Vec3Real64& v)
    {
        for (int i = 0; i < 3; ++i)
            mValues[i] *= v.mValues[i];
        return *this;
    }
    Vec3Real64& operator/=(const Vec3Real64& v)
    {
        for (int i = 0; i < 3; ++i)
            mValues[i] /= v.mValues[i];
        return *this;
    }

    bool operator==(const Vec3Real64& v) const
    {
        return mValues[0] == v.mValues[0] && mValues[1] == v.mValues[1] && mValues[2] == v.mValues[2];
    }
    bool operator!=(const Vec3Real64& v) const { return !(*this == v); }

private:
    double mValues[3];
};

inline Vec3Real64 operator+(Vec3Real64 a, const Vec3Real64& b) { return a += b; }
inline Vec3Real64 operator-(Vec3Real64 a, const Vec3Real64& b) { return a -= b; }
inline Vec3Real64 operator*(Vec3Real64 a, const Vec3Real64& b) { return a *= b; }
inline Vec3Real64 operator/(Vec3Real64 a, const Vec3Real64& b) { return a /= b; }

} // namespace Array
} // namespace Core
} // namespace Tavlin

#endif
