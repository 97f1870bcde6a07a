#include "core/feature/codebook/SoftAssignment.h"

#include <cmath>
#include <cstdint>
#include <memory>

#include "basis/Report.h"
#include "basis/String.h"
#include "basis/Timer.h"
#include "core/array/ElementWise.h"
#include "core/matrix/MatCreate.h"
#include "core/matrix/MatNorm2Dist.h"
#include "core/matrix/VectorQuantize.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

using Array::Array2dReal64;

namespace
{

// Calls work(first, distances) for each block of points, the distances of the block's
// rows to every word in a matrix the work may overwrite. The block size bounds that
// matrix near 20,000,000 entries. Timings are logged under `prefix`.
template <class Work>
bool ForEachBlock(const SoftAssignmentInput& input, log4cpp::Category& log, Work work,
                  const char* prefix = "Codebook projection")
{
    Array2dReal64* descriptors = input.descriptors;
    const long long points = descriptors->mHeight;
    const long long dimension = descriptors->mWidth;
    const long long block = Matrix::VectorQuantizeBlockRows(input.codebook->mHeight);
    Timer timer(1);
    for (long long first = 0; first < points; first += block)
    {
        const long long count = std::min(block, points - first);
        timer.Start();
        std::unique_ptr<Array2dReal64> rows(Matrix::MatCreate<Array2dReal64>(
            static_cast<int>(count), static_cast<int>(dimension), descriptors->mData + first * dimension, true));
        std::unique_ptr<Array2dReal64> distances(Matrix::MatNorm2DistTransposed(rows.get(), input.codebook));
        if (!distances)
            return false;
        TLOG_DEBUG(log, prefix << " (matrix) took: " << timer.SplitTimeStr());
        timer.Start();
        work(first, distances.get());
        TLOG_DEBUG(log, prefix << " (piece) took: " << timer.SplitTimeStr());
    }
    return true;
}

// Indices of the cells that accept point i, into `accepted`.
void AcceptingCells(const SoftAssignmentInput& input, long long i, std::vector<int>& accepted)
{
    accepted.clear();
    const std::vector<Geometry::InterestPointSelector*>& selectors = *input.selectors;
    for (size_t r = 0; r < selectors.size(); ++r)
        if (selectors[r]->Accept(input.xs[i], input.ys[i], input.width, input.height))
            accepted.push_back(static_cast<int>(r));
}

// Multiplies by 1 / sqrt(sum of squares), by 1 where that sum is 0.
void NormalizeL2(double* values, long long length)
{
    double sum = 0.0;
    for (long long k = 0; k < length; ++k)
    {
        const double square = values[k] * values[k];
        sum += square;
    }
    const double factor = sum == 0.0 ? 1.0 : 1.0 / std::sqrt(sum);
    for (long long k = 0; k < length; ++k)
        values[k] *= factor;
}

} // namespace

bool CheckResultSize(long long length, long long rows, log4cpp::Category& log)
{
    // Beyond this the result alone would take gigabytes; no sane codebook asks for it.
    const long long limit = 1LL << 28;
    if (length >= 0 && length <= INT32_MAX && length * rows <= limit)
        return true;
    TLOG_ERROR(log, "[ERROR] Result rows of " << length << " values for " << rows << " cells would not fit in memory");
    return false;
}

bool AccumulateUncertainty(const SoftAssignmentInput& input, double sigma, double* const* rows, double* counts,
                           log4cpp::Category& log)
{
    const long long words = input.codebook->mHeight;
    const double variance = sigma * sigma;
    Timer total(1);
    std::vector<int> accepted;
    const bool done = ForEachBlock(input, log, [&](long long first, Array2dReal64* distances) {
        const long long count = distances->mHeight;
        double* kernel = distances->mData;
        for (long long p = 0; p < count; ++p, kernel += words)
        {
            // Each point spreads a weight of 1 over the words; a sum that underflows to
            // 0 gives not-a-number, which is passed on.
            double sum = 0.0;
            for (long long j = 0; j < words; ++j)
            {
                const double d = kernel[j];
                kernel[j] = std::exp(-0.5 * d * d / variance);
                sum += kernel[j];
            }
            for (long long j = 0; j < words; ++j)
                kernel[j] /= sum;
            AcceptingCells(input, first + p, accepted);
            for (int r : accepted)
            {
                double* row = rows[r];
                for (long long j = 0; j < words; ++j)
                    row[j] += kernel[j];
                counts[r] += 1.0;
            }
        }
    });
    TLOG_DEBUG(log, "Codebook projection (UNC/" << input.descriptors->mHeight << ") took: " << total.SplitTimeStr());
    return done;
}

void DivideByCounts(double* const* rows, const double* counts, size_t cells, long long length)
{
    for (size_t r = 0; r < cells; ++r)
    {
        const double count = counts[r] == 0.0 ? 1.0 : counts[r];
        double* row = rows[r];
        for (long long j = 0; j < length; ++j)
            row[j] /= count;
    }
}

bool IsSignatureMode(const std::string& mode)
{
    return StringStartsWith(mode, "sig") || StringStartsWith(mode, "sdc") || StringStartsWith(mode, "mdc");
}

bool ParseSignatureMode(const std::string& mode, SignatureMode& parsed)
{
    parsed.name = mode;
    if (StringStartsWith(mode, "sig"))
    {
        parsed.kind = SignatureMode::Sig;
        parsed.parts = 1;
        return true;
    }
    if (StringStartsWith(mode, "sdc"))
    {
        parsed.kind = SignatureMode::Sdc;
        parsed.parts = 2;
        return true;
    }
    if (StringStartsWith(mode, "mdc"))
    {
        parsed.kind = SignatureMode::Mdc;
        parsed.parts = atol(mode.substr(3));
        return parsed.parts >= 1;
    }
    return false;
}

bool CheckDiffStat(const SignatureMode& mode, const Matrix::MatList* diffStat, Array2dReal64* codebook,
                   log4cpp::Category& log)
{
    if (!mode.NeedsDiffStat())
        return true;
    if (!diffStat)
    {
        TLOG_ERROR(log, "[ERROR] Codebook mode " << mode.name << " needs the diffstat statistics of the codebook");
        return false;
    }
    bool fits = diffStat->size() >= 3;
    for (size_t i = 0; fits && i < 3; ++i)
    {
        const Array2dReal64* m = (*diffStat)[i];
        fits = m && m->mWidth == codebook->mWidth && m->mHeight == codebook->mHeight && m->mBorderWidth == 0 &&
               m->mBorderHeight == 0;
    }
    if (!fits)
        TLOG_ERROR(log, "[ERROR] The diffstat statistics must be three matrices of the codebook's shape, "
                            << codebook->mHeight << " x " << codebook->mWidth);
    return fits;
}

bool AccumulateSignature(const SoftAssignmentInput& input, const SignatureMode& mode,
                         const Matrix::MatList* diffStat, double* const* rows, log4cpp::Category& log,
                         const AssignmentLogWords& logWords)
{
    Array2dReal64* codebook = input.codebook;
    const long long words = codebook->mHeight;
    const long long dimension = codebook->mWidth;
    const long long parts = mode.parts;
    const long long stride = parts * dimension;
    if (words == 0)
        return true;

    const double* lower = nullptr;
    const double* deviation = nullptr;
    std::unique_ptr<Array2dReal64> binWidth;
    if (diffStat && mode.kind == SignatureMode::Sdc)
        deviation = (*diffStat)[2]->mData;
    if (diffStat && mode.kind == SignatureMode::Mdc)
    {
        lower = (*diffStat)[0]->mData;
        Array2dReal64* range = nullptr;
        Array::Sub(range, (*diffStat)[1], (*diffStat)[0]);
        std::unique_ptr<Array2dReal64> owned(range);
        Array2dReal64* width = nullptr;
        Array::DivVal(width, range, static_cast<double>(parts));
        binWidth.reset(width);
    }
    const double* bins = binWidth ? binWidth->mData : nullptr;
    const double lastBin = static_cast<double>(parts - 1);

    Timer total(1);
    std::vector<int> accepted;
    const bool done = ForEachBlock(input, log, [&](long long first, Array2dReal64* distances) {
        const long long count = distances->mHeight;
        double* d = distances->mData;
        for (long long p = 0; p < count; ++p, d += words)
        {
            const long long i = first + p;
            const double* x = input.descriptors->mData + i * dimension;
            AcceptingCells(input, i, accepted);
            double w = 1.0;
            for (int nearest = 0; nearest < 4; ++nearest)
            {
                // The chosen distance is raised above the largest, so that the next
                // scan finds the next nearest word; with fewer than four words the
                // same words come round again.
                double smallest = 9999999.0;
                double largest = 0.0;
                long long best = 0;
                for (long long j = 0; j < words; ++j)
                {
                    if (d[j] < smallest)
                    {
                        smallest = d[j];
                        best = j;
                    }
                    if (d[j] > largest)
                        largest = d[j];
                }
                d[best] = 1.0 + largest;

                const long long offset = best * dimension;
                const double* word = codebook->mData + offset;
                for (int r : accepted)
                {
                    double* out = rows[r] + best * stride;
                    if (mode.kind == SignatureMode::Sig)
                    {
                        for (long long k = 0; k < dimension; ++k)
                            out[k] += (x[k] - word[k]) * w;
                    }
                    else if (mode.kind == SignatureMode::Sdc)
                    {
                        const double* s = deviation + offset;
                        for (long long k = 0; k < dimension; ++k)
                        {
                            const double residual = x[k] - word[k];
                            out[2 * k] += (residual / s[k]) * w;
                            out[2 * k + 1] += (residual * residual / (s[k] * s[k]) - 1.0) * w;
                        }
                    }
                    else
                    {
                        const double* low = lower + offset;
                        const double* bin = bins + offset;
                        for (long long k = 0; k < dimension; ++k)
                        {
                            const double residual = x[k] - word[k];
                            const double position = (residual - low[k]) / bin[k];
                            // Truncated toward zero, kept within the bins; a position that
                            // is not a number counts in the first bin.
                            const long long b =
                                position >= lastBin ? parts - 1 : (position > 0.0 ? static_cast<long long>(position) : 0);
                            out[k * parts + b] += w;
                        }
                    }
                }
                w *= 0.5;
            }
        }
    }, logWords.prefix);
    TLOG_DEBUG(log, logWords.prefix << " (" << logWords.loop << "/" << input.descriptors->mHeight
                                    << ") took: " << total.SplitTimeStr());
    return done;
}

void NormalizeSignature(const SignatureMode& mode, double* row, long long length)
{
    if (mode.name == "sig0")
        return;
    for (long long k = 0; k < length; ++k)
    {
        const double root = std::sqrt(std::fabs(row[k]));
        row[k] = row[k] < 0.0 ? -root : root;
    }
    if (mode.name == "sig2" || mode.kind == SignatureMode::Sdc)
    {
        NormalizeL2(row, length);
    }
    else if (mode.kind == SignatureMode::Mdc)
    {
        for (long long group = 0; group + mode.parts <= length; group += mode.parts)
            NormalizeL2(row + group, mode.parts);
        NormalizeL2(row, length);
    }
}

} // namespace Feature
} // namespace Core
} // namespace Tavlin
