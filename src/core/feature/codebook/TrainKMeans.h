// Codebook training by k-means: k-means++ seeding, then Lloyd iterations in which a
// block of descriptors is assigned to all words by one matrix product, exactly as the
// projection assigns them. A word left without descriptors is re-seeded from the
// descriptor farthest from its own word. Same data and seed give the same words.
#ifndef TAVLIN_CORE_FEATURE_CODEBOOK_TRAINKMEANS_H
#define TAVLIN_CORE_FEATURE_CODEBOOK_TRAINKMEANS_H

#include <cstdint>
#include <ostream>
#include <vector>

#include "core/array/Array2dTem.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

struct KMeansParam
{
    int words = 0;
    // Assignment passes at most; training also stops when no assignment changes.
    int iterations = 20;
    int64_t seed = 1;
    // One line per iteration (iteration, objective, changed assignments, time), or none.
    std::ostream* progress = nullptr;
};

// The words, words x D, owned by the caller. The caller guarantees
// 1 <= words <= rows of data and a borderless data matrix.
Array::Array2dReal64* TrainKMeans(Array::Array2dReal64* data, const KMeansParam& param);

// The k-means++ seeds alone: the first word uniform, each further one drawn with
// probability proportional to the squared distance to the nearest word so far, among
// at most KMeansSeedingRows(words) rows drawn at random.
Array::Array2dReal64* SeedKMeansPlusPlus(Array::Array2dReal64* data, int words, int64_t seed);
long long KMeansSeedingRows(long long words);

// Nearest word of each row, as the projection finds it; the squared distances go to
// `squared` when it is given.
std::vector<int> AssignToWords(Array::Array2dReal64* data, Array::Array2dReal64* words,
                               std::vector<double>* squared = nullptr);

} // namespace Feature
} // namespace Core
} // namespace Tavlin

#endif
