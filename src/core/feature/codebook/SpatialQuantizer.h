// The frame of the quantizers that turn the points of one image into one vector per
// spatial cell. A quantizer is built once with its pyramid, given its codebook once,
// and then quantizes table after table; the tables are read, never changed.
#ifndef TAVLIN_CORE_FEATURE_CODEBOOK_SPATIALQUANTIZER_H
#define TAVLIN_CORE_FEATURE_CODEBOOK_SPATIALQUANTIZER_H

#include <memory>
#include <string>
#include <vector>

#include "core/array/Array2dTem.h"
#include "core/feature/codebook/SoftAssignment.h"
#include "core/geometry/InterestPointSelector.h"
#include "core/vector/VectorSet.h"

namespace Tavlin
{
namespace Persistency
{
class CodebookLocator;
}

namespace Core
{
namespace Feature
{

class PointDescriptorTable;

class SpatialQuantizer
{
public:
    // An empty pyramid is the one cell "P1x1#0"; pyramid names are expanded. Throws
    // what the selectors throw for a bad text.
    SpatialQuantizer(std::string pyramid, int border);
    virtual ~SpatialQuantizer();
    SpatialQuantizer(const SpatialQuantizer&) = delete;
    SpatialQuantizer& operator=(const SpatialQuantizer&) = delete;

    // One row per selector, owned by the caller; null after a reported failure.
    virtual Vector::VectorSet<Array::Array2dReal64>* Quantize(PointDescriptorTable* table, int width, int height);
    // Loads what the quantizer needs; the locator's kind is overwritten.
    virtual void SetCodebook(Persistency::CodebookLocator& locator);
    // True once everything the quantizer needs has been loaded.
    virtual bool IsReady() const { return false; }

    std::vector<Geometry::InterestPointSelector*> mSelectors;

protected:
    // The table's descriptors wrapped as a matrix (into `wrapper`), its point positions
    // (into xs, ys) and the selectors, ready for a soft assignment onto `codebook`.
    // False, reported, without a codebook or when the dimensions differ.
    bool PrepareInput(PointDescriptorTable* table, Array::Array2dReal64* codebook, int width, int height,
                      std::unique_ptr<Array::Array2dReal64>& wrapper, std::vector<int>& xs, std::vector<int>& ys,
                      SoftAssignmentInput& input, log4cpp::Category& log) const;
    // A result of one zero row of `length` values per selector, with the rows' data
    // in `rows`; null, reported, when they would not fit in memory.
    Vector::VectorSet<Array::Array2dReal64>* MakeZeroRows(long long length, std::vector<double*>& rows) const;
};

} // namespace Feature
} // namespace Core
} // namespace Tavlin

#endif
