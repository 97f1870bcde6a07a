#include "core/feature/descriptor/RegionDescriptors.h"

#include <cmath>
#include <cstring>
#include <iostream>
#include <memory>
#include <new>

#include "basis/CmdOptions.h"
#include "basis/Report.h"
#include "core/array/ArrayFactories.h"
#include "core/array/ColorMoments.h"
#include "core/array/FuncBorderMirror2d.h"
#include "core/array/GaussDerivative.h"
#include "core/array/Resample.h"
#include "core/array/WriteRaw.h"
#include "core/feature/FeatureImageTypes.h"
#include "core/feature/descriptor/GetColorChannels.h"
#include "core/histogram/Histogram1dTem.h"
#include "persistency/RepositoryInFileSystem.h"
#include "util/IOBuffer.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

namespace
{

using Histogram::Histogram1dTem;

log4cpp::Category& sLog = log4cpp::Category::getInstance("Core.Feature.CalculateRegionDescriptors");

// Bin counts beyond this are refused: every point would carry megabytes.
const int sMaxBinCount = 65536;

[[noreturn]] void RefuseName(const std::string& name)
{
    std::cerr << "[ERROR] Invalid descriptor name: " << name << std::endl;
    throw "Invalid descriptor name";
}

bool IsRegionDescriptorName(const std::string& name)
{
    return name == "opponenthistogram" || name == "nrghistogram" || name == "rgbhistogram" ||
           name == "transformedcolorhistogram" || name == "huehistogram" || name == "colormoments" ||
           name == "colormomentinvariants";
}

int ReadBinCount()
{
    const int bins = CmdOptions::GetInstance().GetInt("descriptorBinCount", 15);
    if (bins < 1 || bins > sMaxBinCount)
    {
        std::cerr << "[ERROR] Invalid descriptorBinCount: " << bins << std::endl;
        throw "Invalid descriptorBinCount";
    }
    return bins;
}

// The 32-bit conversion of a double as x86 does it: INT_MIN when out of range or NaN,
// where the language leaves it undefined.
int TruncToInt(double v)
{
    if (!(v > -2147483649.0 && v < 2147483648.0))
        return -2147483647 - 1;
    return static_cast<int>(v);
}

// A new histogram of n bins appended to result, filled with `count` values, weight 1
// each or weights[k]. Not normalised.
Histogram1dTem<double> AppendHistogram(std::vector<double>& result, int bins, double low, double high,
                                       const double* values, const double* weights, size_t count)
{
    const size_t start = result.size();
    result.resize(start + bins);
    Histogram1dTem<double> histogram(low, high, bins, result.data() + start);
    if (weights)
        for (size_t k = 0; k < count; ++k)
            histogram.Add(values[k], weights[k]);
    else
        for (size_t k = 0; k < count; ++k)
            histogram.Add(values[k], 1.0);
    return histogram;
}

// A plane that is entirely outliers: the histogram and the patch are shown, the run
// goes on.
void ReportAllOutliers(const Histogram1dTem<double>& histogram, Array2dVec3UInt8* patch, int x, int y)
{
    std::cout << "hist range [" << histogram.Low() << "," << histogram.High() << "] with " << histogram.BinCount()
              << " bins. Values: " << std::endl;
    for (int i = 0; i < histogram.BinCount(); ++i)
    {
        const double from = histogram.Low() + i * histogram.BinWidth();
        std::cout << "h[" << i << "] [" << from << "-" << from + histogram.BinWidth() << "] = " << histogram[i]
                  << std::endl;
    }
    const double total = histogram.Total() + histogram.OutlierWeight();
    if (histogram.OutlierWeight() != 0)
        std::cout << "Total weight: " << total << ", outlier %: " << 100.0 * histogram.OutlierWeight() / total
                  << std::endl;
    std::cout << "[WARNING] Opponent color histogram 100% outliers: " << x << " " << y << std::endl;
    Persistency::File file = Persistency::RepositoryGetFile("outlier.raw", true, false);
    if (!file.Valid())
        return;
    std::unique_ptr<Util::IOBuffer> buffer(file.GetWriteBuffer());
    if (buffer)
        Array::WriteRaw(patch, buffer.get(), 1);
}

// Computes region descriptors of one name after another, keeping its mask and scratch
// planes from one patch to the next so that a run over many points allocates once.
class RegionDescriptorMaker
{
public:
    explicit RegionDescriptorMaker(int bins) : mBins(bins) {}

    void Compute(std::vector<double>& result, Array2dVec3UInt8* patch, const std::string& name, bool circularMask,
                 int x, int y);

private:
    // The mask (all ones without circularMask) and its offset (mask - 1) x 1000, row
    // by row, for a patch of this size.
    void PrepareMask(long long width, long long height, bool circularMask);
    // Channel c of the patch plus the offset, row by row, in mValues.
    void ChannelPlusOffset(Array2dVec3UInt8* patch, int c);
    void PlanePlusOffset(Array2dReal64* plane);
    void TransformedColor(std::vector<double>& result, Array2dVec3UInt8* patch);
    void Hue(std::vector<double>& result, Array2dVec3UInt8* patch);
    void Moments(std::vector<double>& result, Array2dVec3UInt8* patch, bool invariants, bool circularMask);

    int mBins;
    long long mMaskWidth = -1;
    long long mMaskHeight = -1;
    bool mMaskCircular = false;
    std::vector<double> mMask;
    std::vector<double> mOffset;
    std::vector<double> mValues;
    std::vector<double> mWeights;
};

void RegionDescriptorMaker::PrepareMask(long long width, long long height, bool circularMask)
{
    if (width == mMaskWidth && height == mMaskHeight && circularMask == mMaskCircular)
        return;
    const size_t count = static_cast<size_t>(width * height);
    mMask.assign(count, 1.0);
    if (circularMask)
    {
        std::unique_ptr<Array2dReal64> mask(CreateCircleMask(static_cast<int>(width)));
        std::memcpy(mMask.data(), mask->Data(), count * sizeof(double));
    }
    mOffset.resize(count);
    for (size_t k = 0; k < count; ++k)
        mOffset[k] = (mMask[k] - 1.0) * 1000.0;
    mValues.resize(count);
    mWeights.resize(count);
    mMaskWidth = width;
    mMaskHeight = height;
    mMaskCircular = circularMask;
}

void RegionDescriptorMaker::ChannelPlusOffset(Array2dVec3UInt8* patch, int c)
{
    const long long width = patch->mWidth;
    double* v = mValues.data();
    const double* o = mOffset.data();
    for (long long y = 0; y < patch->mHeight; ++y)
    {
        const unsigned char* s = patch->PixelPtr(0, y) + c;
        for (long long x = 0; x < width; ++x)
            *v++ = s[3 * x] + *o++;
    }
}

void RegionDescriptorMaker::PlanePlusOffset(Array2dReal64* plane)
{
    const long long width = plane->mWidth;
    double* v = mValues.data();
    const double* o = mOffset.data();
    for (long long y = 0; y < plane->mHeight; ++y)
    {
        const double* s = plane->PixelPtr(0, y);
        for (long long x = 0; x < width; ++x)
            *v++ = s[x] + *o++;
    }
}

void RegionDescriptorMaker::TransformedColor(std::vector<double>& result, Array2dVec3UInt8* patch)
{
    const size_t count = mMask.size();
    const double* m = mMask.data();
    double area = 0.0;
    for (size_t k = 0; k < count; ++k)
        area += m[k];
    double* p = mValues.data();
    for (int c = 0; c < 3; ++c)
    {
        size_t k = 0;
        for (long long y = 0; y < patch->mHeight; ++y)
        {
            const unsigned char* s = patch->PixelPtr(0, y) + c;
            for (long long x = 0; x < patch->mWidth; ++x, ++k)
                p[k] = s[3 * x] * m[k];
        }
        double sum = 0.0;
        for (k = 0; k < count; ++k)
            sum += p[k];
        const double mean = sum / area;
        for (k = 0; k < count; ++k)
            p[k] = (p[k] - mean) * m[k];
        double squares = 0.0;
        for (k = 0; k < count; ++k)
            squares += p[k] * p[k] * m[k];
        // A variance of 0 makes the values NaN or infinite: they then count as outliers.
        const double factor = 1.0 / std::sqrt(squares / area);
        for (k = 0; k < count; ++k)
            p[k] = p[k] * factor;
        // No offset here: the zeros outside the disc fill the bin of 0.
        AppendHistogram(result, mBins, -2.0, 2.0, p, nullptr, count).Normalize();
    }
}

void RegionDescriptorMaker::Hue(std::vector<double>& result, Array2dVec3UInt8* patch)
{
    double* hue = mValues.data();
    double* weight = mWeights.data();
    const double* m = mMask.data();
    size_t k = 0;
    for (long long y = 0; y < patch->mHeight; ++y)
    {
        const unsigned char* s = patch->PixelPtr(0, y);
        for (long long x = 0; x < patch->mWidth; ++x, ++k)
        {
            const double r = s[3 * x];
            const double g = s[3 * x + 1];
            const double b = s[3 * x + 2];
            const double angle = std::atan2(r + g - 2 * b, 1.7320508075688772 * (r - g));
            hue[k] = (std::isnan(angle) ? 0.0 : angle) + 3.1415927;
            const double spread = r * r + g * g + b * b - r * g - r * b - g * b;
            weight[k] = std::sqrt(0.6666666666666666 * spread + 0.01) * m[k];
        }
    }
    // The default of 15 bins is too coarse for hue: it stands for 37.
    const int bins = mBins == 15 ? 37 : mBins;
    AppendHistogram(result, bins, 0.0, 6.2831854, hue, weight, k).Normalize();
}

void RegionDescriptorMaker::Moments(std::vector<double>& result, Array2dVec3UInt8* patch, bool invariants,
                                    bool circularMask)
{
    // Moments are taken at one size, whatever the scale.
    const int side = 61;
    Array2dVec3UInt8* resampledRaw = nullptr;
    Array::Resample(resampledRaw, patch, side, side);
    std::unique_ptr<Array2dVec3UInt8> resampled(resampledRaw);
    std::unique_ptr<Array2dReal64> mask(circularMask ? CreateCircleMask(side) : nullptr);
    std::unique_ptr<Array2dVec3Real64> image(new Array2dVec3Real64(side, side, 0, 0));
    for (long long y = 0; y < side; ++y)
    {
        const unsigned char* s = resampled->PixelPtr(0, y);
        double* d = image->PixelPtr(0, y);
        for (long long k = 0; k < 3 * side; ++k)
            d[k] = static_cast<double>(s[k]) * 0.00392156862745098;
    }
    Array::ColorMoments moments;
    if (invariants)
    {
        moments.GetInvariants(result, image.get(), circularMask, mask.get(), false, 10.0);
        return;
    }
    moments.FillMomentCache(image.get(), 1, 2, circularMask, mask.get(), false, 10.0);
    for (const Array::ColorMoments::ColorMoment& moment : moments.Cache())
        result.push_back(moment.mValue);
}

void RegionDescriptorMaker::Compute(std::vector<double>& result, Array2dVec3UInt8* patch, const std::string& name,
                                    bool circularMask, int x, int y)
{
    if (circularMask && patch->mWidth != patch->mHeight)
    {
        std::cerr << "[ERROR] Using circularMask on a non-square source!" << std::endl;
        throw "Using circularMask on a non-square source!";
    }
    PrepareMask(patch->mWidth, patch->mHeight, circularMask);
    const size_t count = mMask.size();

    if (name == "rgbhistogram")
    {
        for (int c = 0; c < 3; ++c)
        {
            ChannelPlusOffset(patch, c);
            AppendHistogram(result, mBins, 0.0, 256.0, mValues.data(), nullptr, count).Normalize();
        }
    }
    else if (name == "opponenthistogram" || name == "nrghistogram")
    {
        const bool opponent = name == "opponenthistogram";
        std::vector<Array2dReal64*> planes = GetColorChannels(patch, opponent ? "opponent" : "rg");
        std::vector<std::unique_ptr<Array2dReal64>> owner(planes.begin(), planes.end());
        // "rg" gives L before nr and ng.
        const size_t first = opponent ? 0 : 1;
        const double lows[3] = {0.0, -70.0, -70.0};
        const double highs[3] = {270.0, 70.0, 70.0};
        for (size_t i = first; i < planes.size(); ++i)
        {
            PlanePlusOffset(planes[i]);
            Histogram1dTem<double> histogram =
                opponent ? AppendHistogram(result, mBins, lows[i], highs[i], mValues.data(), nullptr, count)
                         : AppendHistogram(result, mBins, 0.0, 1.0, mValues.data(), nullptr, count);
            if (opponent && histogram.Total() == 0.0)
                ReportAllOutliers(histogram, patch, x, y);
            histogram.Normalize();
        }
    }
    else if (name == "transformedcolorhistogram")
        TransformedColor(result, patch);
    else if (name == "huehistogram")
        Hue(result, patch);
    else if (name == "colormoments" || name == "colormomentinvariants")
        Moments(result, patch, name == "colormomentinvariants", circularMask);
    else
        RefuseName(name);
}

// A copy of the image with a border of sRegionBorder pixels, mirrored. The frame is
// cleared first: on an image smaller than the border the mirror reads frame pixels
// that nothing has written yet.
Array2dVec3UInt8* MakeMirroredCopy(Array2dVec3UInt8* image)
{
    Array2dVec3UInt8* copy = new Array2dVec3UInt8(image->mWidth, image->mHeight, sRegionBorder, sRegionBorder);
    if (!copy->Data())
    {
        delete copy;
        throw std::bad_alloc();
    }
    std::memset(copy->Data(), 0, copy->DataSize());
    Array::CopyImageRows(copy, image);
    Array::Pattern::FuncBorderMirror2d(copy, sRegionBorder, sRegionBorder);
    return copy;
}

// Gaussian smoothing (sigma 1) of the whole frame, border included, plane by plane;
// values truncated back to 8 bits. Same size and border as the source.
Array2dVec3UInt8* PreSmooth(Array2dVec3UInt8* mirrored)
{
    const long long frameWidth = mirrored->FrameWidth();
    const long long frameHeight = mirrored->FrameHeight();
    const size_t count = static_cast<size_t>(frameWidth * frameHeight);
    std::unique_ptr<Array2dVec3UInt8> result(
        new Array2dVec3UInt8(mirrored->mWidth, mirrored->mHeight, mirrored->mBorderWidth, mirrored->mBorderHeight));
    for (int c = 0; c < 3; ++c)
    {
        std::unique_ptr<Array2dReal64> plane(new Array2dReal64(frameWidth, frameHeight, 0, 0));
        if (!plane->Data() || !result->Data())
            throw std::bad_alloc();
        const unsigned char* s = mirrored->Data() + c;
        double* d = plane->Data();
        for (size_t k = 0; k < count; ++k)
            d[k] = s[3 * k];
        Array2dReal64* smoothRaw = nullptr;
        Array::GaussDerivative(smoothRaw, plane.get(), 1.0, 0, 0, 3.0);
        std::unique_ptr<Array2dReal64> smooth(smoothRaw);
        plane.reset();
        unsigned char* out = result->Data() + c;
        for (long long y = 0; y < frameHeight; ++y)
        {
            const double* row = smooth->PixelPtr(0, y);
            for (long long x = 0; x < frameWidth; ++x, out += 3)
                *out = static_cast<unsigned char>(TruncToInt(row[x]));
        }
    }
    return result.release();
}

} // namespace

Array2dReal64* CreateCircleMask(int n)
{
    if (n < 0)
        n = 0;
    Array2dReal64* mask = Array::ArrayCreate<Array2dReal64>(n, n, 0, 0);
    const long long centre = n / 2;
    const double limit = (0.5 * n) * (0.5 * n);
    double* d = mask->Data();
    for (long long row = 0; row < n; ++row)
        for (long long column = 0; column < n; ++column)
        {
            const long long dx = centre - column;
            const long long dy = centre - row;
            *d++ = static_cast<double>(dx * dx + dy * dy) <= limit ? 1.0 : 0.0;
        }
    return mask;
}

void MakePatch(Array2dVec3UInt8*& patch, Array2dVec3UInt8* image, int x, int y, int radius)
{
    const long long bw = image->mBorderWidth;
    const long long bh = image->mBorderHeight;
    const long long width = image->mWidth;
    const long long height = image->mHeight;
    long long r = radius;
    auto fits = [&](long long r) {
        return r >= 0 && x - r >= -bw && y - r >= -bh && x + r < width + bw && y + r < height + bh;
    };
    if (!fits(r))
    {
        r = sRegionBorder;
        if (!fits(r))
        {
            std::cerr << "[ERROR] Segfault highly likely due to too small border in MakeRoi (therefore aborted): "
                      << "left=" << x - r << "; limit=" << -bw << "; top=" << y - r << "; limit=" << -bh
                      << "; right=" << x + r << "; limit=" << width + bw << "; bottom=" << y + r
                      << "; limit=" << height + bh << std::endl;
            delete patch;
            patch = nullptr;
            return;
        }
    }
    const long long side = 2 * r + 1;
    if (!patch || patch->mWidth != side || patch->mHeight != side || patch->mBorderWidth != 0 ||
        patch->mBorderHeight != 0)
    {
        delete patch;
        patch = new Array2dVec3UInt8(side, side, 0, 0);
    }
    const size_t rowBytes = static_cast<size_t>(side) * 3;
    for (long long j = 0; j < side; ++j)
        std::memcpy(patch->PixelPtr(0, j), image->PixelPtr(x - r, y - r + j), rowBytes);
}

void ComputeRegionDescriptor(std::vector<double>& result, Array2dVec3UInt8* patch, std::string name,
                             bool circularMask, int x, int y)
{
    if (!patch)
    {
        TLOG_ERROR(sLog, "[ComputeRegionDescriptor] no patch");
        return;
    }
    RegionDescriptorMaker maker(ReadBinCount());
    maker.Compute(result, patch, name, circularMask, x, y);
}

void CalculateRegionDescriptors(Array2dVec3UInt8* image, PointDescriptorTable* table, std::string name)
{
    if (!image || !table)
    {
        TLOG_ERROR(sLog, "[CalculateRegionDescriptors] no image or no table");
        return;
    }
    // Refused up front, so that an unknown name fails the same way with or without points.
    if (!IsRegionDescriptorName(name))
        RefuseName(name);
    RegionDescriptorMaker maker(ReadBinCount());

    std::unique_ptr<Array2dVec3UInt8> mirrored(MakeMirroredCopy(image));
    // An option nobody registered reads as -1, which smooths.
    if (CmdOptions::GetInstance().GetInt("descriptorPreSmoothing", -1) != 0)
        mirrored.reset(PreSmooth(mirrored.get()));

    std::unique_ptr<Array2dVec3UInt8> patch;
    std::vector<double> result;
    const int size = table->Size();
    int kept = 0;
    for (int i = 0; i < size; ++i)
    {
        const int radius = TruncToInt(std::floor(10.0 * table->Scale()[i] + 0.5));
        const int cx = TruncToInt(std::floor(0.5 + table->X()[i]));
        const int cy = TruncToInt(std::floor(0.5 + table->Y()[i]));
        // The patch of the last point is reused when the size matches.
        Array2dVec3UInt8* patchRaw = patch.release();
        MakePatch(patchRaw, mirrored.get(), cx, cy, radius);
        patch.reset(patchRaw);
        if (!patch)
        {
            TLOG_WARN(sLog, "[CalculateRegionDescriptors] point " << i << " at " << table->X()[i] << " "
                                                                   << table->Y()[i] << " has no patch: left out");
            continue;
        }
        result.clear();
        maker.Compute(result, patch.get(), name, true, cx, cy);

        const int length = static_cast<int>(result.size());
        if (length != table->GetDescriptorLength())
        {
            table->SetDescriptorLength(length);
            Array2dReal64* store = table->GetDescriptorStorage();
            if (!store || (!store->Data() && store->DataSize() > 0))
                throw std::bad_alloc();
        }
        if (kept != i)
        {
            table->X()[kept] = table->X()[i];
            table->Y()[kept] = table->Y()[i];
            table->Scale()[kept] = table->Scale()[i];
            table->Orientation()[kept] = table->Orientation()[i];
            table->Cornerness()[kept] = table->Cornerness()[i];
        }
        std::copy(result.begin(), result.end(), table->GetDescriptor(kept));
        ++kept;
    }
    table->SetSize(kept);
}

} // namespace Feature
} // namespace Core
} // namespace Tavlin
