#include "core/feature/descriptor/CalculateVIFTDescriptors.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <memory>
#include <vector>

#include "basis/Report.h"
#include "basis/String.h"
#include "basis/Timer.h"
#include "core/array/ScaleAntialiased.h"
#include "core/column/Copy.h"
#include "core/feature/descriptor/GetColorChannels.h"
#include "core/feature/descriptor/JoinChannelDescriptors.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

using Array::Array2dReal32;
using Array::Array2dReal64;
using Array::Array2dVec3Real64;
using Array::Array2dVec3UInt8;

namespace
{

log4cpp::Category& sLog = log4cpp::Category::getInstance("Core.Feature.CalculateVIFTDescriptors");
log4cpp::Category& sEatLog = log4cpp::Category::getInstance("Core.Feature.DoCalculateVIFTDescriptorsAndEat");
log4cpp::Category& sKernelLog = log4cpp::Category::getInstance("Core.Feature.DoCalculateVIFTDescriptors");

const double kLowContrast = 0.005;
const double kLevelFactor = 0.70710678;

// The image in doubles with its border, every stored value converted.
Array2dVec3Real64* ToDoubles(Array2dVec3UInt8* image)
{
    auto* result = new Array2dVec3Real64(image->mWidth, image->mHeight, image->mBorderWidth, image->mBorderHeight);
    const uint64_t count = image->mDataSize;
    const unsigned char* s = image->mData;
    double* d = result->mData;
    for (uint64_t k = 0; k < count; ++k)
        d[k] = s[k];
    return result;
}

// Positions found on an image scaled by f, in the coordinates of the full image.
void MapToFullImage(PointDescriptorTable* table, double f)
{
    double* x = table->X();
    double* y = table->Y();
    for (int i = 0; i < table->Size(); ++i)
    {
        x[i] = std::trunc(x[i] / f + 0.5);
        y[i] = std::trunc(y[i] / f + 0.5);
    }
}

} // namespace

PointDescriptorTable* DoCalculateVIFTDescriptors(Array2dReal32* channel, int spacing)
{
    (void)channel;
    (void)spacing;
    TLOG_ERROR(sKernelLog, "VIFT not compiled in");
    return nullptr;
}

PointDescriptorTable* DoCalculateVIFTDescriptorsAndEat(Array2dReal64* channel, int spacing)
{
    std::unique_ptr<Array2dReal32> single(new Array2dReal32(channel->mWidth, channel->mHeight, 0, 0));
    for (long long y = 0; y < channel->mHeight; ++y)
    {
        const double* s = channel->PixelPtr(0, y);
        float* d = single->PixelPtr(0, y);
        for (long long x = 0; x < channel->mWidth; ++x)
            d[x] = static_cast<float>(s[x]);
    }
    delete channel;
    Timer timer(1);
    PointDescriptorTable* table = DoCalculateVIFTDescriptors(single.get(), spacing);
    TLOG_DEBUG(sEatLog, "VIFT channel in " << timer.SplitTimeStr());
    return table;
}

int NilLowContrastDescriptors(PointDescriptorTable* table)
{
    const int length = table->GetDescriptorLength();
    const double* contrast = table->Cornerness();
    int nilled = 0;
    for (int i = 0; i < table->Size(); ++i)
        if (contrast[i] < kLowContrast)
        {
            std::fill(table->GetDescriptor(i), table->GetDescriptor(i) + length, 0.0);
            ++nilled;
        }
    if (nilled > 0)
        TLOG_DEBUG(sLog, "Descriptor part nilled due to low constrast: " << nilled << " " << table->Size());
    return nilled;
}

PointDescriptorTable* CalculateVIFTDescriptors(Array2dVec3Real64* image, std::string name, int spacing)
{
    if (StringEndsWith(name, "vift3"))
        spacing = 6;
    else if (StringEndsWith(name, "vift4"))
        spacing = 4;
    for (const char* suffix : {"vift4", "vift3", "vift2", "vift"})
        StringEraseFirst(name, suffix);

    std::vector<Array2dReal64*> channels = GetColorChannels(image, name);
    if (channels.empty())
    {
        TLOG_ERROR(sLog, "[CalculateVIFTDescriptors] no channels for the colour model '" << name << "'");
        return nullptr;
    }

    std::vector<std::unique_ptr<PointDescriptorTable>> tables;
    for (size_t c = 0; c < channels.size(); ++c)
    {
        PointDescriptorTable* table = DoCalculateVIFTDescriptorsAndEat(channels[c], spacing);
        if (!table)
        {
            for (size_t rest = c + 1; rest < channels.size(); ++rest)
                delete channels[rest];
            return nullptr;
        }
        tables.emplace_back(table);
    }
    for (auto& table : tables)
        NilLowContrastDescriptors(table.get());

    if (tables.size() > 1)
    {
        std::vector<Array2dReal64*> parts;
        for (auto& table : tables)
            parts.push_back(table->GetWrappedDescriptorMatrix());
        JoinChannelDescriptors(tables[0].get(), parts);
    }
    return tables[0].release();
}

PointDescriptorTable* CalculateVIFTDescriptors(Array2dVec3UInt8* image, std::string name, int spacing, int levels)
{
    if (levels < 1)
    {
        TLOG_ERROR(sLog, "[CalculateVIFTDescriptors] levels must be at least 1, not " << levels);
        return nullptr;
    }
    std::unique_ptr<PointDescriptorTable> result;
    double f = 1.0;
    for (int level = 0; level < levels; ++level, f = kLevelFactor * f)
    {
        std::unique_ptr<Array2dVec3Real64> scaled;
        if (f == 1.0)
        {
            scaled.reset(ToDoubles(image));
        }
        else
        {
            const long long width = static_cast<long long>(image->mWidth * f);
            const long long height = static_cast<long long>(image->mHeight * f);
            // An image scaled to nothing has no points, nor have the levels below it.
            if (width < 1 || height < 1)
                break;
            Array2dVec3Real64* raw = nullptr;
            Array::ScaleAntialiased(raw, image, width, height);
            scaled.reset(raw);
        }
        std::unique_ptr<PointDescriptorTable> one(CalculateVIFTDescriptors(scaled.get(), name, spacing));
        scaled.reset();
        if (!one)
            return nullptr;
        MapToFullImage(one.get(), f);
        if (!result)
            result = std::move(one);
        else if (!AppendScaleLevel(result.get(), one.get()))
            return nullptr;
    }
    return result.release();
}

bool AppendScaleLevel(PointDescriptorTable* result, PointDescriptorTable* level)
{
    const int length = result->GetDescriptorLength();
    if (level->GetDescriptorLength() != length)
    {
        TLOG_ERROR(sLog, "[CalculateVIFTDescriptors] levels differ in descriptor length: " << length << " and "
                                                                                           << level->GetDescriptorLength());
        return false;
    }
    const int at = result->Size();
    const int count = level->Size();
    const long long total = static_cast<long long>(at) + count;
    if (total > INT_MAX)
    {
        TLOG_ERROR(sLog, "[CalculateVIFTDescriptors] too many points: " << total);
        return false;
    }
    const int size = static_cast<int>(total);
    // The descriptor store may have been set with a capacity of its own.
    if ((result->Capacity() < size && !result->Reserve(size, true)) ||
        (result->mColumn6.Capacity() < size && !result->mColumn6.Reserve(size, true)))
    {
        TLOG_ERROR(sLog, "[CalculateVIFTDescriptors] can not hold " << size << " points");
        return false;
    }
    Column::Copy(&result->mColumn1, &level->mColumn1, count, at, 0);
    Column::Copy(&result->mColumn2, &level->mColumn2, count, at, 0);
    Column::Copy(&result->mColumn3, &level->mColumn3, count, at, 0);
    Column::Copy(&result->mColumn4, &level->mColumn4, count, at, 0);
    Column::Copy(&result->mColumn5, &level->mColumn5, count, at, 0);
    Column::Copy(&result->mColumn6, &level->mColumn6, count, at, 0);
    result->SetSize(size);
    return true;
}

} // namespace Feature
} // namespace Core
} // namespace Tavlin
