#include "core/array/ArrayFactories.h"

namespace Tavlin
{
namespace Core
{
namespace Array
{

template Array2dVec3UInt8* ArrayCreate<Array2dVec3UInt8>(long long, long long, long long, long long,
                                                         unsigned char*, bool);
template Array2dReal64* ArrayCreate<Array2dReal64>(long long, long long, long long, long long, double*, bool);
template Array2dUInt64* ArrayCreate<Array2dUInt64>(long long, long long, long long, long long,
                                                   unsigned long long*, bool);

template Array2dReal64* ArrayClone<Array2dReal64, Array2dReal64>(Array2dReal64*, long long, long long);
template Array2dReal64* ArrayClone<Array2dReal64, Array2dVec3UInt8>(Array2dVec3UInt8*, long long, long long);
template Array2dReal64* ArrayClone<Array2dReal64, Array2dVec3Real64>(Array2dVec3Real64*, long long, long long);
template Array2dVec3Real64* ArrayClone<Array2dVec3Real64, Array2dVec3UInt8>(Array2dVec3UInt8*, long long,
                                                                            long long);
template Array2dVec3Real64* ArrayClone<Array2dVec3Real64, Array2dVec3Real64>(Array2dVec3Real64*, long long,
                                                                             long long);
template Array2dVec3UInt8* ArrayClone<Array2dVec3UInt8, Array2dVec3UInt8>(Array2dVec3UInt8*, long long,
                                                                          long long);

template Array2dReal64* MakeFromData<Array2dReal64>(double*, int, int, int, int, bool);

template void SetPart<Array2dInt32, Array2dInt32>(Array2dInt32*&, Array2dInt32*, int, int, int, int, int, int);

} // namespace Array
} // namespace Core
} // namespace Tavlin
