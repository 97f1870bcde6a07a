// The three integer components of one pixel, channel 0 first: the arithmetic type of
// 8-bit colour images. A plain value type with component-wise arithmetic only.
#ifndef TAVLIN_CORE_ARRAY_VEC3INT32_H
#define TAVLIN_CORE_ARRAY_VEC3INT32_H

#include <cstdint>

namespace Tavlin
{
namespace Core
{
namespace Array
{

class Vec3Int32
{
public:
    Vec3Int32() : mValues{0, 0, 0} {}
    Vec3Int32(int32_t v0, int32_t v1, int32_t v2) : mValues{v0, v1, v2} {}

    int32_t& operator[](int i) { return mValues[i]; }
    const int32_t& operator[](int i) const { return mValues[i]; }

    Vec3Int32& operator+=(const Vec3Int32& v)
    {
        for (int i = 0; i < 3; ++i)
            mValues[i] += v.mValues[i];
        return *this;
    }
    Vec3Int32& operator-=(const Vec3Int32& v)
    {
        for (int i = 0; i < 3; ++i)
            mValues[i] -= v.mValues[i];
        return *this;
    }
    Vec3Int32& operator*=(const Vec3Int32& v)
    {
        for (int i = 0; i < 3; ++i)
            mValues[i] *= v.mValues[i];
        return *this;
    }
    Vec3Int32& operator/=(const Vec3Int32& v)
    {
        for (int i = 0; i < 3; ++i)
            mValues[i] /= v.mValues[i];
        return *this;
    }

    bool operator==(const Vec3Int32& v) const
    {
        return mValues[0] == v.mValues[0] && mValues[1] == v.mValues[1] && mValues[2] == v.mValues[2];
    }
    bool operator!=(const Vec3Int32& v) const { return !(*this == v); }

private:
    int32_t mValues[3];
};

inline Vec3Int32 operator+(Vec3Int32 a, const Vec3Int32& b) { return a += b; }
inline Vec3Int32 operator-(Vec3Int32 a, const Vec3Int32& b) { return a -= b; }
inline Vec3Int32 operator*(Vec3Int32 a, const Vec3Int32& b) { return a *= b; }
inline Vec3Int32 operator/(Vec3Int32 a, const Vec3Int32& b) { return a /= b; }

} // namespace Array
} // namespace Core
} // namespace Tavlin

#endif
