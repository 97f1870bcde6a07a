// Small matrices for the matrix tests: from a row-major list of values, or filled
// with values in [-1, 1) from a fixed linear congruential sequence.
#ifndef LUMISK_TESTS_SUPPORT_MATRICES_H
#define LUMISK_TESTS_SUPPORT_MATRICES_H

#include <memory>
#include <string>
#include <vector>

#include "core/array/Array2dTem.h"

namespace TestSupport
{

using MatrixPtr = std::unique_ptr<Tavlin::Core::Array::Array2dReal64>;

// A borderless rows x cols matrix; `values` fills it row by row from the start,
// zeros the rest.
MatrixPtr MatrixOf(int rows, int cols, const std::vector<double>& values = {});

MatrixPtr RandomMatrix(int rows, int cols, unsigned seed);

// Raw arrays written one after the other, as a list, in the given binary form.
void WriteRawFile(const std::string& path, const std::vector<Tavlin::Core::Array::Array2dReal64*>& matrices,
                  int binary = 1);

// Row r of a borderless matrix as values, and its Euclidean length.
std::vector<double> RowValues(const Tavlin::Core::Array::Array2dReal64& m, long long r);
double RowNorm(const Tavlin::Core::Array::Array2dReal64& m, long long r);

} // namespace TestSupport

#endif
