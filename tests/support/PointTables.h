// Point tables for the codebook tests: points at given positions with given descriptors.
#ifndef LUMISK_TESTS_SUPPORT_POINTTABLES_H
#define LUMISK_TESTS_SUPPORT_POINTTABLES_H

#include <memory>
#include <utility>
#include <vector>

#include "core/feature/PointDescriptorTable.h"

namespace TestSupport
{

// One row per position (x, y; scale, orientation and cornerness 0) whose descriptor is
// the next `length` values of `descriptors`.
std::unique_ptr<Tavlin::Core::Feature::PointDescriptorTable> MakePointTable(
    const std::vector<std::pair<double, double>>& positions, int length, const std::vector<double>& descriptors);

} // namespace TestSupport

#endif
