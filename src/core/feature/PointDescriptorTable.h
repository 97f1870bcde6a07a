// The table that carries interest points through the pipeline: x, y, scale,
// orientation and cornerness (0-based image coordinates in memory) and one descriptor
// vector per row in a single matrix. Detectors create it, descriptor routines fill or
// replace the matrix, and it travels to and from the VESK1/BINDESC1 files, where
// coordinates are 1-based and shifted by the border that was cut.
#ifndef TAVLIN_CORE_FEATURE_POINTDESCRIPTORTABLE_H
#define TAVLIN_CORE_FEATURE_POINTDESCRIPTORTABLE_H

#include <string>

#include "core/array/Array2dTem.h"
#include "core/feature/FeatureDefinition.h"
#include "core/table/TableTem.h"
#include "persistency/File.h"

namespace Tavlin
{
namespace Util
{
class IOBuffer;
}

namespace Core
{
namespace Feature
{

class PointDescriptorTable : public Table::PointDescriptorTableTem
{
public:
    explicit PointDescriptorTable(FeatureDefinition def);

    const FeatureDefinition& GetFeatureDefinition() const { return mFeatureDefinition; }
    void SetFeatureDefinition(const FeatureDefinition& def);

    // Appends a row, doubling the capacity when full; false (row skipped) when the
    // table can not grow. The row's descriptor is left undefined.
    bool AddPoint(double x, double y, double scale, double orientation, double cornerness)
    {
        if (mSize == Capacity())
        {
            const int grown = 2 * mSize < 1 ? 1 : 2 * mSize;
            if (!Reserve(grown, true))
                return false;
        }
        mColumn1.mData[mSize] = x;
        mColumn2.mData[mSize] = y;
        mColumn3.mData[mSize] = scale;
        mColumn4.mData[mSize] = orientation;
        mColumn5.mData[mSize] = cornerness;
        ++mSize;
        return true;
    }

    double* X() const { return mColumn1.mData; }
    double* Y() const { return mColumn2.mData; }
    double* Scale() const { return mColumn3.mData; }
    double* Orientation() const { return mColumn4.mData; }
    double* Cornerness() const { return mColumn5.mData; }

    int GetDescriptorLength() const;
    // Row i of the descriptor store.
    double* GetDescriptor(int i) const { return mColumn6.GetVectorData(i); }
    Array::Array2dReal64* GetDescriptorStorage() const { return mColumn6.GetStorage(); }

    // A fresh store of the given width and the table's capacity; contents undefined.
    void SetDescriptorLength(int length);
    // Adopts `storage` as the descriptor store (the old one is deleted); its width is
    // the new length, its height the store's capacity.
    void SetStorage(Array::Array2dReal64* storage);

    // Adds the rows of `other`, points and descriptors, after this table's rows. False,
    // after a report, when the descriptor lengths differ or the table can not grow.
    bool Append(const PointDescriptorTable& other);

    // A new array wrapping the first Size() rows of the store, without copying.
    Array::Array2dReal64* GetWrappedDescriptorMatrix() const;

    // Reads either descriptor file form; null after a reported failure.
    static PointDescriptorTable* ImportFromBuffer(FeatureDefinition def, Util::IOBuffer* buffer, int pixelOffset);
    // "bindesc1" or "binary" writes BINDESC1, anything else VESK1. False after a
    // reported failure.
    bool ExportToFile(Persistency::File file, int pixelOffset, std::string format) const;

private:
    FeatureDefinition mFeatureDefinition;
};

} // namespace Feature
} // namespace Core
} // namespace Tavlin

#endif
