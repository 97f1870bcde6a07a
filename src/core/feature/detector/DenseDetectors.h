// The detectors that place points on a regular grid from the image's size alone:
// the staggered "densesampling" grid, the plain "dense" grid and "denseall", every
// pixel. Each grid position gets one row per scale, in the order of the scale list.
#ifndef TAVLIN_CORE_FEATURE_DETECTOR_DENSEDETECTORS_H
#define TAVLIN_CORE_FEATURE_DETECTOR_DENSEDETECTORS_H

#include <vector>

#include "core/array/Array2dTem.h"
#include "core/feature/PointDescriptorTable.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

template <class ImageT>
PointDescriptorTable* DenseSamplingDetector(ImageT* image, int spacing, std::vector<double> scales);

template <class ImageT>
PointDescriptorTable* DenseDetector(ImageT* image, int spacing, std::vector<double> scales);

template <class ImageT>
PointDescriptorTable* DenseAllDetector(ImageT* image, std::vector<double> scales);

extern template PointDescriptorTable* DenseSamplingDetector<Array::Array2dVec3UInt8>(Array::Array2dVec3UInt8*, int,
                                                                                     std::vector<double>);
extern template PointDescriptorTable* DenseDetector<Array::Array2dVec3UInt8>(Array::Array2dVec3UInt8*, int,
                                                                             std::vector<double>);
extern template PointDescriptorTable* DenseAllDetector<Array::Array2dVec3UInt8>(Array::Array2dVec3UInt8*,
                                                                                std::vector<double>);

} // namespace Feature
} // namespace Core
} // namespace Tavlin

#endif
