// The two soft assignments of descriptors to code words, shared by the quantizers
// (UncertaintyQuantizer, SDCQuantizer) and the direct projection (ProjectUNC,
// ProjectSig): a Gaussian kernel over all words, and the residuals of the four nearest
// words (sums, normalised moments, or histograms per dimension). Both add into one row
// per spatial cell; the rows and counts belong to the caller.
#ifndef TAVLIN_CORE_FEATURE_CODEBOOK_SOFTASSIGNMENT_H
#define TAVLIN_CORE_FEATURE_CODEBOOK_SOFTASSIGNMENT_H

#include <string>
#include <vector>

#include <log4cpp/Category.hh>

#include "core/array/Array2dTem.h"
#include "core/geometry/InterestPointSelector.h"
#include "core/matrix/MatList.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

// The points of one image as the assignments see them: descriptors in rows (already
// in the codebook's dimension), positions truncated, and the cells to fill.
struct SoftAssignmentInput
{
    SoftAssignmentInput() = default;
    SoftAssignmentInput(Array::Array2dReal64* descriptors_, Array::Array2dReal64* codebook_, const int* xs_,
                        const int* ys_, int width_, int height_,
                        const std::vector<Geometry::InterestPointSelector*>* selectors_)
        : descriptors(descriptors_),
          codebook(codebook_),
          xs(xs_),
          ys(ys_),
          width(width_),
          height(height_),
          selectors(selectors_)
    {
    }

    Array::Array2dReal64* descriptors = nullptr;
    Array::Array2dReal64* codebook = nullptr;
    const int* xs = nullptr;
    const int* ys = nullptr;
    int width = 0;
    int height = 0;
    const std::vector<Geometry::InterestPointSelector*>* selectors = nullptr;
};

// False, after a logged error, when `rows` result rows of `length` values each would
// not fit in memory (or in a row's int length).
bool CheckResultSize(long long length, long long rows, log4cpp::Category& log);

// Kernel exp(-0.5 d^2 / sigma^2) on every distance, each point's kernel values divided
// by their sum and added to the row of every cell that accepts the point; that cell's
// count goes up by 1. Rows have the codebook's height. False when no distances could
// be computed (already reported).
bool AccumulateUncertainty(const SoftAssignmentInput& input, double sigma, double* const* rows, double* counts,
                           log4cpp::Category& log);

// Each row divided by its count, or by 1 where the count is 0: the mean of the points
// a cell accepted.
void DivideByCounts(double* const* rows, const double* counts, size_t cells, long long length);

// What a residual mode asks for: its family, the parts per word element (1, 2 or n)
// and the row length for V words of dimension D.
struct SignatureMode
{
    enum Kind
    {
        Sig,
        Sdc,
        Mdc
    };
    std::string name;
    Kind kind = Sig;
    long long parts = 1;

    long long RowLength(long long words, long long dimension) const { return parts * words * dimension; }
    // The "diffstat" list is read by the sdc and mdc families.
    bool NeedsDiffStat() const { return kind != Sig; }
};

// True for a name beginning with "sig", "sdc" or "mdc".
bool IsSignatureMode(const std::string& mode);

// False for a name that begins with none of "sig", "sdc" and "mdc". For "mdc" the bin
// count behind the three letters is read as a number; counts below 1 are refused.
bool ParseSignatureMode(const std::string& mode, SignatureMode& parsed);

// False, after a logged error, when the list does not hold the three matrices of the
// codebook's shape that the mode reads.
bool CheckDiffStat(const SignatureMode& mode, const Matrix::MatList* diffStat, Array::Array2dReal64* codebook,
                   log4cpp::Category& log);

// The words of the timing lines: "<prefix> (matrix) took: ", "<prefix> (piece) took: "
// and "<prefix> (<loop>/<points>) took: ".
struct AssignmentLogWords
{
    const char* prefix = "Codebook projection";
    const char* loop = "Sig";
};

// The four nearest words of each point, weighted 1, 0.5, 0.25 and 0.125, add their
// residual statistics to the row of every cell that accepts the point. Rows have the
// mode's row length; diffStat as checked by CheckDiffStat.
bool AccumulateSignature(const SoftAssignmentInput& input, const SignatureMode& mode,
                         const Matrix::MatList* diffStat, double* const* rows, log4cpp::Category& log,
                         const AssignmentLogWords& logWords = AssignmentLogWords());

// The mode's normalisation of one finished row, in place.
void NormalizeSignature(const SignatureMode& mode, double* row, long long length);

} // namespace Feature
} // namespace Core
} // namespace Tavlin

#endif
