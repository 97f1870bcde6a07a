#include "core/feature/codebook/ClosestWordsQuantizer.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <utility>

#include "basis/Report.h"
#include "core/feature/PointDescriptorTable.h"
#include "core/feature/codebook/CodebookMatrices.h"
#include "core/matrix/MatCreate.h"
#include "core/matrix/MatNorm2Dist.h"
#include "core/matrix/VectorQuantize.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

namespace
{
log4cpp::Category& sLog = log4cpp::Category::getInstance("Tavlin.Core.Feature.ClosestWordsQuantizer");

// By distance, then by word index; a distance that is not a number comes after all
// others, so that the order stays a strict weak one.
bool Closer(const std::pair<double, long long>& a, const std::pair<double, long long>& b)
{
    const bool aNan = std::isnan(a.first), bNan = std::isnan(b.first);
    if (aNan != bNan)
        return bNan;
    if (!aNan && a.first != b.first)
        return a.first < b.first;
    return a.second < b.second;
}
} // namespace

ClosestWordsQuantizer::ClosestWordsQuantizer(int wordCount) : SpatialQuantizer("", 0), mWordCount(wordCount) {}

ClosestWordsQuantizer::~ClosestWordsQuantizer()
{
    delete mCodebook;
}

void ClosestWordsQuantizer::SetCodebook(Persistency::CodebookLocator& locator)
{
    AdoptCodebook(GetCodebookWords(locator, sLog));
}

bool ClosestWordsQuantizer::AdoptCodebook(Array::Array2dReal64* codebook)
{
    delete mCodebook;
    mCodebook = codebook;
    if (mCodebook && (mWordCount < 1 || mCodebook->mHeight < mWordCount))
    {
        TLOG_ERROR(sLog, "[ERROR] A codebook of " << mCodebook->mHeight << " words can not give the " << mWordCount
                                                  << " closest words");
        delete mCodebook;
        mCodebook = nullptr;
    }
    return mCodebook != nullptr;
}

Vector::VectorSet<Array::Array2dReal64>* ClosestWordsQuantizer::Quantize(PointDescriptorTable* table, int, int)
{
    if (!mCodebook)
    {
        TLOG_ERROR(sLog, "[ERROR] Quantize called without a codebook");
        return nullptr;
    }
    const long long dimension = mCodebook->mWidth;
    if (table->GetDescriptorLength() != dimension)
    {
        TLOG_ERROR(sLog, "[ERROR] Descriptors of length " << table->GetDescriptorLength() << " and a codebook of width "
                                                           << dimension);
        return nullptr;
    }
    const int n = mWordCount;
    const long long words = mCodebook->mHeight;
    const int points = table->Size();
    const int length = n + 2;
    std::unique_ptr<Vector::VectorSet<Array::Array2dReal64>> result(
        new Vector::VectorSet<Array::Array2dReal64>(true, length, points));
    result->SetSize(points);
    if (points == 0)
        return result.release();

    std::unique_ptr<Array::Array2dReal64> descriptors(table->GetWrappedDescriptorMatrix());
    const long long block = Matrix::VectorQuantizeBlockRows(words);
    std::vector<std::pair<double, long long>> ranked(static_cast<size_t>(words));
    for (long long first = 0; first < points; first += block)
    {
        const long long count = std::min(block, points - first);
        std::unique_ptr<Array::Array2dReal64> rows(Matrix::MatCreate<Array::Array2dReal64>(
            static_cast<int>(count), static_cast<int>(dimension), descriptors->mData + first * dimension, true));
        std::unique_ptr<Array::Array2dReal64> distances(Matrix::MatNorm2DistTransposed(rows.get(), mCodebook));
        if (!distances)
            return nullptr;
        const double* d = distances->mData;
        for (long long p = 0; p < count; ++p, d += words)
        {
            for (long long j = 0; j < words; ++j)
                ranked[j] = std::make_pair(d[j], j);
            std::partial_sort(ranked.begin(), ranked.begin() + n, ranked.end(), Closer);
            const int i = static_cast<int>(first + p);
            double* out = result->GetVectorData(i);
            out[0] = table->X()[i];
            out[1] = table->Y()[i];
            for (int k = 0; k < n; ++k)
                out[2 + k] = static_cast<double>(ranked[k].second);
        }
    }
    return result.release();
}

} // namespace Feature
} // namespace Core
} // namespace Tavlin
