#include "support/Matrices.h"

#include <algorithm>
#include <cmath>

#include <gtest/gtest.h>

#include "core/array/WriteRaw.h"
#include "core/matrix/MatCreate.h"
#include "util/IOBufferFile.h"

namespace TestSupport
{

MatrixPtr MatrixOf(int rows, int cols, const std::vector<double>& values)
{
    MatrixPtr m(Tavlin::Core::Matrix::MatCreate<Tavlin::Core::Array::Array2dReal64>(rows, cols));
    std::fill_n(m->mData, static_cast<size_t>(rows) * cols, 0.0);
    std::copy(values.begin(), values.end(), m->mData);
    return m;
}

MatrixPtr RandomMatrix(int rows, int cols, unsigned seed)
{
    MatrixPtr m = MatrixOf(rows, cols);
    unsigned state = seed;
    for (int i = 0; i < rows * cols; ++i)
    {
        state = state * 1103515245u + 12345u;
        m->mData[i] = ((state >> 8) & 0xffff) / 32768.0 - 1.0;
    }
    return m;
}

void WriteRawFile(const std::string& path, const std::vector<Tavlin::Core::Array::Array2dReal64*>& matrices,
                  int binary)
{
    Tavlin::Util::IOBufferFile buffer(path, false, false, false);
    if (!buffer.Valid())
        ADD_FAILURE() << "cannot write " << path;
    for (Tavlin::Core::Array::Array2dReal64* m : matrices)
        Tavlin::Core::Array::WriteRaw(m, &buffer, binary);
}

std::vector<double> RowValues(const Tavlin::Core::Array::Array2dReal64& m, long long r)
{
    const double* v = m.mData + r * m.mWidth;
    return std::vector<double>(v, v + m.mWidth);
}

double RowNorm(const Tavlin::Core::Array::Array2dReal64& m, long long r)
{
    double sum = 0.0;
    for (double x : RowValues(m, r))
        sum += x * x;
    return std::sqrt(sum);
}

} // namespace TestSupport
