#include "core/array/ConvKernelSeparated.h"

#include <memory>

#include "core/array/ArrayFactories.h"
#include "core/array/FuncBorderMirror2d.h"
#include "core/array/FuncGenConv2dSepDispatch.h"

namespace Tavlin
{
namespace Core
{
namespace Array
{

void ConvKernelSeparated(Array2dReal64*& dst, Array2dReal64* src, Array2dReal64* kernelX, Array2dReal64* kernelY,
                         int dispatchId, Util::TimePlot*)
{
    if (dispatchId == 6)
        dispatchId = 0;
    const long long hx = kernelX->mWidth / 2;
    const long long hy = kernelY->mWidth / 2;

    std::unique_ptr<Array2dReal64> copy;
    Array2dReal64* work = src;
    if (hx > src->mBorderWidth || hy > src->mBorderHeight)
    {
        copy.reset(ArrayClone<Array2dReal64>(src, hx, hy));
        CopyImageRows(copy.get(), src);
        work = copy.get();
    }
    if (dispatchId < 0 || dispatchId > 2)
    {
        Pattern::FuncBorderMirror2d(work, hx, hy);
        return;
    }
    if (!dst || dst == work)
        dst = ArrayClone<Array2dReal64>(work, 0, 0);

    Pattern::FuncBorderMirror2d(work, hx, 0);
    std::unique_ptr<Array2dReal64> temp(ArrayClone<Array2dReal64>(work, 0, 0));
    Trait::BpoMul<double, double, double> mul;
    Trait::BpoAddAssign<double, double> add;
    Pattern::FuncGenConv2dSepDispatch_H(temp.get(), work, kernelX, mul, add, dispatchId);
    Pattern::FuncBorderMirror2d(temp.get(), 0, hy);
    Pattern::FuncGenConv2dSepDispatch_V(dst, temp.get(), kernelY, mul, add, dispatchId);
}

} // namespace Array
} // namespace Core
} // namespace Tavlin
