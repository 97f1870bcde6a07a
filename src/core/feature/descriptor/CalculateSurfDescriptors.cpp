#include "core/feature/descriptor/CalculateSurfDescriptors.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <memory>

#include "basis/Report.h"
#include "basis/String.h"
#include "core/array/ArrayFactories.h"
#include "core/array/IntegrateReduce.h"
#include "core/feature/descriptor/GetColorChannels.h"
#include "core/feature/descriptor/JoinChannelDescriptors.h"
#include "core/matrix/MatCreate.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

using Array::Array2dReal64;

namespace
{

log4cpp::Category& sLog = log4cpp::Category::getInstance("Core.Feature.CalculateSurfDescriptors");
log4cpp::Category& sDSurfLog = log4cpp::Category::getInstance("Tavlin.Core.Feature.DSurf");

// Zero sizes would divide by zero, negative ones read outside the sums, and the
// descriptor length 4 s^2 must fit the matrix's int width.
bool SurfSizesValid(log4cpp::Category& log, int haarSize, int subregionSize, int spaciality)
{
    if (haarSize >= 1 && subregionSize >= 1 && spaciality >= 1 && 4LL * spaciality * spaciality <= INT_MAX)
        return true;
    TLOG_ERROR(log, "[ERROR] SURF sizes must be at least 1 (and the spaciality below 23171): haar "
                        << haarSize << ", subregion " << subregionSize << ", spaciality " << spaciality);
    return false;
}

// Deletes the arrays of a list on every way out.
struct OwnedArrays
{
    std::vector<Array2dReal64*> p;
    ~OwnedArrays()
    {
        for (Array2dReal64* a : p)
            delete a;
    }
};

} // namespace

void HaarFirstLine(std::vector<Array2dReal64*>& responses, Array2dReal64* image, int y)
{
    const long long last = image->mWidth - 1;
    const double* s = image->PixelPtr(0, y);
    double* dx = responses[0]->PixelPtr(0, y);
    double* dy = responses[1]->PixelPtr(0, y);
    for (long long x = 0; x < last; ++x)
    {
        const double a = s[x];
        const double b = s[x + 1];
        dx[x] = b - a;
        dy[x] = -(b + a);
    }
}

void HaarSecondLine(std::vector<Array2dReal64*>& responses, Array2dReal64* image, int y)
{
    const long long last = image->mWidth - 1;
    const double* s = image->PixelPtr(0, y);
    double* dx = responses[0]->PixelPtr(0, y - 1);
    double* dy = responses[1]->PixelPtr(0, y - 1);
    for (long long x = 0; x < last; ++x)
    {
        const double a = s[x];
        const double b = s[x + 1];
        dx[x] += b - a;
        dy[x] += b + a;
    }
}

std::vector<Array2dReal64*> HaarResponse(Array2dReal64* image)
{
    const long long width = std::max(image->mWidth - 1, 0LL);
    const long long height = std::max(image->mHeight - 1, 0LL);
    std::vector<Array2dReal64*> responses;
    responses.reserve(4);
    responses.push_back(Array::ArrayCreate<Array2dReal64>(width, height, 0, 0));
    responses.push_back(Array::ArrayCreate<Array2dReal64>(width, height, 0, 0));
    for (long long y = 0; y < height; ++y)
    {
        HaarFirstLine(responses, image, static_cast<int>(y));
        HaarSecondLine(responses, image, static_cast<int>(y + 1));
    }
    for (int k = 0; k < 2; ++k)
    {
        Array2dReal64* magnitude = Array::ArrayCreate<Array2dReal64>(width, height, 0, 0);
        for (long long y = 0; y < height; ++y)
        {
            const double* s = responses[k]->PixelPtr(0, y);
            double* d = magnitude->PixelPtr(0, y);
            for (long long x = 0; x < width; ++x)
                d[x] = std::fabs(s[x]);
        }
        responses.push_back(magnitude);
    }
    return responses;
}

Array2dReal64* DSurf(Array2dReal64* channel, PointDescriptorTable* table, int haarSize, int subregionSize,
                     int spaciality)
{
    TLOG_DEBUG(sDSurfLog, "image w=" << channel->mWidth << ", h=" << channel->mHeight);
    if (!SurfSizesValid(sDSurfLog, haarSize, subregionSize, spaciality))
        return nullptr;

    OwnedArrays sums;
    {
        Array2dReal64* reducedRaw = nullptr;
        Array::IntegrateReduce(reducedRaw, channel, haarSize);
        std::unique_ptr<Array2dReal64> reduced(reducedRaw);
        OwnedArrays responses;
        responses.p = HaarResponse(reduced.get());
        reduced.reset();
        for (Array2dReal64*& response : responses.p)
        {
            Array2dReal64* sum = nullptr;
            Array::IntegrateReduceWeighted(sum, response, subregionSize);
            sums.p.push_back(sum);
            delete response;
            response = nullptr;
        }
    }

    const int s = spaciality;
    const long long nW = sums.p[0]->mWidth;
    const long long nH = sums.p[0]->mHeight;
    const long long across = nW - s + 1;
    const long long down = nH - s + 1;
    const bool grid = across > 0 && down > 0;

    if (table->Size() == 0 && grid)
    {
        const double step = static_cast<double>(haarSize) * subregionSize;
        const double span = s * step;
        if (across * down <= INT_MAX)
            table->Reserve(static_cast<int>(across * down), false);
        for (long long j = 0; j < down; ++j)
            for (long long i = 0; i < across; ++i)
            {
                const double x = static_cast<double>(static_cast<long long>(i * step + 0.5 * span + 0.5));
                const double y = static_cast<double>(static_cast<long long>(j * step + 0.5 * span + 0.5));
                if (!table->AddPoint(x, y, span + 1, span + 1, 0.0))
                    break;
            }
    }

    const int length = 4 * s * s;
    const long long rows = table->Size();
    Array2dReal64* result = Matrix::MatCreate<Array2dReal64>(static_cast<int>(rows), length);
    std::fill(result->mData, result->mData + rows * length, 0.0);
    if (!grid)
        return result;

    // Row j x across + i is the window at (i, j); rows beyond the matrix are not written.
    for (long long j = 0; j < down; ++j)
        for (long long i = 0; i < across; ++i)
        {
            const long long index = j * across + i;
            if (index >= rows)
                return result;
            double* row = result->mData + index * length;
            double* out = row;
            for (Array2dReal64* sum : sums.p)
                for (long long yy = j; yy < j + s; ++yy)
                {
                    const double* src = sum->PixelPtr(i, yy);
                    std::copy(src, src + s, out);
                    out += s;
                }
            double total = 0.0;
            for (int k = 0; k < length; ++k)
                total += row[k] * row[k];
            if (total != 0.0)
            {
                const double norm = std::sqrt(total);
                for (int k = 0; k < length; ++k)
                    row[k] /= norm;
            }
        }
    return result;
}

bool CalculateSurfDescriptors(Array::Array2dVec3UInt8* image, PointDescriptorTable* table, std::string name,
                              int haarSize, int subregionSize, int spaciality)
{
    if (!SurfSizesValid(sLog, haarSize, subregionSize, spaciality))
        return false;
    if (table->Size() > 0)
    {
        TLOG_WARN(sLog, "[CalculateSurfDescriptors] dropping the " << table->Size()
                            << " detector points: SURF places its own grid");
        table->SetSize(0);
    }

    StringEraseFirst(name, "surf");
    OwnedArrays channels;
    channels.p = GetColorChannels(image, name);

    std::vector<Array2dReal64*> parts;
    parts.reserve(channels.p.size());
    for (Array2dReal64*& channel : channels.p)
    {
        parts.push_back(DSurf(channel, table, haarSize, subregionSize, spaciality));
        delete channel;
        channel = nullptr;
    }
    JoinChannelDescriptors(table, parts);
    return true;
}

void GetDSurfOptions(Util::PropertySet& options, int& haarSize, int& subregionSize, int& spaciality)
{
    haarSize = options.GetInt("surf-haar-size", 3);
    subregionSize = options.GetInt("surf-subregion-size", 2);
    spaciality = options.GetInt("surf-spaciality", 4);
}

} // namespace Feature
} // namespace Core
} // namespace Tavlin
