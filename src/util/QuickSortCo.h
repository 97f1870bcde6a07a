// In-place quicksort of keys[left..right] (bounds inclusive) that moves a companion
// array along. Ranges of at most 16 elements are finished by selection. Not stable.
#ifndef TAVLIN_UTIL_QUICKSORTCO_H
#define TAVLIN_UTIL_QUICKSORTCO_H

#include <utility>

namespace Tavlin
{
namespace Util
{

namespace Detail
{
template <class Key, class Co, class Less>
void QuickSortCo(Key* keys, Co* co, int left, int right, Less less)
{
    while (left < right - 15)
    {
        const Key pivot = keys[left];
        int i = left - 1;
        int j = right + 1;
        for (;;)
        {
            do
                --j;
            while (less(pivot, keys[j]));
            do
                ++i;
            while (less(keys[i], pivot));
            if (i >= j)
                break;
            std::swap(keys[i], keys[j]);
            std::swap(co[i], co[j]);
        }
        QuickSortCo(keys, co, left, j, less);
        left = j + 1;
    }
    for (int i = left; i < right; ++i)
    {
        int best = i;
        for (int k = i + 1; k <= right; ++k)
            if (less(keys[k], keys[best]))
                best = k;
        std::swap(keys[i], keys[best]);
        std::swap(co[i], co[best]);
    }
}
} // namespace Detail

template <class Key, class Co>
void QuickSortCo(Key* keys, Co* co, int left, int right)
{
    Detail::QuickSortCo(keys, co, left, right, [](const Key& a, const Key& b) { return a < b; });
}

template <class Key, class Co>
void QuickSortDescCo(Key* keys, Co* co, int left, int right)
{
    Detail::QuickSortCo(keys, co, left, right, [](const Key& a, const Key& b) { return b < a; });
}

} // namespace Util
} // namespace Tavlin

#endif
