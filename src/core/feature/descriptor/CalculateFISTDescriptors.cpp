#include "core/feature/descriptor/CalculateFISTDescriptors.h"

#include <cmath>
#include <cstring>
#include <memory>
#include <vector>

#include "basis/Report.h"
#include "basis/String.h"
#include "core/array/sRGB2RGB.h"
#include "core/feature/descriptor/FISTDescriptor.h"
#include "core/feature/FeatureImageTypes.h"
#include "core/feature/descriptor/GetColorChannels.h"
#include "core/feature/descriptor/JoinChannelDescriptors.h"
#include "core/feature/descriptor/StringIsFullyNumeric.h"
#include "core/matrix/MatCreate.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

namespace
{

log4cpp::Category& sLog = log4cpp::Category::getInstance("Core.Feature.CalculateFISTDescriptors");

// v -> (v x pre) ^ exponent x post over every value of the image.
void PowInPlace(Array2dVec3Real64* image, double pre, double exponent, double post)
{
    const long long count = image->mWidth * 3;
    for (long long y = 0; y < image->mHeight; ++y)
    {
        double* d = image->PixelPtr(0, y);
        for (long long i = 0; i < count; ++i)
            d[i] = std::pow(d[i] * pre, exponent) * post;
    }
}

} // namespace

Array2dVec3Real64* MakeFISTImage(Array2dVec3UInt8* image, const std::string& name)
{
    Array2dVec3Real64* result = new Array2dVec3Real64(image->mWidth, image->mHeight, 0, 0);
    const bool g0 = name.find("g0sift") != std::string::npos;
    const bool g1 = !g0 && name.find("g1sift") != std::string::npos;
    const bool g2 = !g0 && !g1 && name.find("g2sift") != std::string::npos;
    const bool g3 = !g0 && !g1 && !g2 && name.find("g3sift") != std::string::npos;
    const bool g4 = !g0 && !g1 && !g2 && !g3 && name.find("g4sift") != std::string::npos;
    if (g0 || g1 || g2 || g3 || g4)
    {
        // The table (i / 255) ^ 2.2 x 255 of the first two forms is the one of sRGB2RGB.
        Array::sRGB2RGB(result, image);
        if (g1)
            PowInPlace(result, 1.0, 0.5555555555555556, 1.0);
        else if (g2)
            PowInPlace(result, 1.0, 0.5, 1.0);
        else if (g3)
            PowInPlace(result, 0.00392156862745098, 0.5555555555555556, 255.0);
        else if (g4)
            PowInPlace(result, 0.00392156862745098, 0.5, 255.0);
        return result;
    }
    const long long count = image->mWidth * 3;
    for (long long y = 0; y < image->mHeight; ++y)
    {
        const unsigned char* s = image->PixelPtr(0, y);
        double* d = result->PixelPtr(0, y);
        for (long long i = 0; i < count; ++i)
            d[i] = s[i];
    }
    return result;
}

void CalculateFISTDescriptors(Array2dVec3UInt8* image, PointDescriptorTable* table, std::string name)
{
    if (!image || !table)
    {
        TLOG_ERROR(sLog, "[CalculateFISTDescriptors] no image or no table");
        return;
    }
    std::unique_ptr<Array2dVec3Real64> doubleImage(MakeFISTImage(image, name));

    for (const char* suffix : {"g0sift", "g1sift", "g2sift", "g3sift", "g4sift", "sift", "fist"})
        StringEraseFirst(name, suffix);

    int32_t customNorm = -1;
    if (name.size() >= 2)
    {
        if (name[name.size() - 2] == 'n' && StringIsFullyNumeric(name.substr(name.size() - 1)))
        {
            customNorm = atoi(name.substr(name.size() - 1));
            name.erase(name.size() - 2);
        }
        if (name.size() >= 3 && name[name.size() - 3] == 'n' && StringIsFullyNumeric(name.substr(name.size() - 2)))
        {
            customNorm = atoi(name.substr(name.size() - 2));
            name.erase(name.size() - 3);
        }
        TLOG_DEBUG(sLog, "Set custom norm: " << customNorm);
    }

    std::vector<Array2dReal64*> channels = GetColorChannels(doubleImage.get(), name);
    doubleImage.reset();

    FISTDescriptor<4, 8> descriptor;
    descriptor.mNoGaussianWeight = false;
    descriptor.mOutputScale = 512.0;
    descriptor.mCustomNorm = customNorm;
    std::vector<Array2dReal64*> results;
    if (channels.size() < 2)
    {
        for (Array2dReal64* channel : channels)
            results.push_back(descriptor.DoCalculateFISTDescriptorsAndEat(channel, table));
        JoinChannelDescriptors(table, results);
        return;
    }
    // Each channel straight into its columns of the joined store: the parts and the
    // whole are never held at once.
    const long long length = FISTDescriptor<4, 8>::DescriptorLength;
    const long long width = length * static_cast<long long>(channels.size());
    Array2dReal64* joined = Matrix::MatCreate<Array2dReal64>(table->Size(), static_cast<int>(width));
    if (!joined->mData && joined->mDataSize > 0)
    {
        // As when the parts cannot be joined: an empty store.
        delete joined;
        for (Array2dReal64* channel : channels)
            delete channel;
        table->SetStorage(new Array2dReal64(0, table->Size(), 0, 0));
        return;
    }
    std::memset(joined->mData, 0, static_cast<size_t>(width) * table->Size() * sizeof(double));
    for (size_t c = 0; c < channels.size(); ++c)
        descriptor.DoCalculateFISTDescriptorsIntoAndEat(channels[c], table, joined->mData + c * length, width);
    table->SetStorage(joined);
}

} // namespace Feature
} // namespace Core
} // namespace Tavlin
