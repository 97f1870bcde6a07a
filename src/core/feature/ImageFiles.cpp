#include "core/feature/ImageFiles.h"

#include "basis/Report.h"
#include "core/feature/DrawRegions.h"
#include "core/feature/PointDescriptorTable.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

namespace
{
log4cpp::Category& sLog = log4cpp::Category::getInstance("Tavlin.Core.Feature.InterestPointFeature");
const char* const sNoOutput = "Warning: no output file to write to. Did you forget to specify --output?";
} // namespace

struct ImageFiles::Kept
{
    Kind mKind;
    Array::Array2dVec3UInt8* mImage;
    std::unique_ptr<PointDescriptorTable> mTable;
    int mOffset;
    std::string mFormat;
    bool mWarnWithout;
};

ImageFiles::ImageFiles() : mDeferred(true) {}

ImageFiles::ImageFiles(Persistency::File output, Persistency::File saveRegions, Persistency::File drawRegions)
    : mDeferred(false), mOutput(output), mSaveRegions(saveRegions), mDrawRegions(drawRegions)
{
}

ImageFiles::~ImageFiles() = default;

void ImageFiles::Picture(Array::Array2dVec3UInt8* image, const PointDescriptorTable& table, int offset)
{
    Put(kPicture, image, table, offset, std::string(), false);
}

void ImageFiles::Regions(const PointDescriptorTable& table, int offset, const std::string& format)
{
    Put(kRegions, nullptr, table, offset, format, false);
}

void ImageFiles::Output(const PointDescriptorTable& table, int offset, const std::string& format, bool warnWithout)
{
    Put(kOutput, nullptr, table, offset, format, warnWithout);
}

void ImageFiles::Put(Kind kind, Array::Array2dVec3UInt8* image, const PointDescriptorTable& table, int offset,
                     const std::string& format, bool warnWithout)
{
    if (!mDeferred)
    {
        Write(kind, image, table, offset, format, warnWithout);
        return;
    }
    // A serial run would have ended at the error already noted: nothing after it.
    if (ReportExitDue())
        return;
    std::unique_ptr<PointDescriptorTable> copy(new PointDescriptorTable(table.GetFeatureDefinition()));
    copy->SetDescriptorLength(table.GetDescriptorLength());
    copy->Append(table);
    mKept.emplace_back(new Kept{kind, image, std::move(copy), offset, format, warnWithout});
}

void ImageFiles::Replay(Persistency::File output, Persistency::File saveRegions, Persistency::File drawRegions)
{
    mOutput = output;
    mSaveRegions = saveRegions;
    mDrawRegions = drawRegions;
    for (const std::unique_ptr<Kept>& kept : mKept)
        Write(kept->mKind, kept->mImage, *kept->mTable, kept->mOffset, kept->mFormat, kept->mWarnWithout);
    mKept.clear();
}

void ImageFiles::Write(Kind kind, Array::Array2dVec3UInt8* image, const PointDescriptorTable& table, int offset,
                       const std::string& format, bool warnWithout) const
{
    switch (kind)
    {
    case kPicture:
        // A failed picture is reported and the run goes on, as for the other files.
        if (mDrawRegions.Valid())
        {
            TLOG_DEBUG(sLog, "Drawing regions");
            DrawRegionsToFile(image, table, offset, mDrawRegions);
        }
        break;
    case kRegions:
        if (mSaveRegions.Valid())
        {
            TLOG_DEBUG(sLog, "Saving regions");
            table.ExportToFile(mSaveRegions, offset, format);
        }
        break;
    case kOutput:
        if (mOutput.Valid())
            table.ExportToFile(mOutput, offset, format);
        else if (warnWithout)
            TLOG_WARN(sLog, sNoOutput);
        break;
    }
}

} // namespace Feature
} // namespace Core
} // namespace Tavlin
