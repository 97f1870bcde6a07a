#include "core/feature/detector/MakeDenseInterpolator.h"

#include <memory>
#include <vector>

#include "basis/Report.h"
#include "core/array/ArrayFactories.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

namespace
{
void NormaliseToSum1(std::vector<double>& kernel)
{
    double sum = 0.0;
    for (double v : kernel)
        sum += v;
    for (double& v : kernel)
        v /= sum;
}
} // namespace

template <class ArrayT>
ArrayT* MakeDenseInterpolator(int imageWidth, int spacing, int cellSize, bool transpose)
{
    static log4cpp::Category& sLog = log4cpp::Category::getInstance("Tavlin.Core.Feature.MakeDenseInterpolator");
    const int n = imageWidth;
    const int s = spacing;
    const int c = cellSize;
    if (2LL * c > n)
    {
        TLOG_ERROR(sLog, "Image too small");
        return nullptr;
    }
    if (s <= 0)
    {
        TLOG_ERROR(sLog, "Invalid spacing " << s);
        return nullptr;
    }
    if (c < 0)
    {
        TLOG_ERROR(sLog, "Invalid cell size " << c);
        return nullptr;
    }
    const int b = (n - c) / s + 1;
    std::unique_ptr<ArrayT> m(Array::ArrayCreate<ArrayT>(b, n, 0, 0));
    if (!m || !m->mData)
        return nullptr;
    std::fill(m->mData, m->mData + static_cast<int64_t>(b) * n, 0.0);
    TLOG_DEBUG(sLog, "imageWidth=" << n << " b=" << b << " spacing=" << s << " cellSize=" << c);
    if (c % 2 != 0)
    {
        TLOG_INFO(sLog, "not implemented");
        return nullptr;
    }

    std::vector<double> full(2 * c);
    for (int i = 0; i < c; ++i)
        full[i] = full[2 * c - 1 - i] = i + 0.5;
    NormaliseToSum1(full);

    const int edgeLength = c + c / 2;
    std::vector<double> edge(edgeLength);
    for (int i = 0; i < c / 2; ++i)
        edge[i] = 1.0;
    for (int i = 0; i < c; ++i)
        edge[edgeLength - 1 - i] = (i + 0.5) / c;
    NormaliseToSum1(edge);

    double* data = m->mData;
    for (int i = 0; i < b; ++i)
    {
        const int t = c / 2 - s + i * s;
        if (t < 0)
            for (int k = 0; k < edgeLength; ++k)
                data[static_cast<int64_t>(k) * b + i] = edge[k];
        else if (n > t + 2 * c)
            for (int k = 0; k < 2 * c; ++k)
                data[static_cast<int64_t>(t + k) * b + i] = full[k];
        else if (n >= t + edgeLength)
            for (int k = 0; k < edgeLength; ++k)
                data[static_cast<int64_t>(t + k) * b + i] = edge[edgeLength - 1 - k];
    }

    if (!transpose)
        return m.release();
    ArrayT* transposed = Array::ArrayCreate<ArrayT>(n, b, 0, 0);
    for (int row = 0; row < n; ++row)
        for (int col = 0; col < b; ++col)
            transposed->mData[static_cast<int64_t>(col) * n + row] = data[static_cast<int64_t>(row) * b + col];
    return transposed;
}

template Array::Array2dReal64* MakeDenseInterpolator<Array::Array2dReal64>(int, int, int, bool);

} // namespace Feature
} // namespace Core
} // namespace Tavlin
