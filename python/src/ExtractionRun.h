// What the module does with the core, free of Python: one extraction (and projection)
// configured from command-line option names, with the result in memory, and the two
// descriptor file forms. Each call has an option table and a log of its own, so calls run
// on several threads at once. Failures throw ModuleError with the kind of Python
// exception it becomes and the logged message.
#ifndef TAVLIN_PYTHON_EXTRACTIONRUN_H
#define TAVLIN_PYTHON_EXTRACTIONRUN_H

#include <cstdint>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "LogRecords.h"

namespace Tavlin
{
namespace Python
{

class ModuleError : public std::runtime_error
{
public:
    enum Kind
    {
        kValue,
        kOS,
        kRuntime
    };
    ModuleError(Kind kind, const std::string& message) : std::runtime_error(message), mKind(kind) {}
    Kind GetKind() const { return mKind; }

private:
    Kind mKind;
};

// Row-major matrices of doubles, as they travel to and from numpy.
struct Matrix
{
    int64_t mRows = 0;
    int64_t mCols = 0;
    std::vector<double> mData;
};

struct ExtractionRequest
{
    // (name, value) pairs in command-line order; an empty value for a flag.
    std::vector<std::pair<std::string, std::string>> mOptions;
    // Either a file name, decoded as the command line decodes it, or pixels (H x W x 3).
    std::string mImageFile;
    const uint8_t* mPixels = nullptr;
    int64_t mWidth = 0;
    int64_t mHeight = 0;
    // With words, or with the name of a file --codebook takes: the codebook the
    // descriptors are projected onto.
    const Matrix* mCodebook = nullptr;
    std::string mCodebookFile;
};

struct PointsAndDescriptors
{
    Matrix mPoints;
    Matrix mDescriptors;
};

// True for a known option name that takes no value.
bool IsFlagOption(const std::string& name);

// What a run with --outputFormat binary writes for the image, points in file
// coordinates. `log` receives the lines the core logged, also on failure.
PointsAndDescriptors RunExtraction(const ExtractionRequest& request, std::vector<LogRecord>& log);

PointsAndDescriptors ReadDescriptorFile(const std::string& path, std::vector<LogRecord>& log);
void WriteDescriptorFile(const std::string& path, const Matrix& points, const Matrix* descriptors, bool binary,
                         std::vector<LogRecord>& log);

} // namespace Python
} // namespace Tavlin

#endif
