// The input of codebook training: the descriptors of one or more descriptor files
// (VESK1 or BINDESC1, such as a cluster-input file or any descriptor output), joined
// into one matrix, optionally thinned to a random sample. Sampling keeps a reservoir,
// so that memory is bounded by the sample and one file, whatever the total.
#ifndef TAVLIN_CORE_FEATURE_CODEBOOK_TRAININGDESCRIPTORS_H
#define TAVLIN_CORE_FEATURE_CODEBOOK_TRAININGDESCRIPTORS_H

#include <cstdint>
#include <string>
#include <vector>

#include <log4cpp/Category.hh>

#include "core/array/Array2dTem.h"

namespace Tavlin
{
namespace Util
{
class Random;
}

namespace Core
{
namespace Feature
{

// The rows of all files in file order; with `sample` above 0 and more rows than that,
// `sample` of them drawn at random with `seed`. Null, after an error on `log`, when a
// file cannot be read or holds no descriptors, or when lengths differ.
Array::Array2dReal64* ReadTrainingDescriptors(const std::vector<std::string>& files, long long sample, int64_t seed,
                                              log4cpp::Category& log);

// Uniform in [0, n) for any positive n, also beyond the range of int.
long long RandomBelow(Util::Random& random, long long n);

// Uniform in [0, 1) with 60 random bits.
double RandomUnit(Util::Random& random);

} // namespace Feature
} // namespace Core
} // namespace Tavlin

#endif
