// Where the files of one image go while the pipeline runs it: the picture of its
// points, the regions file and the output. Written at once in a run on one thread; or
// kept back, with copies of the tables they are made of, and written by Replay in input
// order, so that a batch on several workers leaves after any failure exactly the files
// of a serial run. The messages that go with the writes are the pipeline's own.
#ifndef TAVLIN_CORE_FEATURE_IMAGEFILES_H
#define TAVLIN_CORE_FEATURE_IMAGEFILES_H

#include <memory>
#include <string>
#include <vector>

#include "core/array/Array2dTem.h"
#include "persistency/File.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

class PointDescriptorTable;

class ImageFiles
{
public:
    // Keeps every write back for Replay.
    ImageFiles();
    // Writes at once to these files; an invalid one is not written.
    ImageFiles(Persistency::File output, Persistency::File saveRegions, Persistency::File drawRegions);
    ~ImageFiles();
    ImageFiles(const ImageFiles&) = delete;
    ImageFiles& operator=(const ImageFiles&) = delete;

    // The points drawn on image, which must outlive a kept write (offset: the border cut
    // before detection).
    void Picture(Array::Array2dVec3UInt8* image, const PointDescriptorTable& table, int offset);
    void Regions(const PointDescriptorTable& table, int offset, const std::string& format);
    // Without an output file the warning is given when warnWithout is set.
    void Output(const PointDescriptorTable& table, int offset, const std::string& format, bool warnWithout);

    // Makes the kept writes to the files now resolved, in the order they were asked for.
    void Replay(Persistency::File output, Persistency::File saveRegions, Persistency::File drawRegions);

private:
    enum Kind
    {
        kPicture,
        kRegions,
        kOutput
    };
    struct Kept;

    // Writes now, or keeps a copy of the table for Replay.
    void Put(Kind kind, Array::Array2dVec3UInt8* image, const PointDescriptorTable& table, int offset,
             const std::string& format, bool warnWithout);
    void Write(Kind kind, Array::Array2dVec3UInt8* image, const PointDescriptorTable& table, int offset,
               const std::string& format, bool warnWithout) const;

    bool mDeferred;
    Persistency::File mOutput;
    Persistency::File mSaveRegions;
    Persistency::File mDrawRegions;
    std::vector<std::unique_ptr<Kept>> mKept;
};

} // namespace Feature
} // namespace Core
} // namespace Tavlin

#endif
