// The codebook side of InterestPointFeature: the spatial cells, the check of the
// codebook mode before the first image, and the direct projection with its workers.
#include <memory>
#include <sstream>

#include "basis/Report.h"
#include "basis/String.h"
#include "basis/Timer.h"
#include "core/feature/FeatureTable.h"
#include "core/feature/FeatureTableResult.h"
#include "core/feature/InterestPointFeature.h"
#include "core/feature/PointDescriptorTable.h"
#include "core/feature/codebook/CodebookMatrices.h"
#include "core/feature/codebook/GetCodebookLength.h"
#include "core/feature/codebook/PointSelectors.h"
#include "core/feature/codebook/RandomTree.h"
#include "core/feature/codebook/SoftAssignment.h"
#include "core/feature/codebook/SpatialQuantizerFactory.h"
#include "core/matrix/MatCreate.h"
#include "core/matrix/MatMul.h"
#include "core/matrix/VectorQuantize.h"
#include "persistency/CodebookLocator.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

using Array::Array2dReal64;

namespace
{
log4cpp::Category& sLog = log4cpp::Category::getInstance("Tavlin.Core.Feature.InterestPointFeature");

bool IsQuantizerMode(const std::string& mode)
{
    return mode == "fisher" || mode == "kdhard" || mode == "closestword" || mode == "closestword5";
}

std::vector<double*> RowData(std::vector<Vector::VectorTem<double>*>& vectors)
{
    std::vector<double*> rows;
    for (Vector::VectorTem<double>* v : vectors)
        rows.push_back(v->Data());
    return rows;
}
} // namespace

void InterestPointFeature::ConfigurePyramid(Util::PropertySet& properties)
{
    for (Geometry::InterestPointSelector* selector : mPointSelectors)
        delete selector;
    mPointSelectors.clear();
    const std::string text = properties.GetString("pointSelector", "");
    if (text.empty())
    {
        mPointSelectors.push_back(new Geometry::InterestPointSelector("P1x1#0", mBorderWidth));
        return;
    }
    mPointSelectors = MakePointSelectors(text, mBorderWidth);
    mFeatureDefinition.AddParameter<std::string>("ps", PyramidParameter(text));
}

void InterestPointFeature::SetCodebook(Array2dReal64* codebook, Array2dReal64* reduce)
{
    delete mCodebook;
    delete mCodebookReduce;
    mCodebook = codebook;
    mCodebookReduce = reduce;
}

void InterestPointFeature::SetCodebookDiffStat(Matrix::MatList* diffStat)
{
    DeleteMatList(mCodebookDiffStat);
    mCodebookDiffStat = diffStat;
}

bool InterestPointFeature::CheckForest()
{
    if (!mForest)
    {
        TLOG_ERROR(sLog, "[ERROR] Codebook mode forest needs the codebook as a random forest table");
        return false;
    }
    std::unique_ptr<RandomTreeTable> trees(MakeRandomTreeTable(mForest));
    std::vector<RandomTree*> forest = ReadRandomForest(trees.get());
    const bool parsed = !forest.empty();
    DeleteForest(forest);
    if (!parsed)
    {
        TLOG_ERROR(sLog, "[ERROR] Codebook mode forest can not read the random forest of its table");
        return false;
    }
    // Every leaf must have a place in the rows, whose length the last leaf gives.
    const int words = GetCodebookLength(mForest);
    for (int i = 0; i < trees->Size(); ++i)
    {
        if (trees->mColumn1.mData[i] >= words)
        {
            TLOG_ERROR(sLog, "[ERROR] Random forest leaf " << trees->mColumn1.mData[i] << " in row " << i
                                                           << " beyond the forest's " << words << " code words");
            return false;
        }
    }
    return true;
}

bool InterestPointFeature::PrepareCodebookMode()
{
    const std::string mode = mProperties->GetString("codebookMode", "");
    if (!mCodebook)
    {
        TLOG_ERROR(sLog, "[ERROR] No codebook to project onto");
        return false;
    }
    // With a data server the quantizer's files are found there too.
    Persistency::CodebookLocator locator(Persistency::Locator("file:" + mProperties->GetString("dataServer", ""), "direct"),
                                         mProperties->GetString("codebookName", ""), "codebook");
    if (IsQuantizerMode(mode))
    {
        delete mQuantizer;
        mQuantizer = SpatialQuantizerFactory(mode, mProperties->GetString("pointSelector", ""), mBorderWidth, locator);
        if (!mQuantizer)
            TLOG_ERROR(sLog, "[ERROR] No quantizer for codebook mode " << mode);
        return mQuantizer != nullptr;
    }
    if (mode == "forest")
        return CheckForest();
    if (!IsSignatureMode(mode))
        return true;
    SignatureMode signature;
    if (!ParseSignatureMode(mode, signature))
    {
        TLOG_ERROR(sLog, "[ERROR] Codebook mode " << mode << " needs a bin count of at least 1");
        return false;
    }
    // The residual statistics are stored beside the codebook under its name.
    if (signature.NeedsDiffStat() && !mCodebookDiffStat)
    {
        SetCodebookDiffStat(GetCodebookMatrices(locator, "diffstat"));
        if (!mCodebookDiffStat)
            TLOG_ERROR(sLog, "[ERROR] No diffstat statistics found for " << locator.ToString());
    }
    return CheckDiffStat(signature, mCodebookDiffStat, mCodebook, sLog) &&
           CheckResultSize(signature.RowLength(mCodebook->mHeight, mCodebook->mWidth),
                           static_cast<long long>(mPointSelectors.size()), sLog);
}

Array2dReal64* InterestPointFeature::ReduceDescriptors(Array2dReal64* descriptors,
                                                        std::unique_ptr<Array2dReal64>& product)
{
    if (!mCodebookReduce)
        return descriptors;
    product.reset(Matrix::MatMul(descriptors, mCodebookReduce));
    return product.get();
}

PointDescriptorTable* InterestPointFeature::ProjectOntoCodebook(PointDescriptorTable* table, std::string mode,
                                                                int width, int height, Quid quid)
{
    TLOG_DEBUG(sLog, "ProjectOntoCodebook called");
    std::unique_ptr<PointDescriptorTable> input(table);
    if (!mCodebook)
    {
        TLOG_ERROR(sLog, "[ERROR] No codebook to project onto");
        return nullptr;
    }
    std::unique_ptr<PointDescriptorTable> result(new PointDescriptorTable(input->GetFeatureDefinition()));

    const long long words = mCodebook->mHeight;
    const long long dimension = mCodebook->mWidth;
    long long length = words;
    SignatureMode signature;
    const bool residual = IsSignatureMode(mode);
    if (mode == "forest")
    {
        length = GetCodebookLength(mForest);
        TLOG_DEBUG(sLog, "forest codebook length = " << length);
        if (length < 1)
            return nullptr;
    }
    else if (residual)
    {
        if (!ParseSignatureMode(mode, signature))
        {
            TLOG_ERROR(sLog, "[ERROR] Codebook mode " << mode << " needs a bin count of at least 1");
            return nullptr;
        }
        length = signature.RowLength(words, dimension);
    }
    const size_t cells = mPointSelectors.size();
    if (!CheckResultSize(length, static_cast<long long>(cells), sLog))
        return nullptr;

    std::vector<std::unique_ptr<Vector::VectorTem<double>>> owned;
    std::vector<Vector::VectorTem<double>*> vectors;
    for (size_t r = 0; r < cells; ++r)
    {
        owned.emplace_back(new Vector::VectorTem<double>(static_cast<int>(length)));
        std::fill(owned.back()->Data(), owned.back()->Data() + length, 0.0);
        vectors.push_back(owned.back().get());
    }
    std::vector<double> counts(cells, 0.0);
    TLOG_DEBUG(sLog, "done making codebook vector");

    const int points = input->Size();
    if (points == 0)
    {
        if (mResult)
            for (size_t r = 0; r < cells; ++r)
                mResult->AddVector(quid, static_cast<int>(r), *vectors[r]);
        return result.release();
    }

    const int descriptorLength = input->GetDescriptorLength();
    TLOG_DEBUG(sLog, "extracting descriptor data");
    std::vector<int> xs(points), ys(points);
    for (int i = 0; i < points; ++i)
    {
        xs[i] = Geometry::SelectorPosition(input->X()[i]);
        ys[i] = Geometry::SelectorPosition(input->Y()[i]);
    }

    if (mode != "forest")
    {
        if (!mCodebookReduce && descriptorLength != dimension)
        {
            TLOG_ERROR(sLog, "ProjectOntoCodebook found visual word"
                                 << " and descriptor of different sizes!\n\t\t"
                                 << "codebook: " << dimension << ", descriptor:" << descriptorLength);
            throw "Dimensionality mismatch!";
        }
        // Checked whenever there is a reduction, also for equal lengths: the product
        // needs exactly these shapes.
        if (mCodebookReduce && (dimension != mCodebookReduce->mWidth || descriptorLength != mCodebookReduce->mHeight))
        {
            TLOG_ERROR(sLog, "Reduced descriptor dimensionality mismatch");
            throw "bye";
        }
    }

    std::unique_ptr<Array2dReal64> descriptors(input->GetWrappedDescriptorMatrix());
    TLOG_DEBUG(sLog, "extracted descriptor data");

    bool done = true;
    if (mode == "unc")
        done = ProjectUNC(vectors, descriptors.get(), width, height, xs, ys, counts);
    else if (mode == "hardmatrix" || mode == "hard")
        done = ProjectHardMatrix(vectors, descriptors.get(), width, height, xs, ys, counts);
    else if (residual)
        done = ProjectSig(vectors, mode, descriptors.get(), width, height, xs, ys, counts);
    else if (mode == "hardindex")
    {
        if (!ProjectHardIndex(descriptors.get(), input.get()))
            return nullptr;
        return input.release();
    }
    else if (mode == "forest")
        done = ProjectForest(vectors, descriptors.get(), width, height, xs, ys, counts);
    if (!done)
        return nullptr;
    descriptors.reset();

    for (size_t r = 0; r < cells; ++r)
        TLOG_DEBUG(sLog, "regCount " << counts[r]);
    std::vector<double*> rows = RowData(vectors);
    DivideByCounts(rows.data(), counts.data(), cells, length);

    result->SetStorage(Matrix::MatCreate<Array2dReal64>(static_cast<int>(cells), static_cast<int>(length)));
    result->Reserve(static_cast<int>(cells), false);
    for (size_t r = 0; r < cells; ++r)
    {
        result->AddPoint(0.0, 0.0, 0.0, 0.0, 0.0);
        std::copy(rows[r], rows[r] + length, result->GetDescriptor(static_cast<int>(r)));
    }
    if (mResult)
        for (size_t r = 0; r < cells; ++r)
            mResult->AddVector(quid, static_cast<int>(r), *vectors[r]);
    return result.release();
}

bool InterestPointFeature::ProjectHardMatrix(std::vector<Vector::VectorTem<double>*>& vectors,
                                             Array2dReal64* descriptors, int width, int height, std::vector<int>& xs,
                                             std::vector<int>& ys, std::vector<double>& counts)
{
    Timer timer(1);
    std::unique_ptr<Array2dReal64> product;
    descriptors = ReduceDescriptors(descriptors, product);
    if (!descriptors)
        return false;
    TLOG_DEBUG(sLog, "descriptors: " << descriptors->mWidth << " x " << descriptors->mHeight);
    TLOG_DEBUG(sLog, "codebook: " << mCodebook->mWidth << " x " << mCodebook->mHeight);
    TLOG_DEBUG(sLog, "Codebook projection (init) took: " << timer.SplitTimeStr());
    std::unique_ptr<Array2dReal64> assignment(Matrix::VectorQuantize(descriptors, mCodebook));
    if (!assignment)
        return false;
    TLOG_INFO(sLog, "Codebook projection (matrix) took: " << timer.SplitTimeStr());
    const long long points = assignment->mHeight;
    const size_t cells = mPointSelectors.size();
    const double* nearest = assignment->mData;
    for (long long i = 0; i < points; ++i, nearest += 2)
    {
        const int word = static_cast<int>(nearest[0]);
        for (size_t r = 0; r < cells; ++r)
        {
            if (mPointSelectors[r]->Accept(xs[i], ys[i], width, height))
            {
                (*vectors[r])[word] += 1.0;
                counts[r] += 1.0;
            }
        }
    }
    TLOG_DEBUG(sLog, "Codebook projection (matrix-form) took: " << timer.SplitTimeStr());
    return true;
}

bool InterestPointFeature::ProjectUNC(std::vector<Vector::VectorTem<double>*>& vectors, Array2dReal64* descriptors,
                                      int width, int height, std::vector<int>& xs, std::vector<int>& ys,
                                      std::vector<double>& counts)
{
    Timer timer(1);
    std::unique_ptr<Array2dReal64> product;
    descriptors = ReduceDescriptors(descriptors, product);
    if (!descriptors)
        return false;
    TLOG_DEBUG(sLog, "Codebook projection (init) took: " << timer.SplitTimeStr());
    const std::string sigma = mProperties->GetString("codebookSigma", "");
    TLOG_DEBUG(sLog, "normalizationFactor: " << mCodebook->mHeight << " x " << 1);
    SoftAssignmentInput input(descriptors, mCodebook, xs.data(), ys.data(), width, height, &mPointSelectors);
    std::vector<double*> rows = RowData(vectors);
    return AccumulateUncertainty(input, sigma.empty() ? 0.0 : atof(sigma), rows.data(), counts.data(), sLog);
}

bool InterestPointFeature::ProjectSig(std::vector<Vector::VectorTem<double>*>& vectors, std::string mode,
                                      Array2dReal64* descriptors, int width, int height, std::vector<int>& xs,
                                      std::vector<int>& ys, std::vector<double>&)
{
    Timer timer(1);
    SignatureMode signature;
    if (!ParseSignatureMode(mode, signature) || !CheckDiffStat(signature, mCodebookDiffStat, mCodebook, sLog))
        return false;
    std::unique_ptr<Array2dReal64> product;
    descriptors = ReduceDescriptors(descriptors, product);
    if (!descriptors)
        return false;
    TLOG_DEBUG(sLog, "Codebook projection (init) took: " << timer.SplitTimeStr());
    SoftAssignmentInput input(descriptors, mCodebook, xs.data(), ys.data(), width, height, &mPointSelectors);
    std::vector<double*> rows = RowData(vectors);
    timer.Start();
    if (!AccumulateSignature(input, signature, mCodebookDiffStat, rows.data(), sLog))
        return false;
    const long long length = signature.RowLength(mCodebook->mHeight, mCodebook->mWidth);
    for (double* row : rows)
        NormalizeSignature(signature, row, length);
    if (mode == "sig0")
        TLOG_DEBUG(sLog, "Codebook projection (Sig/end-of-function)");
    else
        TLOG_DEBUG(sLog, "Codebook projection (Sig/end-of-function): " << timer.SplitTimeStr());
    return true;
}

bool InterestPointFeature::ProjectForest(std::vector<Vector::VectorTem<double>*>& vectors, Array2dReal64* descriptors,
                                         int width, int height, std::vector<int>& xs, std::vector<int>& ys,
                                         std::vector<double>& counts)
{
    Timer timer(1);
    TLOG_DEBUG(sLog, "creating random forest from feature table");
    std::vector<RandomTree*> forest = ReadRandomForest(mForest);
    if (forest.empty())
    {
        TLOG_ERROR(sLog, "[ERROR] No random forest to project onto");
        return false;
    }
    const int words = vectors.empty() ? 0 : vectors[0]->Size();
    const long long points = descriptors->mHeight;
    const int dimension = static_cast<int>(descriptors->mWidth);
    const size_t cells = mPointSelectors.size();
    bool done = true;
    for (long long i = 0; done && i < points; ++i)
    {
        const Vector::VectorTem<double> x(dimension, descriptors->mData + i * dimension, true);
        for (const RandomTree* tree : forest)
        {
            TLOG_DEBUG(sLog, "getting codeword");
            const int cw = tree->GetCodeWord(x);
            TLOG_DEBUG(sLog, "got codeword");
            if (cw < 0 || cw >= words)
            {
                TLOG_ERROR(sLog, "[ERROR] The random forest gives code word " << cw << " for point " << i
                                                                              << " of dimension " << dimension
                                                                              << "; it has " << words << " words");
                done = false;
                break;
            }
            for (size_t r = 0; r < cells; ++r)
            {
                if (mPointSelectors[r]->Accept(xs[i], ys[i], width, height))
                {
                    (*vectors[r])[cw] += 1.0;
                    counts[r] += 1.0;
                }
            }
        }
    }
    DeleteForest(forest);
    TLOG_DEBUG(sLog, "Codebook projection (forest) took: " << timer.SplitTimeStr());
    return done;
}

bool InterestPointFeature::ProjectHardIndex(Array2dReal64* descriptors, PointDescriptorTable* table)
{
    Timer timer(1);
    std::unique_ptr<Array2dReal64> product;
    descriptors = ReduceDescriptors(descriptors, product);
    if (!descriptors)
        return false;
    TLOG_DEBUG(sLog, "Codebook projection (init) took: " << timer.SplitTimeStr());
    std::unique_ptr<Array2dReal64> assignment(Matrix::VectorQuantize(descriptors, mCodebook));
    if (!assignment)
        return false;
    TLOG_INFO(sLog, "Codebook projection (matrix) took: " << timer.SplitTimeStr());
    const int points = static_cast<int>(assignment->mHeight);
    Array2dReal64* indices = Matrix::MatCreate<Array2dReal64>(points, 1);
    for (int i = 0; i < points; ++i)
        indices->mData[i] = static_cast<double>(static_cast<int>(assignment->mData[2 * i]));
    table->SetStorage(indices);
    return true;
}

} // namespace Feature
} // namespace Core
} // namespace Tavlin
