#include "core/feature/detector/DenseDetectors.h"

#include "basis/Report.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

template <class ImageT>
PointDescriptorTable* DenseSamplingDetector(ImageT* image, int spacing, std::vector<double> scales)
{
    auto* table = new PointDescriptorTable(FeatureDefinition(""));
    const int s = spacing;
    const int width = static_cast<int>(image->mWidth);
    const int height = static_cast<int>(image->mHeight);
    // A spacing of 0 or less would never leave the first row.
    if (s >= height - s || s <= 0)
        return table;
    int row = 0;
    for (int y = s; y < height - s; y += s, ++row)
    {
        // Even rows are the shifted ones, so the grid is staggered.
        const int start = (row % 2 == 0) ? s + s / 2 : s;
        for (int x = start; x < width - s; x += s)
            for (double scale : scales)
                table->AddPoint(x, y, scale, 0.0, 0.0);
    }
    return table;
}

template <class ImageT>
PointDescriptorTable* DenseDetector(ImageT* image, int spacing, std::vector<double> scales)
{
    auto* table = new PointDescriptorTable(FeatureDefinition(""));
    const int width = static_cast<int>(image->mWidth);
    const int height = static_cast<int>(image->mHeight);
    if (spacing <= 0)
        return table;
    for (int y = 0; y < height; y += spacing)
        for (int x = 0; x < width; x += spacing)
            for (double scale : scales)
                table->AddPoint(x, y, scale, 0.0, 0.0);
    return table;
}

template <class ImageT>
PointDescriptorTable* DenseAllDetector(ImageT* image, std::vector<double> scales)
{
    static log4cpp::Category& sLog = log4cpp::Category::getInstance("Core.Feature.DenseAllDetector");
    auto* table = new PointDescriptorTable(FeatureDefinition(""));
    const int width = static_cast<int>(image->mWidth);
    const int height = static_cast<int>(image->mHeight);
    table->Reserve(static_cast<int>(static_cast<int64_t>(width) * height * static_cast<int64_t>(scales.size())),
                   false);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            for (double scale : scales)
                table->AddPoint(x, y, scale, 0.0, 0.0);
    TLOG_INFO(sLog, "Points detected: " << table->Size());
    return table;
}

template PointDescriptorTable* DenseSamplingDetector<Array::Array2dVec3UInt8>(Array::Array2dVec3UInt8*, int,
                                                                              std::vector<double>);
template PointDescriptorTable* DenseDetector<Array::Array2dVec3UInt8>(Array::Array2dVec3UInt8*, int,
                                                                      std::vector<double>);
template PointDescriptorTable* DenseAllDetector<Array::Array2dVec3UInt8>(Array::Array2dVec3UInt8*,
                                                                         std::vector<double>);

} // namespace Feature
} // namespace Core
} // namespace Tavlin
