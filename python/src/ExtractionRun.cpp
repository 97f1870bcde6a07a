#include "ExtractionRun.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <mutex>

#include "basis/CmdOptions.h"
#include "basis/Report.h"
#include "core/array/Array2dTem.h"
#include "core/array/ArrayFactories.h"
#include "core/array/ReadFile.h"
#include "core/feature/InterestPointFeature.h"
#include "core/feature/PointDescriptorIO.h"
#include "core/feature/codebook/ReadCodebook.h"
#include "persistency/File.h"
#include "persistency/FileSystem.h"
#include "util/IOBufferFile.h"
#include "util/PropertySet.h"
#include "util/Quid.h"

namespace Tavlin
{
namespace Python
{

namespace
{

// A data server is reached through one channel per server, whose message block serves
// one request at a time: calls that use one run one after another.
std::mutex sDataServerMutex;

// The core for one call: an option table and a log of its own, so that calls on other
// threads neither see its options nor take its lines. Exit-on-error is never on inside
// the module: only the command line's log configuration sets it.
class CoreSession
{
public:
    explicit CoreSession(std::vector<LogRecord>& log) : mCapture(log), mLog(log) {}

    // The kind given, with the last ERROR line logged so far, or `fallback` without one.
    [[noreturn]] void Fail(ModuleError::Kind kind, const std::string& fallback)
    {
        const std::string message = LogRecords::LastError(mLog);
        throw ModuleError(kind, message.empty() ? fallback : message);
    }
    // A text thrown by the core, followed by the last ERROR line when there is one.
    [[noreturn]] void FailThrown(const char* text)
    {
        const std::string logged = LogRecords::LastError(mLog);
        throw ModuleError(ModuleError::kValue, logged.empty() ? text : std::string(text) + ": " + logged);
    }

private:
    CmdOptionsScope mOptions;
    LogRecords::Capture mCapture;
    std::vector<LogRecord>& mLog;
};

// The option table of the command line, less what only a process of its own needs.
void RegisterOptions()
{
    CmdOptions& options = CmdOptions::GetInstance();
    options.Reset();
    options.Initialise(false, false, false);
    Core::Feature::InterestPointFeature::AddCmdOptions();
    options.AddOption(0, "data", "path", ".", nullptr, true);
    options.AddOption(0, "override", "", "1");
    options.AddOption(0, "descriptorReduce", "filename", "");
    options.AddOption(0, "dataServer", "machine:port", "");
    options.AddOption(0, "passwordFile", "filename", ".passwords");
}

// Parses the options as the command line would; every value is quoted so that one
// beginning with "-" (keepLimited=-1) is taken as a value.
void ParseOptions(const ExtractionRequest& request)
{
    RegisterOptions();
    std::vector<std::string> args{"lumisk"};
    for (const auto& [name, value] : request.mOptions)
    {
        args.push_back("--" + name);
        if (!CmdOptions::GetInstance().IsFlag(name))
            args.push_back("\"" + value + "\"");
    }
    const std::string message = CmdOptions::GetInstance().DoParseArgs(args, 0);
    if (!message.empty())
        throw ModuleError(ModuleError::kValue, message);
}

Core::Array::Array2dReal64* ToArray(const Matrix& matrix)
{
    auto* array = Core::Array::ArrayCreate<Core::Array::Array2dReal64>(matrix.mCols, matrix.mRows, 0, 0);
    if (!matrix.mData.empty())
        std::memcpy(array->Data(), matrix.mData.data(), matrix.mData.size() * sizeof(double));
    return array;
}

Matrix FromArray(const Core::Array::Array2dReal64* array)
{
    Matrix matrix;
    if (!array)
        return matrix;
    matrix.mRows = array->Height();
    matrix.mCols = array->Width();
    matrix.mData.resize(static_cast<size_t>(matrix.mRows * matrix.mCols));
    for (int64_t r = 0; r < matrix.mRows; ++r)
        std::memcpy(matrix.mData.data() + r * matrix.mCols, array->PixelPtr(0, r), matrix.mCols * sizeof(double));
    return matrix;
}

// OSError with the system's reason when the file cannot be opened for reading.
void CheckReadable(const std::string& name, const char* what)
{
    FILE* probe = std::fopen(name.c_str(), "rb");
    if (!probe)
        throw ModuleError(ModuleError::kOS, std::string("Cannot open ") + what + " file " + name + ": " +
                                                std::strerror(errno));
    std::fclose(probe);
}

// The file read from its start by `read`, which gives null after a logged error.
template <class Result, class Read>
Result* ReadWhole(const std::string& name, const char* what, Persistency::FileSystem& fs, Read read)
{
    CheckReadable(name, what);
    std::unique_ptr<Util::IOBuffer> buffer(Persistency::File(name, &fs, false).GetReadBuffer());
    return buffer ? read(buffer.get()) : nullptr;
}

Core::Array::Array2dVec3UInt8* LoadImage(const ExtractionRequest& request, Persistency::FileSystem& fs,
                                         CoreSession& session)
{
    if (request.mPixels)
    {
        auto* image = Core::Array::ArrayCreateOrNull<Core::Array::Array2dVec3UInt8>(request.mWidth, request.mHeight);
        if (!image)
            session.Fail(ModuleError::kRuntime, "no memory for the image");
        const size_t row = static_cast<size_t>(request.mWidth) * 3;
        for (int64_t y = 0; y < request.mHeight; ++y)
            std::memcpy(image->PixelPtr(0, y), request.mPixels + y * row, row);
        return image;
    }
    CheckReadable(request.mImageFile, "image");
    Core::Array::Array2dVec3UInt8* image = nullptr;
    Core::Array::ReadFile(image, Persistency::File(request.mImageFile, &fs, false));
    if (!image)
        session.Fail(ModuleError::kValue,
                     "[ERROR] Could not read input file: is it really a valid image? " + request.mImageFile);
    return image;
}

// An anonymous file in memory that the pipeline writes its output to, as it writes
// --output, so that the result is exactly the command line's.
class MemoryFile
{
public:
    MemoryFile() : mFd(memfd_create("lumisk-output", MFD_CLOEXEC)) {}
    ~MemoryFile()
    {
        if (mFd >= 0)
            close(mFd);
    }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;
    bool Valid() const { return mFd >= 0; }
    std::string Path() const { return "/proc/self/fd/" + std::to_string(mFd); }
    int64_t Size() const { return lseek(mFd, 0, SEEK_END); }

private:
    int mFd;
};

PointsAndDescriptors ReadBuffer(Util::IOBuffer* buffer, const std::string& name, CoreSession& session)
{
    Core::Array::Array2dReal64* points = nullptr;
    Core::Array::Array2dReal64* descriptors = nullptr;
    std::string type;
    try
    {
        type = Core::Feature::ReadBINDESC1FromBuffer(points, descriptors, buffer, true, true);
    }
    catch (const char* text)
    {
        throw ModuleError(ModuleError::kValue, std::string(text) + " in " + name);
    }
    std::unique_ptr<Core::Array::Array2dReal64> ownedPoints(points);
    std::unique_ptr<Core::Array::Array2dReal64> ownedDescriptors(descriptors);
    if (type.empty() || type == "ERROR" || !points || !descriptors)
        session.Fail(ModuleError::kValue, "Not a descriptor file: " + name);
    return PointsAndDescriptors{FromArray(points), FromArray(descriptors)};
}

// The codebook as --codebook reads it (the array given, or the file named) with the
// optional reduction, and for mode "forest" the same file as a table of trees.
void LoadCodebook(const ExtractionRequest& request, Util::PropertySet& properties, Persistency::FileSystem& fs,
                  Core::Feature::InterestPointFeature& feature, CoreSession& session)
{
    const std::string& name = request.mCodebookFile;
    const bool forest = properties.GetString("codebookMode", "") == "forest";
    if (forest && name.empty())
        throw ModuleError(ModuleError::kValue, "Mode forest needs the codebook as a table file: give its file name");
    std::unique_ptr<Core::Array::Array2dReal64> words(
        request.mCodebook ? ToArray(*request.mCodebook)
                          : ReadWhole<Core::Array::Array2dReal64>(name, "codebook", fs,
                                                                  Core::Feature::ReadCodebookFromBuffer));
    if (!words || words->Height() < 1)
        session.Fail(ModuleError::kValue, "The codebook has no words" + (name.empty() ? "" : ": " + name));
    std::unique_ptr<Core::Array::Array2dReal64> reduce;
    const std::string reduceName = properties.GetString("descriptorReduce", "");
    if (!reduceName.empty())
    {
        reduce.reset(ReadWhole<Core::Array::Array2dReal64>(reduceName, "descriptorReduce", fs,
                                                           Core::Feature::ReadCodebookFromBuffer));
        if (!reduce)
            session.Fail(ModuleError::kValue, "Could not read the descriptorReduce matrix from " + reduceName);
    }
    feature.SetCodebook(words.release(), reduce.release());
    if (forest)
    {
        Core::Feature::FeatureTable* trees =
            ReadWhole<Core::Feature::FeatureTable>(name, "codebook", fs, Core::Feature::ReadCodebookTable);
        if (!trees)
            session.Fail(ModuleError::kValue, "Mode forest needs the codebook as a table file: " + name);
        feature.SetForest(trees);
    }
    feature.ConfigurePyramid(properties);
    if (!feature.PrepareCodebookMode())
        session.Fail(ModuleError::kValue, "Codebook mode cannot run: " + properties.GetString("codebookMode", ""));
}

PointsAndDescriptors Extract(const ExtractionRequest& request, CoreSession& session)
{
    ParseOptions(request);
    CmdOptions& options = CmdOptions::GetInstance();
    Util::PropertySet properties;
    for (size_t i = 0; i < options.GetOptionCount(); ++i)
    {
        const std::string& name = options.GetOptionName(i);
        properties.Add(name, options.GetString(name, ""));
    }
    // Exact values whatever the caller asked for: the result is never text.
    properties.Add("outputFormat", "binary");

    // Held before the quantizers look for their files, which may be the server's.
    std::unique_lock<std::mutex> serverLock(sDataServerMutex, std::defer_lock);
    if (!properties.GetString("dataServer", "").empty())
        serverLock.lock();

    Persistency::FileSystem fs("", "");
    std::unique_ptr<Core::Array::Array2dVec3UInt8> image(LoadImage(request, fs, session));

    Core::Feature::InterestPointFeature feature(properties);
    if (request.mCodebook || !request.mCodebookFile.empty())
        LoadCodebook(request, properties, fs, feature, session);

    MemoryFile output;
    if (!output.Valid())
        throw ModuleError(ModuleError::kOS, std::string("memfd_create: ") + std::strerror(errno));
    auto optionFile = [&](const char* name, bool write) {
        const std::string value = properties.GetString(name, "");
        return value.empty() ? Persistency::File() : Persistency::File(value, &fs, write);
    };
    if (!feature.FindInterestPoints(image.get(), Quid(0), Persistency::File(output.Path(), &fs, true), false,
                                    optionFile("loadRegions", false), optionFile("saveRegions", true),
                                    optionFile("drawRegions", true)))
        session.Fail(ModuleError::kRuntime, "Extracting interest points/descriptors failed");
    if (output.Size() <= 0)
        throw ModuleError(ModuleError::kValue, "The run gave no result (clusterInput keeps its rows)");
    std::unique_ptr<Util::IOBuffer> buffer(new Util::IOBufferFile(output.Path(), true, true, false));
    return ReadBuffer(buffer.get(), "the result", session);
}

} // namespace

bool IsFlagOption(const std::string& name)
{
    CmdOptionsScope scope;
    RegisterOptions();
    return CmdOptions::GetInstance().IsFlag(name);
}

PointsAndDescriptors RunExtraction(const ExtractionRequest& request, std::vector<LogRecord>& log)
{
    CoreSession session(log);
    // Deep code signals impossible configurations by throwing a text.
    try
    {
        return Extract(request, session);
    }
    catch (const char* text)
    {
        session.FailThrown(text);
    }
}

PointsAndDescriptors ReadDescriptorFile(const std::string& path, std::vector<LogRecord>& log)
{
    CoreSession session(log);
    std::unique_ptr<Util::IOBuffer> buffer(new Util::IOBufferFile(path, true, true, false));
    if (!buffer->Valid())
        throw ModuleError(ModuleError::kOS, "Cannot open descriptor file " + path + ": " + std::strerror(errno));
    return ReadBuffer(buffer.get(), path, session);
}

void WriteDescriptorFile(const std::string& path, const Matrix& points, const Matrix* descriptors, bool binary,
                         std::vector<LogRecord>& log)
{
    CoreSession session(log);
    std::unique_ptr<Core::Array::Array2dReal64> pointArray(ToArray(points));
    std::unique_ptr<Core::Array::Array2dReal64> descriptorArray(descriptors ? ToArray(*descriptors) : nullptr);
    std::unique_ptr<Util::IOBuffer> buffer(new Util::IOBufferFile(path, false, false, false));
    if (!buffer->Valid())
        throw ModuleError(ModuleError::kOS, "Cannot write descriptor file " + path + ": " + std::strerror(errno));
    const bool written =
        binary ? Core::Feature::WriteBINDESC1ToBuffer(buffer.get(), pointArray.get(), descriptorArray.get(),
                                                      "CIRCLE  ")
               : Core::Feature::WriteVESK1ToBuffer(buffer.get(), pointArray.get(), descriptorArray.get(), "CIRCLE");
    if (!written)
        session.Fail(ModuleError::kOS, "Could not write " + path);
}

} // namespace Python
} // namespace Tavlin
