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

// The descriptor of row r as values.
std::vector<double> Row(const std::unique_ptr<Tavlin::Core::Feature::PointDescriptorTable>& table, int r);

// Points spread over a width x height image, with their descriptors.
struct PointSet
{
    std::vector<std::pair<double, double>> positions;
    int length = 0;
    std::vector<double> descriptors;

    std::unique_ptr<Tavlin::Core::Feature::PointDescriptorTable> Table() const
    {
        return MakePointTable(positions, length, descriptors);
    }
};

// `count` points at positions scattered over the image (a few beyond whole pixels),
// with descriptors of `length` values in [-1, 1) from a fixed sequence.
PointSet RandomPoints(int count, int length, int width, int height, unsigned seed);

} // namespace TestSupport

#endif
