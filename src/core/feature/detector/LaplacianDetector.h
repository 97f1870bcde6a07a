// Blob detection: extrema of the Laplacian over position and scale, on a grey image in
// the range 0 to 255, with the response normalised by the first power of sigma.
// LaplacianDetector prepares the grey plane and sorts the result; LaplacianDetection
// finds the extrema of a plane.
#ifndef TAVLIN_CORE_FEATURE_DETECTOR_LAPLACIANDETECTOR_H
#define TAVLIN_CORE_FEATURE_DETECTOR_LAPLACIANDETECTOR_H

#include "core/array/Array2dTem.h"
#include "core/feature/PointDescriptorTable.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

// New table owned by the caller, cornerness (the signed response) descending.
template <class ArrayT>
PointDescriptorTable* LaplacianDetector(ArrayT* image, bool recGauss, double precision);

// New table owned by the caller, rows by level, then x, then y.
template <class ArrayT>
PointDescriptorTable* LaplacianDetection(ArrayT* grey, bool recGauss, double precision);

extern template PointDescriptorTable* LaplacianDetector<Array::Array2dVec3UInt8>(Array::Array2dVec3UInt8*, bool,
                                                                                 double);
extern template PointDescriptorTable* LaplacianDetection<Array::Array2dReal64>(Array::Array2dReal64*, bool, double);

} // namespace Feature
} // namespace Core
} // namespace Tavlin

#endif
