#include "core/feature/codebook/FisherQuantizer.h"

#include <climits>
#include <cmath>
#include <memory>
#include <vector>

#include "basis/Report.h"
#include "basis/Timer.h"
#include "core/feature/PointDescriptorTable.h"
#include "core/feature/codebook/CodebookMatrices.h"
#include "core/feature/codebook/TakeLastMatrix.h"
#include "persistency/CodebookLocator.h"
#include "persistency/CodebookRepositoryInFile.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

using Array::Array2dReal64;

namespace
{
log4cpp::Category& sLog = log4cpp::Category::getInstance("Tavlin.Core.Feature.FisherQuantizer");

bool AllFinite(const Array2dReal64& m)
{
    const double* p = m.mData;
    for (long long i = 0, n = static_cast<long long>(m.mHeight) * m.mWidth; i < n; ++i)
        if (!std::isfinite(p[i]))
            return false;
    return true;
}

// The matrix of one kind, or null after "<what> not found".
Array2dReal64* GetModelPart(Persistency::CodebookLocator& locator, const char* kind, const char* what)
{
    Array2dReal64* m = TakeLastMatrix(GetCodebookMatrices(locator, kind));
    if (!m)
        TLOG_ERROR(sLog, what << " not found");
    return m;
}

// The mixture's own checks are assertions: everything they guard is refused here.
bool CheckModel(const Array2dReal64* means, const Array2dReal64* vars, const Array2dReal64* weights)
{
    const long long ngauss = means->mHeight, ndim = means->mWidth;
    if (ngauss < 1 || ndim < 1)
    {
        TLOG_ERROR(sLog, "[ERROR] Gaussian mixture means of size " << ngauss << " x " << ndim);
        return false;
    }
    if (vars->mHeight != means->mHeight || vars->mWidth != means->mWidth)
    {
        TLOG_ERROR(sLog, "[ERROR] Gaussian mixture variances of size " << vars->mHeight << " x " << vars->mWidth
                                                                        << " for means of size " << ngauss << " x "
                                                                        << ndim);
        return false;
    }
    if (weights->mHeight != means->mHeight || weights->mWidth < 1)
    {
        TLOG_ERROR(sLog, "[ERROR] Gaussian mixture weights of size " << weights->mHeight << " x " << weights->mWidth
                                                                      << " for " << ngauss << " Gaussians");
        return false;
    }
    if (2 * ngauss * ndim > INT_MAX)
    {
        TLOG_ERROR(sLog, "[ERROR] Gaussian mixture of " << ngauss << " x " << ndim << " is too large");
        return false;
    }
    if (!AllFinite(*means) || !AllFinite(*vars))
    {
        TLOG_ERROR(sLog, "[ERROR] Gaussian mixture means or variances that are not numbers");
        return false;
    }
    double sum = 0;
    for (long long j = 0; j < ngauss; ++j)
        sum += weights->mData[j * weights->mWidth];
    for (long long j = 0; j < ngauss; ++j)
    {
        const double w = weights->mData[j * weights->mWidth];
        if (!(w > 0) || !std::isfinite(sum) || !std::isfinite(sum / w))
        {
            TLOG_ERROR(sLog, "[ERROR] Gaussian mixture weight " << j << " is " << w << ": weights must be positive");
            return false;
        }
    }
    return true;
}
} // namespace

FisherQuantizer::FisherQuantizer(std::string pyramid, int border) : SpatialQuantizer(pyramid, border)
{
}

FisherQuantizer::~FisherQuantizer()
{
    Clear();
}

void FisherQuantizer::Clear()
{
    delete mFisher;
    delete mGmm;
    delete mMeans;
    delete mVariances;
    mFisher = nullptr;
    mGmm = nullptr;
    mMeans = mVariances = nullptr;
}

void FisherQuantizer::SetCodebook(Persistency::CodebookLocator& locator)
{
    Clear();
    locator.SetCodebookKind("gmm-mean");
    if (!Persistency::CodebookRepository().Exists(locator))
    {
        TLOG_ERROR(sLog, "Mean not found");
        return;
    }
    std::unique_ptr<Array2dReal64> means(GetModelPart(locator, "gmm-mean", "Mean"));
    if (!means)
        return;
    std::unique_ptr<Array2dReal64> vars(GetModelPart(locator, "gmm-var", "Variance"));
    if (!vars)
        return;
    std::unique_ptr<Array2dReal64> weights(GetModelPart(locator, "gmm-weights", "Weights"));
    if (!weights || !CheckModel(means.get(), vars.get(), weights.get()))
        return;

    const int ngauss = static_cast<int>(means->mHeight);
    const int ndim = static_cast<int>(means->mWidth);
    std::vector<double*> meanRows, varRows;
    std::vector<double> coef;
    for (int j = 0; j < ngauss; ++j)
    {
        meanRows.push_back(means->mData + static_cast<long long>(j) * ndim);
        varRows.push_back(vars->mData + static_cast<long long>(j) * ndim);
        coef.push_back(weights->mData[static_cast<long long>(j) * weights->mWidth]);
    }
    mMeans = means.release();
    mVariances = vars.release();
    mGmm = new gaussian_mixture<double>(ngauss, ndim);
    mGmm->set(meanRows, varRows, coef);

    fisher_param param;
    param.grad_weights = false;
    param.grad_means = true;
    param.grad_variances = true;
    param.alpha = 0.5f;
    param.pnorm = 2.0f;
    mFisher = new fisher<double>(param);
    mFisher->set_model(*mGmm);
    TLOG_DEBUG(sLog, "Gaussian mixture of " << ngauss << " Gaussians in " << ndim << " dimensions");
}

Vector::VectorSet<Array2dReal64>* FisherQuantizer::Quantize(PointDescriptorTable* table, int width, int height)
{
    if (!mFisher)
    {
        TLOG_ERROR(sLog, "[ERROR] Quantize called without a Gaussian mixture");
        return nullptr;
    }
    if (table->GetDescriptorLength() != mGmm->n_dim())
    {
        TLOG_ERROR(sLog, "[ERROR] Descriptors of length " << table->GetDescriptorLength()
                                                          << " and a Gaussian mixture of dimension " << mGmm->n_dim());
        return nullptr;
    }
    std::vector<double*> rows;
    std::unique_ptr<Vector::VectorSet<Array2dReal64>> result(MakeZeroRows(mFisher->dim(), rows));
    if (!result)
        return nullptr;

    const int n = table->Size();
    std::vector<int> xs(n), ys(n);
    for (int i = 0; i < n; ++i)
    {
        xs[i] = Geometry::SelectorPosition(table->X()[i]);
        ys[i] = Geometry::SelectorPosition(table->Y()[i]);
    }
    std::vector<double*> list;
    list.reserve(n);
    Timer timer(1);
    for (size_t r = 0; r < mSelectors.size(); ++r)
    {
        timer.Start();
        list.clear();
        for (int i = 0; i < n; ++i)
            if (mSelectors[r]->Accept(xs[i], ys[i], width, height))
                list.push_back(table->GetDescriptor(i));
        if (!list.empty())
            mFisher->compute(list, rows[r]);
        else
            TLOG_WARN(sLog, "Pyramid level " << r << " has 0 points");
        TLOG_DEBUG(sLog, "Fisher pyramid #" << r << " " << list.size() << " " << timer.SplitTimeStr());
    }
    return result.release();
}

} // namespace Feature
} // namespace Core
} // namespace Tavlin
