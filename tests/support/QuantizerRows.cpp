#include "support/QuantizerRows.h"

#include <cmath>

namespace TestSupport
{

std::vector<double> Row(const Rows& rows, int r)
{
    const double* v = rows->GetVectorData(r);
    return std::vector<double>(v, v + rows->GetVectorLength());
}

double Norm(const std::vector<double>& v)
{
    double sum = 0.0;
    for (double x : v)
        sum += x * x;
    return std::sqrt(sum);
}

} // namespace TestSupport
