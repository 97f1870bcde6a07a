// The gradient-orientation histogram of the sparse SIFT family, computed on one scalar
// plane at the points of a PointDescriptorTable: a SpatialBins x SpatialBins grid of
// cells around each point, OrientationBins orientation bins per cell, trilinear
// placement, a Gaussian window of two cells, and normalisation with clipping and
// integer quantisation. Gradients come from a fixed ladder of smoothing scales, one
// filtering per ladder level that holds points, shared by all of that level's points.
// The system uses FISTDescriptor<4, 8> only: 128 values per point.
#ifndef TAVLIN_CORE_FEATURE_DESCRIPTOR_FISTDESCRIPTOR_H
#define TAVLIN_CORE_FEATURE_DESCRIPTOR_FISTDESCRIPTOR_H

#include <cstdint>
#include <vector>

#include "core/array/Array2dTem.h"
#include "core/feature/PointDescriptorTable.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

template <int SpatialBinsT, int OrientationBinsT>
class FISTDescriptor
{
public:
    static constexpr int DescriptorLength = SpatialBinsT * SpatialBinsT * OrientationBinsT;
    static constexpr int LadderLevels = 18;
    // Smoothing scales of the ladder levels, ending in -1.0. Level i takes the points of
    // scale below entry i + 1 and, except level 0, at least entry i; the last level takes
    // nothing, so points of scale 51.2 and above get no histogram.
    static const double sScaleLadder[LadderLevels + 1];

    FISTDescriptor();

    // The ladder level of a point of this scale, -1 for none.
    static int LevelOfScale(double scale);

    // A new DescriptorLength x table size array, owned by the caller. Rows of points
    // outside the ladder stay zero.
    Array::Array2dReal64* DoCalculateFISTDescriptors(Array::Array2dReal64* channel, PointDescriptorTable* table);
    // The same, timed at debug level; deletes `channel`.
    Array::Array2dReal64* DoCalculateFISTDescriptorsAndEat(Array::Array2dReal64* channel,
                                                           PointDescriptorTable* table);

    // The same into the rows of a store `stride` values apart, from `rows` on (the
    // table's rows, DescriptorLength values each), which the caller has zeroed: the
    // channels of a colour descriptor go straight into their columns of the joined store.
    void DoCalculateFISTDescriptorsInto(Array::Array2dReal64* channel, PointDescriptorTable* table, double* rows,
                                        long long stride);
    void DoCalculateFISTDescriptorsIntoAndEat(Array::Array2dReal64* channel, PointDescriptorTable* table,
                                              double* rows, long long stride);

    // Adds the histogram of one point to `row`, which the caller has zeroed. magnitude and
    // angle are planes of one size; pixels outside them are not sampled. An orientation
    // beyond 4096 turns, or not a number, is refused with a warning and adds nothing
    // (DoCalculateFISTDescriptors leaves such a point's row zero).
    void InternalSample(double* row, Array::Array2dReal64* magnitude, Array::Array2dReal64* angle, double scale,
                        double y, double x, double orientation);

    // Normalises a row by mCustomNorm, clips at 0.2, renormalises when something was
    // clipped and quantises to whole numbers of mOutputScale.
    void Normalise(double* row) const;

    bool mNoGaussianWeight;
    double mOutputScale;
    // The norm's exponent; negative and 2 both mean L2, 0 means none.
    int32_t mCustomNorm;

private:
    // One pixel offset of the sampling window that lands inside the grid, with what does
    // not depend on the pixel's value.
    struct Tap
    {
        double weight; // Gaussian window, or 1.0 without it
        double fr; // row fraction; the other row's weight is 1 - fr
        double fc;
        int32_t i; // row offset
        int32_t j; // column offset
        int16_t cell; // first element of grid cell (r0, c0); r0 or c0 may be -1
        int8_t r0;
        int8_t c0;
        uint8_t cells; // bits 0 to 3: cells (r0, c0), (r0, c0 + 1), (r0 + 1, c0), (r0 + 1, c0 + 1) in the grid
    };

    // The taps of one (scale, sub-pixel offset, orientation), in sampling order.
    struct Footprint
    {
        double scale;
        double fx;
        double fy;
        double orientation;
        bool valid = false;
        int32_t minI;
        int32_t maxI;
        int32_t minJ;
        int32_t maxJ;
        std::vector<Tap> taps;
        // Taps of row offset minI + r start at rowStart[r]; one entry more than rows.
        std::vector<int32_t> rowStart;
        // The same deposits grouped by grid cell, in tap order within each cell: every
        // histogram value still sums its terms in tap order, while one cell's values stay
        // in registers. Those of cell c are cellStart[c] .. cellStart[c + 1] - 1; the
        // factors are the row and column weights that the tap gives that cell.
        std::vector<int32_t> cellStart;
        std::vector<int32_t> cellI;
        std::vector<int32_t> cellJ;
        std::vector<double> cellWeight;
        std::vector<double> cellRowFactor;
        std::vector<double> cellColumnFactor;
        // cellI x offsetWidth + cellJ: the deposits' pixel offsets in planes offsetWidth wide.
        std::vector<long long> cellOffset;
        long long offsetWidth = 0;
        // At orientation 0 a tap's row weights depend on its row alone and its column
        // weights on its column alone, and every row holds the same columns: per row (from
        // minI) 1 - fr, 1 - fr, fr, fr and the row's offset in the padded grid of the tap
        // walk, per column (from minJ) 1 - fc, fc, 1 - fc, fc and its offset. Empty for
        // other orientations.
        std::vector<double> rowWeights;
        std::vector<int32_t> rowCells;
        std::vector<double> columnWeights;
        std::vector<int32_t> columnCells;
    };

    // Per pixel of a level, the orientation bin o0 and fraction fo at orientation 0,
    // which is what every detector writes; o0 is -1 where the fraction is out of range.
    struct OrientationPlanes
    {
        std::vector<int8_t> o0;
        std::vector<double> fo;
        // A band of image rows bandFirst .. bandFirst + bandRows - 1 with the bins spread
        // out: eight values a pixel, 1 - fo in bin o0, fo in bin o0 + 1 and 0 in the others.
        // It moves down with the points; bandCapacity is 0 when the level has no band.
        std::vector<double> spread;
        long long bandFirst = 0;
        long long bandRows = 0;
        long long bandCapacity = 0;
    };

    void MakeFootprint(Footprint& footprint, double scale, double fx, double fy, double orientation) const;
    // The deposits by grid cell that the band loop reads, for planes `offsetWidth` wide;
    // made only for levels that use the band, as they take several times the taps' memory.
    void MakeCellDeposits(Footprint& footprint, long long offsetWidth) const;
    void Accumulate(double* row, const Footprint& footprint, Array::Array2dReal64* magnitude,
                    Array::Array2dReal64* angle, long long ix, long long iy, double orientation) const;
    // The same for a point of orientation 0, with the level's orientation planes.
    void AccumulateAtZero(double* row, const Footprint& footprint, Array::Array2dReal64* magnitude,
                          OrientationPlanes& planes, long long ix, long long iy) const;
    double NormFactor(const double* row) const;
    // Normalise for `count` rows (at most NormaliseBatch), and their norm factors.
    static constexpr int NormaliseBatch = 4;
    void NormaliseRows(double* const* rows, int count) const;
    void NormFactors(double* const* rows, int count, double* factors) const;
};

extern template class FISTDescriptor<4, 8>;

} // namespace Feature
} // namespace Core
} // namespace Tavlin

#endif
