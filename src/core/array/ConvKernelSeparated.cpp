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

namespace
{

// Horizontal pass from work into a scratch plane, vertical pass from it into dst (which
// may be work: the horizontal pass is done with it by then).
void BothPasses(Array2dReal64* dst, Array2dReal64* work, Array2dReal64* kernelX, Array2dReal64* kernelY,
                int dispatchId)
{
    const long long hx = kernelX->mWidth / 2;
    const long long hy = kernelY->mWidth / 2;
    Pattern::FuncBorderMirror2d(work, hx, 0);
    std::unique_ptr<Array2dReal64> temp(ArrayClone<Array2dReal64>(work, 0, 0));
    Trait::BpoMul<double, double, double> mul;
    Trait::BpoAddAssign<double, double> add;
    Pattern::FuncGenConv2dSepDispatch_H(temp.get(), work, kernelX, mul, add, dispatchId);
    Pattern::FuncBorderMirror2d(temp.get(), 0, hy);
    Pattern::FuncGenConv2dSepDispatch_V(dst, temp.get(), kernelY, mul, add, dispatchId);
}

} // namespace

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
    BothPasses(dst, work, kernelX, kernelY, dispatchId);
}

void ConvKernelSeparatedInPlace(Array2dReal64*& a, Array2dReal64* kernelX, Array2dReal64* kernelY)
{
    const long long hx = kernelX->mWidth / 2;
    const long long hy = kernelY->mWidth / 2;
    if (hx > a->mBorderWidth || hy > a->mBorderHeight)
    {
        Array2dReal64* copy = ArrayClone<Array2dReal64>(a, hx, hy);
        CopyImageRows(copy, a);
        delete a;
        a = copy;
    }
    BothPasses(a, a, kernelX, kernelY, 0);
}

} // namespace Array
} // namespace Core
} // namespace Tavlin
