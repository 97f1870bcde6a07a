#include "core/feature/PointDescriptorTable.h"

#include <algorithm>
#include <cstring>
#include <memory>

#include "basis/Report.h"
#include "core/array/ArrayFactories.h"
#include "core/feature/PointDescriptorIO.h"
#include "util/IOBuffer.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

namespace
{
log4cpp::Category& sLog = log4cpp::Category::getInstance("Tavlin.Core.Feature.PointDescriptorTable");

void NameColumns(std::vector<std::string>& names, const std::string& descriptorName)
{
    names = {"x", "y", "scale", "orientation", "cornerness", descriptorName, "", "", ""};
}
} // namespace

PointDescriptorTable::PointDescriptorTable(FeatureDefinition def) : mFeatureDefinition(std::move(def))
{
    NameColumns(mColumnNames, mFeatureDefinition.name);
}

void PointDescriptorTable::SetFeatureDefinition(const FeatureDefinition& def)
{
    mFeatureDefinition = def;
    mColumnNames[5] = def.name;
}

int PointDescriptorTable::GetDescriptorLength() const
{
    if (mColumn6.IsConstVectorSize())
        return mColumn6.GetVectorLength();
    return mColumn6.Capacity() > 0 ? mColumn6.GetVectorLength(0) : 0;
}

void PointDescriptorTable::SetDescriptorLength(int length)
{
    const int height = mColumn6.GetStorage() ? static_cast<int>(mColumn6.GetStorage()->mHeight) : Capacity();
    mColumn6.SetStorage(Array::ArrayCreate<Array::Array2dReal64>(length, height, 0, 0));
}

void PointDescriptorTable::SetStorage(Array::Array2dReal64* storage)
{
    mColumn6.SetStorage(storage);
}

bool PointDescriptorTable::Append(const PointDescriptorTable& other)
{
    const int length = GetDescriptorLength();
    if (other.GetDescriptorLength() != length)
    {
        TLOG_ERROR(sLog, "[Append] descriptor length " << other.GetDescriptorLength() << " differs from " << length);
        return false;
    }
    const long long total = static_cast<long long>(mSize) + other.mSize;
    if (total > 0x7fffffffLL || (total > Capacity() && !Reserve(static_cast<int>(total), true)) ||
        (total > mColumn6.Capacity() && !mColumn6.Reserve(static_cast<int>(total), true)))
    {
        TLOG_ERROR(sLog, "[Append] table can not grow to " << total << " rows");
        return false;
    }
    const size_t count = static_cast<size_t>(other.mSize);
    std::copy(other.X(), other.X() + count, X() + mSize);
    std::copy(other.Y(), other.Y() + count, Y() + mSize);
    std::copy(other.Scale(), other.Scale() + count, Scale() + mSize);
    std::copy(other.Orientation(), other.Orientation() + count, Orientation() + mSize);
    std::copy(other.Cornerness(), other.Cornerness() + count, Cornerness() + mSize);
    if (count > 0 && length > 0)
        std::memcpy(GetDescriptor(mSize), other.GetDescriptor(0), count * length * sizeof(double));
    mSize = static_cast<int>(total);
    return true;
}

Array::Array2dReal64* PointDescriptorTable::GetWrappedDescriptorMatrix() const
{
    Array::Array2dReal64* store = mColumn6.GetStorage();
    return new Array::Array2dReal64(GetDescriptorLength(), mSize, 0, 0, store ? store->mData : nullptr, true);
}

PointDescriptorTable* PointDescriptorTable::ImportFromBuffer(FeatureDefinition def, Util::IOBuffer* buffer,
                                                            int pixelOffset)
{
    Array::Array2dReal64* pointsRaw = nullptr;
    Array::Array2dReal64* descriptorsRaw = nullptr;
    const std::string type = ReadBINDESC1FromBuffer(pointsRaw, descriptorsRaw, buffer, true, true);
    std::unique_ptr<Array::Array2dReal64> points(pointsRaw);
    std::unique_ptr<Array::Array2dReal64> descriptors(descriptorsRaw);
    if (!points || !descriptors)
    {
        TLOG_ERROR(sLog, "[ImportFromBuffer] could not read points and descriptors");
        return nullptr;
    }
    if (type.compare(0, 6, "CIRCLE") != 0)
        TLOG_WARN(sLog, "Data type of file read is not CIRCLE, but '" << type << "'");
    TLOG_DEBUG(sLog, "Loaded file: rows=" << points->mHeight << "; cols=" << points->mWidth);
    if (points->mWidth < 5)
    {
        TLOG_ERROR(sLog, "[ImportFromBuffer] points have " << points->mWidth << " columns, 5 expected");
        return nullptr;
    }

    auto table = std::make_unique<PointDescriptorTable>(def);
    const double offset = pixelOffset;
    const int64_t width = points->mWidth;
    for (int64_t row = 0; row < points->mHeight; ++row)
    {
        const double* p = points->mData + row * width;
        table->AddPoint(p[0] - 1.0 - offset, p[1] - 1.0 - offset, p[2], p[3], p[4]);
    }
    table->SetStorage(descriptors.release());
    if (table->mSize > table->mColumn6.Capacity())
        table->mSize = table->mColumn6.Capacity();
    return table.release();
}

bool PointDescriptorTable::ExportToFile(Persistency::File file, int pixelOffset, std::string format) const
{
    std::unique_ptr<Util::IOBuffer> buffer(file.GetWriteBuffer());
    if (!buffer)
        return false;
    std::unique_ptr<Array::Array2dReal64> points(Array::ArrayCreate<Array::Array2dReal64>(5, mSize, 0, 0));
    const double offset = pixelOffset;
    double* p = points->mData;
    for (int i = 0; i < mSize; ++i, p += 5)
    {
        p[0] = mColumn1.mData[i] + 1.0 + offset;
        p[1] = mColumn2.mData[i] + 1.0 + offset;
        p[2] = mColumn3.mData[i];
        p[3] = mColumn4.mData[i];
        p[4] = mColumn5.mData[i];
    }
    std::unique_ptr<Array::Array2dReal64> descriptors(GetWrappedDescriptorMatrix());
    if (format == "bindesc1" || format == "binary")
        return WriteBINDESC1ToBuffer(buffer.get(), points.get(), descriptors.get(), "CIRCLE  ");
    return WriteVESK1ToBuffer(buffer.get(), points.get(), descriptors.get(), "CIRCLE");
}

} // namespace Feature
} // namespace Core
} // namespace Tavlin
