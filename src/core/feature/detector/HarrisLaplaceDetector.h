// Scale-invariant corners: the Harris cornerness over a ladder of eight integration
// scales, its local maxima as candidate corners, and for each candidate the scales at
// which the scale-normalised Laplacian peaks. HLDetector works on the grey image,
// CHLDetector on an opponent-colour image. The detector object holds only the filter
// configuration; every call works on its own data.
#ifndef TAVLIN_CORE_FEATURE_DETECTOR_HARRISLAPLACEDETECTOR_H
#define TAVLIN_CORE_FEATURE_DETECTOR_HARRISLAPLACEDETECTOR_H

#include <iterator>
#include <vector>

#include "core/array/Array2dTem.h"
#include "core/feature/PointDescriptorTable.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

// A candidate corner; scale is the integration scale, set by whoever asked for it.
struct MyPoint
{
    double scale;
    double cornerness;
    int x;
    int y;
};

class HarrisLaplaceDetector
{
public:
    HarrisLaplaceDetector(double precision, double maxRadius, bool recGauss, bool integerScaleMatch)
        : mPrecision(precision), mMaxRadius(maxRadius), mRecGauss(recGauss), mIntegerScaleMatch(integerScaleMatch)
    {
    }

    // Corners of a three-channel image at integration scale sigma, appended to points
    // (new heap objects owned by the caller).
    template <class ArrayT>
    void harrisCornerDetector(std::vector<MyPoint*>& points, ArrayT* image, double sigma, double k,
                              double threshold);

    // The grey form: the same cornerness of one plane at integration scale sigma, into a
    // new array owned by the caller.
    Array::Array2dReal64* GreyCornerness(Array::Array2dReal64* grey, double sigma, double k);

    // Grey-value non-maximum selection in a (2 mMaxRadius + 1)^2 window; the
    // cornerness array's border is overwritten. Plateaus give a point at each pixel.
    void DoMaxPoints(Array::Array2dReal64* cornerness, std::back_insert_iterator<std::vector<MyPoint*>> out,
                     double threshold);

    // New table (owned by the caller), sorted by falling cornerness.
    template <class ArrayT>
    PointDescriptorTable* HLDetector(ArrayT* image, double harrisThreshold, double k, double laplaceThreshold);
    PointDescriptorTable* CHLDetector(Array::Array2dVec3UInt8* image, double harrisThreshold, double k,
                                      double laplaceThreshold);

    // Adds a row for every Laplacian peak of every point, over the nine levels around
    // the point's own scale; one row per (x, y, level). T: Array2dReal64 or
    // Array2dVec3Real64.
    template <class T>
    void laplacianScaleSelection(PointDescriptorTable* table, T* image, std::vector<MyPoint*>& points,
                                 double laplaceThreshold);

    double mPrecision;
    double mMaxRadius;
    bool mRecGauss;
    bool mIntegerScaleMatch;

private:
    // Adds the cornerness terms of one channel into lxx, lyy, lxy (set when first).
    void AddStructureTerms(Array::Array2dReal64* channel, double sd, bool first, Array::Array2dReal64*& lxx,
                           Array::Array2dReal64*& lyy, Array::Array2dReal64*& lxy);
    // Smooths the three terms at sigma and folds them into the cornerness, returned in
    // a new array; the terms are deleted.
    Array::Array2dReal64* IntegrateTerms(Array::Array2dReal64* lxx, Array::Array2dReal64* lyy,
                                         Array::Array2dReal64* lxy, double sigma, double k);
};

} // namespace Feature
} // namespace Core
} // namespace Tavlin

#endif
