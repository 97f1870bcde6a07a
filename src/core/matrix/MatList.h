// An ordered list of matrices, as a codebook file yields them. It is the standard
// vector of matrix pointers and nothing more; it does not own its elements.
#ifndef TAVLIN_CORE_MATRIX_MATLIST_H
#define TAVLIN_CORE_MATRIX_MATLIST_H

#include <vector>

#include <log4cpp/Category.hh>

#include "core/array/Array2dTem.h"

namespace Tavlin
{
namespace Core
{
namespace Matrix
{

class MatList : public std::vector<Array::Array2dReal64*>
{
public:
    using std::vector<Array::Array2dReal64*>::vector;

    static log4cpp::Category& sLog;
};

} // namespace Matrix
} // namespace Core
} // namespace Tavlin

#endif
