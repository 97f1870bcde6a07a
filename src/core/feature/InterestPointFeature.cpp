#include "core/feature/InterestPointFeature.h"

#include <ctime>
#include <iostream>
#include <sstream>

#include <memory>

#include "basis/CmdOptions.h"
#include "basis/Report.h"
#include "basis/String.h"
#include "basis/StringList.h"
#include "basis/Timer.h"
#include "core/array/ArrayFactories.h"
#include "core/array/MakeRoi.h"
#include "core/feature/descriptor/CalculateFISTDescriptors.h"
#include "core/feature/descriptor/CalculateSurfDescriptors.h"
#include "core/feature/descriptor/CalculateVIFTDescriptors.h"
#include "core/feature/descriptor/DenseSift.h"
#include "core/feature/descriptor/RegionDescriptors.h"
#include "core/feature/detector/DenseDetectors.h"
#include "core/feature/FeatureTable.h"
#include "core/feature/ImageFiles.h"
#include "core/feature/FeatureTableResult.h"
#include "core/feature/detector/HarrisLaplaceDetector.h"
#include "core/feature/detector/LaplacianDetector.h"
#include "core/feature/PointDescriptorIO.h"
#include "core/feature/PointDescriptorTable.h"
#include "core/feature/codebook/CodebookMatrices.h"
#include "core/feature/codebook/RowsAsPointTable.h"
#include "core/feature/codebook/SpatialQuantizer.h"
#include "core/matrix/MatCreate.h"
#include "core/matrix/MatMul.h"
#include "core/geometry/Rectangle.h"
#include "core/matrix/MatConcatenateHorizontal.h"
#include "util/IOBuffer.h"
#include "util/StringParser.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

namespace
{
log4cpp::Category& sLog = log4cpp::Category::getInstance("Tavlin.Core.Feature.InterestPointFeature");
} // namespace

void InterestPointFeature::AddCmdOptions()
{
    CmdOptions& options = CmdOptions::GetInstance();
    options.AddOption(0, "borderWidth", "size", "0");
    options.AddOption(0, "recGauss", "", "0");
    options.AddOption(0, "loadRegions", "filename", "");
    options.AddOption(0, "saveRegions", "filename", "");
    options.AddOption(0, "drawRegions", "picture.png", "");
    options.AddOption(0, "descriptor", "mode", "");
    options.AddOption(0, "output", "filename", "");
    options.AddOption(0, "outputFormat", "mode", "");
    options.AddOption(0, "descriptorBinCount", "bins", "15");
    options.AddOption(0, "descriptorPreSmoothing", "", "0");
    options.AddOption(0, "descriptorOpponentWeight", "weight", "");
    options.AddOption(0, "clusterInput", "", "0");
    options.AddOption(0, "keepLimited", "count", "-1");
    options.AddOption(0, "noRandomizeSeed", "", "0");
    options.AddOption(0, "codebook", "filename", "");
    options.AddOption(0, "codebookMode", "name", "hard");
    options.AddOption(0, "codebookSigma", "sigma", "");
    options.AddOption(0, "codebookName", "name", "");
    options.AddOption(0, "pointSelector", "config", "");
    options.AddOption(0, "extraBoxes", "filename", "");
    options.AddOption(0, "detector", "mode", "harrislaplace");
    options.AddOption(0, "harrisThreshold", "threshold", "1e-9");
    options.AddOption(0, "harrisK", "k", "0.06");
    options.AddOption(0, "laplaceThreshold", "threshold", "0.03");
    options.AddOption(0, "ds_spacing", "pixels", "6");
    options.AddOption(0, "ds_scales", "scale1+scale2+...", "");
    options.AddOption(0, "featurePrefix", "prefix", "");
    options.AddOption(0, "surf-haar-size", "int", "3");
    options.AddOption(0, "surf-subregion-size", "int", "2");
    options.AddOption(0, "surf-spaciality", "int", "4");
}

InterestPointFeature::InterestPointFeature(Util::PropertySet& properties) : mProperties(&properties)
{
    mVerbose = properties.GetInt("verb", 0);
    mRecGauss = properties.GetBool("recGauss");
    mBorderWidth = properties.GetInt("borderWidth", 0);
    mOutputFormat = properties.GetString("outputFormat", "");
    mClusterInput = properties.GetBool("clusterInput");
    mKeepLimited = properties.GetInt("keepLimited", 0);

    // Without the flag every run draws a different subset for --keepLimited.
    if (!properties.GetBool("noRandomizeSeed"))
        mRandom.SetSeed(static_cast<int64_t>(std::time(nullptr)));

    mTimeStats.AddGroup("detector");
    mTimeStats.AddGroup("descriptor");
    mTimeStats.AddGroup("projection");

    const std::string detector = properties.GetString("detector", "");
    const std::string descriptor = properties.GetString("descriptor", "");
    mName = detector + "-" + descriptor;

    FeatureDefinition prefixed(properties.GetString("featurePrefix", "") + mName);
    mFeatureDefinition.name = prefixed.name;
    mFeatureDefinition.parameters = prefixed.parameters;

    if (StringEndsWith(descriptor, "surf"))
    {
        mSurfHaarSize = properties.GetInt("surf-haar-size", 0);
        mSurfSubregionSize = properties.GetInt("surf-subregion-size", 0);
        mSurfSpaciality = properties.GetInt("surf-spaciality", 0);
        mFeatureDefinition.AddParameter<std::string>(
            "sc", std::to_string(mSurfHaarSize) + "-" + std::to_string(mSurfSubregionSize) + "-" +
                      std::to_string(mSurfSpaciality));
    }

    const std::string harrisThreshold = properties.GetString("harrisThreshold", "");
    if ((detector == "harrislaplace" || detector == "harrislaplace2") && harrisThreshold != "1e-9")
        mFeatureDefinition.AddParameter<std::string>("ht", harrisThreshold);

    const std::string scales = properties.GetString("ds_scales", "");
    if (StringEndsWith(descriptor, "dift") || StringEndsWith(descriptor, "dixt"))
    {
        std::string dashed = scales;
        for (char& c : dashed)
            if (c == '+')
                c = '-';
        mFeatureDefinition.AddParameter<std::string>("ds", dashed);
    }

    if (detector == "dense" || detector == "densesampling" || detector == "denseall")
    {
        const int spacing = properties.GetInt("ds_spacing", 0);
        Util::StringParser parser(scales);
        while (!parser.IsEnd())
            mScales.push_back(parser.GetDouble('+', false, true));
        if (mScales.empty())
            mScales.push_back(spacing / 5.0);
        std::ostringstream text;
        text << spacing;
        for (double scale : mScales)
            text << "-" << scale;
        mFeatureDefinition.AddParameter<std::string>("ds", text.str());
    }

    const std::string opponentWeight = properties.GetString("descriptorOpponentWeight", "");
    if (!opponentWeight.empty())
        mFeatureDefinition.AddParameter<std::string>("ow", opponentWeight);
}

InterestPointFeature::~InterestPointFeature()
{
    delete mClusterInputData;
    delete mCodebook;
    delete mCodebookReduce;
    delete mForest;
    DeleteMatList(mCodebookDiffStat);
    delete mQuantizer;
    for (Geometry::InterestPointSelector* selector : mPointSelectors)
        delete selector;
}

void InterestPointFeature::SetForest(FeatureTable* forest)
{
    if (forest != mForest)
        delete mForest;
    mForest = forest;
}

bool InterestPointFeature::FindInterestPoints(Array::Array2dVec3UInt8* image, Quid quid, Persistency::File output,
                                              bool imageIsRegion, Persistency::File loadRegions,
                                              Persistency::File saveRegions, Persistency::File drawRegions)
{
    ImageFiles files(output, saveRegions, drawRegions);
    Timer timer(1);
    std::unique_ptr<PointDescriptorTable> table;
    if (!ExtractPoints(image, quid, imageIsRegion, loadRegions, files, mTimeStats, timer, table))
        return false;
    FinishPoints(std::move(table), quid, output, timer);
    return true;
}

bool InterestPointFeature::ExtractPoints(Array::Array2dVec3UInt8* image, Quid quid, bool imageIsRegion,
                                         Persistency::File loadRegions, ImageFiles& files, Util::TimeStats& stats,
                                         Timer& timer, std::unique_ptr<PointDescriptorTable>& rest)
{
    TLOG_DEBUG(sLog, "start FindInterestPoints");
    const std::string detector = mProperties->GetString("detector", "");
    const std::string descriptor = mProperties->GetString("descriptor", "");
    timer.Start();

    std::unique_ptr<Array::Array2dVec3UInt8> region;
    Array::Array2dVec3UInt8* working = image;
    if (!imageIsRegion)
    {
        const int b = mBorderWidth;
        int left = b, top = b;
        int right = static_cast<int>(image->mWidth) - 1 - b;
        int bottom = static_cast<int>(image->mHeight) - 1 - b;
        // An image smaller than twice the border is not refused: the edges swap.
        if (left > right)
        {
            left = right;
            right = b;
        }
        if (top > bottom)
        {
            top = bottom;
            bottom = b;
        }
        region.reset(Array::MakeRoi(image, Geometry::Rectangle(left, top, right, bottom)));
        if (!region)
            return false;
        working = region.get();
    }

    TLOG_DEBUG(sLog, "applying detector");
    stats.MeasureFirst();
    std::unique_ptr<PointDescriptorTable> table;
    if (loadRegions.Valid())
    {
        std::unique_ptr<Util::IOBuffer> buffer(loadRegions.GetReadBuffer());
        if (buffer)
            table.reset(PointDescriptorTable::ImportFromBuffer(FeatureDefinition(detector), buffer.get(), mBorderWidth));
        if (!table)
        {
            TLOG_ERROR(sLog, "[ERROR] Could not load regions from " << loadRegions.GetPath());
            return false;
        }
    }
    else
    {
        table.reset(ApplyDetector(working, detector));
        if (!table)
            return false;
    }

    // Before any descriptor routine can replace the points.
    files.Picture(image, *table, imageIsRegion ? 0 : mBorderWidth);
    if (descriptor.empty())
        files.Output(*table, mBorderWidth, mOutputFormat, true);
    files.Regions(*table, mBorderWidth, mOutputFormat);
    TLOG_DEBUG(sLog, "[Timing] Region loading / applying detector finished in " << timer.SplitTimeStr());
    TLOG_DEBUG(sLog, "computing descriptor");
    stats.MeasureNext();

    if (descriptor.empty())
        return true;
    PointDescriptorTable* raw = table.release();
    try
    {
        ComputeDescriptors(raw, working, descriptor);
    }
    catch (...)
    {
        delete raw;
        throw;
    }
    // A descriptor that failed has reported and left no table: the image fails.
    if (!raw)
        return false;
    table.reset(raw);
    TLOG_DEBUG(sLog, "[Timing] Descriptors finished at " << timer.SplitTimeStr());

    if (mCodebook)
        return ProjectPoints(table, working, quid, files, stats);
    rest = std::move(table);
    return true;
}

void InterestPointFeature::FinishPoints(std::unique_ptr<PointDescriptorTable> table, Quid quid,
                                        Persistency::File output, Timer& timer)
{
    if (table)
    {
        if (mKeepLimited >= 1 && mKeepLimited < table->Size())
        {
            TLOG_DEBUG(sLog, "reducing point count");
            PointDescriptorTable* raw = table.release();
            KeepLimited(raw);
            table.reset(raw);
        }
        if (!mClusterInput)
        {
            TLOG_DEBUG(sLog, "writing point list");
            ImageFiles(output, Persistency::File(), Persistency::File()).Output(*table, mBorderWidth, mOutputFormat, true);
        }
        else
        {
            AddClusterInput(*table, quid);
        }
    }
    TLOG_DEBUG(sLog, "Completed " << mFeatureDefinition.AsString() << " in " << timer.SplitTimeStr());
}

bool InterestPointFeature::ProjectPoints(std::unique_ptr<PointDescriptorTable>& table,
                                         Array::Array2dVec3UInt8* working, Quid quid, ImageFiles& files,
                                         Util::TimeStats& stats)
{
    TLOG_DEBUG(sLog, "preparing for codebook");
    Timer timer(1);
    stats.MeasureNext();
    const std::string mode = mProperties->GetString("codebookMode", "");
    const int width = static_cast<int>(working->mWidth);
    const int height = static_cast<int>(working->mHeight);
    if (mode == "fisher" || mode == "kdhard" || mode == "closestword" || mode == "closestword5")
    {
        if (!mQuantizer)
        {
            TLOG_ERROR(sLog, "[ERROR] No quantizer for codebook mode " << mode);
            return false;
        }
        if (mCodebookReduce)
        {
            std::unique_ptr<Array::Array2dReal64> descriptors(table->GetWrappedDescriptorMatrix());
            Array::Array2dReal64* reduced = Matrix::MatMul(descriptors.get(), mCodebookReduce);
            if (!reduced)
                return false;
            table->SetStorage(reduced);
        }
        std::unique_ptr<Vector::VectorSet<Array::Array2dReal64>> result;
        {
            // Quantizers keep scratch state (the mixture's statistics, for one).
            std::lock_guard<std::mutex> lock(mQuantizerMutex);
            result.reset(mQuantizer->Quantize(table.get(), width, height));
        }
        if (!result)
            return false;
        if (mResult)
            for (int i = 0; i < result->Size(); ++i)
            {
                Vector::VectorTem<double> row = result->GetVector(i);
                mResult->AddVector(quid, i, row);
            }
        // What is written is the quantizer's rows, not the points: one per cell for
        // "fisher", one per point with its position for the closest words.
        if (mode == "fisher" || mode == "closestword" || mode == "closestword5")
            table.reset(RowsAsPointTable(*result, table->GetFeatureDefinition(), mode != "fisher"));
    }
    else
    {
        table.reset(ProjectOntoCodebook(table.release(), mode, width, height, quid));
        if (!table)
            return false;
    }
    stats.MeasureLast();
    TLOG_DEBUG(sLog, "Just codebook projection took: " << timer.SplitTimeStr());
    files.Output(*table, mBorderWidth, mOutputFormat, false);
    return true;
}

void InterestPointFeature::KeepLimited(PointDescriptorTable*& table)
{
    const int n = table->Size();
    std::vector<int> order(n);
    for (int i = 0; i < n; ++i)
        order[i] = i;
    mRandom.Shuffle(order.data(), n);
    std::vector<char> keep(n, 0);
    for (int i = 0; i < mKeepLimited; ++i)
        keep[order[i]] = 1;

    auto* kept = new PointDescriptorTable(table->GetFeatureDefinition());
    kept->Reserve(mKeepLimited, false);
    const int length = table->GetDescriptorLength();
    kept->SetDescriptorLength(length);
    for (int i = 0; i < n; ++i)
    {
        if (!keep[i])
            continue;
        const int row = kept->Size();
        kept->AddPoint(table->X()[i], table->Y()[i], table->Scale()[i], table->Orientation()[i],
                       table->Cornerness()[i]);
        std::copy(table->GetDescriptor(i), table->GetDescriptor(i) + length, kept->GetDescriptor(row));
    }
    delete table;
    table = kept;
}

void InterestPointFeature::AddClusterInput(const PointDescriptorTable& table, Quid quid)
{
    TLOG_DEBUG(sLog, "doing cluster input");
    const int length = table.GetDescriptorLength();
    for (int i = 0; i < table.Size(); ++i)
    {
        if (!mClusterInputData)
        {
            TLOG_DEBUG(sLog, "initializing mClusterInputData");
            FeatureDefinition definition(mFeatureDefinition.AsString());
            definition.AddParameter<std::string>("clusterinput", "2");
            mClusterInputData = new FeatureTable(definition, 500, length);
        }
        mClusterInputData->Add(quid, Vector::VectorTem<double>(length, table.GetDescriptor(i), true));
    }
    TLOG_DEBUG(sLog, "done with cluster input");
}

bool InterestPointFeature::WriteClusterInput(Persistency::File output) const
{
    std::unique_ptr<Util::IOBuffer> buffer(output.GetWriteBuffer());
    if (!buffer)
        return false;
    const int rows = mClusterInputData ? mClusterInputData->Size() : 0;
    const int length = mClusterInputData ? mClusterInputData->GetVectorLength() : 0;
    std::unique_ptr<Array::Array2dReal64> points(Array::ArrayCreate<Array::Array2dReal64>(5, rows, 0, 0));
    std::fill(points->mData, points->mData + static_cast<int64_t>(rows) * 5, 0.0);
    std::unique_ptr<Array::Array2dReal64> vectors(new Array::Array2dReal64(
        length, rows, 0, 0, mClusterInputData ? mClusterInputData->GetVector(0) : nullptr, true));
    if (mOutputFormat == "bindesc1" || mOutputFormat == "binary")
        return WriteBINDESC1ToBuffer(buffer.get(), points.get(), vectors.get(), "CIRCLE  ");
    return WriteVESK1ToBuffer(buffer.get(), points.get(), vectors.get(), "CIRCLE");
}

PointDescriptorTable* InterestPointFeature::ApplyDetector(Array::Array2dVec3UInt8* image, std::string detector)
{
    const std::string harris = mProperties->GetString("harrisThreshold", "");
    const std::string k = mProperties->GetString("harrisK", "");
    const std::string laplace = mProperties->GetString("laplaceThreshold", "");
    const double harrisThreshold = harris.empty() ? 0.0 : atof(harris);
    const double harrisK = k.empty() ? 0.0 : atof(k);
    const double laplaceThreshold = laplace.empty() ? 0.0 : atof(laplace);

    const int spacing = mProperties->GetInt("ds_spacing", 0);
    PointDescriptorTable* table = nullptr;
    if (detector == "harrislaplace" || detector == "harrislaplace2")
    {
        HarrisLaplaceDetector hl(5.0, 3.0, mRecGauss, false);
        table = hl.HLDetector(image, harrisThreshold, harrisK, laplaceThreshold);
    }
    else if (detector == "colorharrislaplace")
    {
        HarrisLaplaceDetector hl(5.0, 3.0, mRecGauss, false);
        table = hl.CHLDetector(image, harrisThreshold, harrisK, laplaceThreshold);
    }
    else if (detector == "laplacian")
        table = LaplacianDetector(image, true, 3.0);
    else if (detector == "densesampling")
        table = DenseSamplingDetector(image, spacing, mScales);
    else if (detector == "dense")
        table = DenseDetector(image, spacing, mScales);
    else if (detector == "denseall")
        table = DenseAllDetector(image, mScales);
    else if (detector == "none")
        table = new PointDescriptorTable(FeatureDefinition(""));
    else
    {
        TLOG_ERROR(sLog, "[ERROR] Unknown detector mode: " << detector);
        return nullptr;
    }
    if (!table)
        return nullptr;
    table->SetFeatureDefinition(FeatureDefinition(detector));
    return table;
}

void InterestPointFeature::ComputeDescriptors(PointDescriptorTable*& table, Array::Array2dVec3UInt8* image,
                                              std::string descriptor)
{
    // The first rule that matches decides; each family has its own block below.

    // Hue histogram joined to SIFT: the SIFT vector, then the hue histogram x 512 in
    // whole numbers.
    if (descriptor == "huesift" || descriptor == "huefist")
    {
        JoinHueToSift(table, image);
        return;
    }

    // Sparse SIFT family at the detector's points.
    if (StringEndsWith(descriptor, "fist") || StringEndsWith(descriptor, "sift"))
    {
        CalculateFISTDescriptors(image, table, descriptor);
        return;
    }

    // VIFT frame. It places its own points; without a kernel it fails the image.
    const FeatureDefinition vift(descriptor);
    const std::string& viftName = vift.name;
    if (StringEndsWith(viftName, "vift") ||
        (viftName.size() > 4 && viftName.compare(viftName.size() - 5, 4, "vift") == 0))
    {
        delete table;
        const int spacing = atoi(vift.GetParameter("ds", "8"));
        TLOG_DEBUG(sLog, "VIFT spacing " << spacing);
        table = CalculateVIFTDescriptors(image, viftName, spacing, 5);
        return;
    }

    // SURF on its own grid. Sizes it cannot work with fail the image.
    if (StringEndsWith(descriptor, "surf"))
    {
        if (!CalculateSurfDescriptors(image, table, descriptor, mSurfHaarSize, mSurfSubregionSize, mSurfSpaciality))
        {
            delete table;
            table = nullptr;
        }
        return;
    }

    // Dense SIFT on its own grids.
    if (StringEndsWith(descriptor, "dift") || StringEndsWith(descriptor, "dixt"))
    {
        // The detector's points are dropped: the grids make their own.
        const FeatureDefinition definition = table->GetFeatureDefinition();
        delete table;
        table = new PointDescriptorTable(definition);
        const std::string scales = mProperties->GetString("ds_scales", "");
        if (scales.empty())
        {
            TLOG_WARN(sLog, "--ds_scales not set!");
            return;
        }
        for (const std::string& entry : StringList(scales, '+'))
        {
            Util::StringParser parser(entry);
            const int spacing = parser.GetInt('-', false);
            const int cellSize = parser.GetInt('-', false);
            TLOG_DEBUG(sLog, "spacing=" << spacing << "; cellSize=" << cellSize << "; sigma=" << 1);
            std::unique_ptr<PointDescriptorTable> result(DenseSift(image, descriptor, spacing, cellSize, 1.0, 4));
            if (table->Size() == 0)
            {
                // Nothing to append to: the result becomes the table.
                result->SetFeatureDefinition(table->GetFeatureDefinition());
                delete table;
                table = result.release();
                continue;
            }
            if (table->GetDescriptorLength() != result->GetDescriptorLength())
                table->SetStorage(Array::ArrayCreate<Array::Array2dReal64>(result->GetDescriptorLength(),
                                                                           table->Capacity(), 0, 0));
            table->Append(*result);
        }
        return;
    }

    if (descriptor == "none")
        return;

    // Region descriptors; names of no other family end here as unknown.
    CalculateRegionDescriptors(image, table, descriptor);
}

void InterestPointFeature::JoinHueToSift(PointDescriptorTable* table, Array::Array2dVec3UInt8* image)
{
    CalculateRegionDescriptors(image, table, "huehistogram");
    const int rows = table->Size();
    const int length = table->GetDescriptorLength();
    std::unique_ptr<Array::Array2dReal64> hue(Array::ArrayCreate<Array::Array2dReal64>(length, rows, 0, 0));
    for (int i = 0; i < rows; ++i)
    {
        const double* v = table->GetDescriptor(i);
        double* d = hue->PixelPtr(0, i);
        // Histogram values lie in [0, 1], so the integer conversion is in range.
        for (int k = 0; k < length; ++k)
            d[k] = static_cast<int>(512.0 * v[k]);
    }
    CalculateFISTDescriptors(image, table, "sift");
    std::unique_ptr<Array::Array2dReal64> sift(table->GetWrappedDescriptorMatrix());
    table->SetStorage(Matrix::MatConcatenateHorizontal<Array::Array2dReal64>({sift.get(), hue.get()}));
}

} // namespace Feature
} // namespace Core
} // namespace Tavlin
