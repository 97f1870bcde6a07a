// Binary pixel operations handed by value to the generic separable convolution: the
// multiply of a kernel value with a source value, and the accumulation into the sum.
// Each call inlines to one operation.
#ifndef TAVLIN_CORE_ARRAY_TRAITBPO_H
#define TAVLIN_CORE_ARRAY_TRAITBPO_H

namespace Tavlin
{
namespace Core
{
namespace Array
{
namespace Trait
{

template <class Dst, class A, class B>
struct BpoMul
{
    Dst operator()(const A& a, const B& b) const { return a * b; }
};

template <class Dst, class A>
struct BpoAddAssign
{
    void operator()(Dst& d, const A& a) const { d += a; }
};

} // namespace Trait
} // namespace Array
} // namespace Core
} // namespace Tavlin

#endif
