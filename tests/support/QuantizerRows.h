// The rows a quantizer returns, as the quantizer tests look at them.
#ifndef LUMISK_TESTS_SUPPORT_QUANTIZERROWS_H
#define LUMISK_TESTS_SUPPORT_QUANTIZERROWS_H

#include <memory>
#include <vector>

#include "core/array/Array2dTem.h"
#include "core/vector/VectorSet.h"

namespace TestSupport
{

using Rows = std::unique_ptr<Tavlin::Core::Vector::VectorSet<Tavlin::Core::Array::Array2dReal64>>;

// Row r as values.
std::vector<double> Row(const Rows& rows, int r);

// The Euclidean length.
double Norm(const std::vector<double>& v);

} // namespace TestSupport

#endif
