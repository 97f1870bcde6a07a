// FisherQuantizer: the mixture read from the three codebook kinds, one Fisher vector
// per cell of the points it accepts, the warning for an empty cell, and the clear
// refusal of a missing or unusable model.
#include "core/feature/codebook/FisherQuantizer.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "core/feature/codebook/SpatialQuantizerFactory.h"
#include "persistency/CodebookLocator.h"
#include "support/CodebookStore.h"
#include "support/LogCapture.h"
#include "support/Mixtures.h"
#include "support/PointTables.h"
#include "support/QuantizerRows.h"
#include "support/TestSupport.h"

using namespace Tavlin::Core::Feature;
using Tavlin::Persistency::CodebookLocator;
using namespace TestSupport;

namespace
{

const char* const kLog = "Tavlin.Core.Feature.FisherQuantizer";

using Store = CodebookStore;

} // namespace

TEST(FisherQuantizer, OneUnitFisherVectorPerCellAndZeroForAnEmptyCell)
{
    Store store;
    MixtureData m = RandomMixture(4, 3, 2.0, 41);
    WriteMixtureCodebook(store.Codebooks(), "g", m);
    CodebookLocator locator = store.Locate("g");
    std::unique_ptr<SpatialQuantizer> q(SpatialQuantizerFactory("fisher", "pyramid-1x1-2x2", 0, locator));
    ASSERT_TRUE(q);
    EXPECT_EQ(locator.GetCodebookKind(), "gmm-weights");
    auto* fq = dynamic_cast<FisherQuantizer*>(q.get());
    ASSERT_NE(fq, nullptr);
    ASSERT_EQ(fq->mFisher->dim(), 2 * 4 * 3);
    EXPECT_EQ(fq->mMeans->mHeight, 4);

    // Points in the top left (2), top right (1) and bottom right (3) quarters of 100 x 60;
    // the bottom left quarter is empty.
    std::vector<std::vector<double>> d = DrawSamples(m, 6, 42);
    std::vector<double> values;
    for (const std::vector<double>& x : d)
        values.insert(values.end(), x.begin(), x.end());
    auto table = MakePointTable({{10, 5}, {49.9, 29.9}, {60, 10}, {50, 30}, {99, 59}, {70.5, 45}}, 3, values);

    LogCapture log(kLog, log4cpp::Priority::WARN);
    std::unique_ptr<Tavlin::Core::Vector::VectorSet<Tavlin::Core::Array::Array2dReal64>> rows(
        q->Quantize(table.get(), 100, 60));
    ASSERT_TRUE(rows);
    ASSERT_EQ(rows->Size(), 5);
    ASSERT_EQ(rows->GetVectorLength(), 24);
    EXPECT_EQ(log.Text(), "Pyramid level 3 has 0 points\n");

    // Each row is the Fisher vector of exactly its cell's points, in table order.
    const std::vector<std::vector<int>> cells = {{0, 1, 2, 3, 4, 5}, {0, 1}, {2}, {}, {3, 4, 5}};
    fisher_param param;
    fisher<double> reference(param);
    reference.set_model(*fq->mGmm);
    for (int r = 0; r < 5; r++)
    {
        const double* row = rows->GetVectorData(r);
        if (cells[r].empty())
        {
            EXPECT_EQ(Norm(Row(rows, r)), 0.0);
            continue;
        }
        EXPECT_NEAR(Norm(Row(rows, r)), 1.0, 1e-14) << r;
        std::vector<double*> x;
        for (int i : cells[r])
            x.push_back(d[i].data());
        std::vector<double> expected(24);
        reference.compute(x, expected.data());
        for (int i = 0; i < 24; i++)
            EXPECT_EQ(row[i], expected[i]) << r << "," << i;
    }

    // Descriptors of another length are refused.
    auto wrong = MakePointTable({{1, 1}}, 2, {0, 0});
    TestSupport::LogCapture errors(kLog, log4cpp::Priority::ERROR);
    EXPECT_EQ(q->Quantize(wrong.get(), 100, 60), nullptr);
    EXPECT_NE(errors.Text().find("Descriptors of length 2 and a Gaussian mixture of dimension 3"), std::string::npos);
}

TEST(FisherQuantizer, MissingOrUnusableModelIsReportedAndNotReady)
{
    struct Case
    {
        std::vector<std::string> skip;
        const char* message;
    };
    const Case cases[] = {{{"gmm-mean"}, "Mean not found"},
                          {{"gmm-var"}, "Variance not found"},
                          {{"gmm-weights"}, "Weights not found"}};
    for (const Case& c : cases)
    {
        Store store;
        WriteMixtureCodebook(store.Codebooks(), "g", RandomMixture(2, 2, 1.0, 43), c.skip);
        CodebookLocator locator = store.Locate("g");
        LogCapture log(kLog, log4cpp::Priority::ERROR);
        std::unique_ptr<SpatialQuantizer> q(SpatialQuantizerFactory("fisher", "", 0, locator));
        EXPECT_EQ(q, nullptr) << c.message;
        EXPECT_NE(log.Text().find(c.message), std::string::npos) << log.Text();
    }

    // Files that the mixture cannot take: each is refused with a message, never an abort.
    auto bad = [](const std::function<void(MixtureData&)>& spoil, const char* message) {
        Store store;
        MixtureData m = RandomMixture(3, 2, 1.0, 44);
        spoil(m);
        WriteMixtureCodebook(store.Codebooks(), "g", m);
        FisherQuantizer q("", 0);
        CodebookLocator locator = store.Locate("g");
        LogCapture log(kLog, log4cpp::Priority::ERROR);
        q.SetCodebook(locator);
        EXPECT_FALSE(q.IsReady()) << message;
        EXPECT_NE(log.Text().find(message), std::string::npos) << log.Text();
        auto table = MakePointTable({{1, 1}}, 2, {0, 0});
        EXPECT_EQ(q.Quantize(table.get(), 10, 10), nullptr);
    };
    bad([](MixtureData& m) { m.coef[1] = 0; }, "weight 1 is 0");
    bad([](MixtureData& m) { m.coef[2] = -1; }, "weight 2 is -1");
    bad([](MixtureData& m) { m.var[0][1] = NAN; }, "not numbers");
    bad([](MixtureData& m) { m.mean[2][0] = INFINITY; }, "not numbers");
    bad([](MixtureData& m) { m.var.pop_back(); }, "variances of size 2 x 2 for means of size 3 x 2");
    bad([](MixtureData& m) { m.coef.pop_back(); }, "weights of size 2 x 1 for 3 Gaussians");

    // A variance of 0 is raised to the floor and the model is usable.
    Store store;
    MixtureData m = RandomMixture(2, 2, 1.0, 45);
    m.var[1][0] = 0;
    WriteMixtureCodebook(store.Codebooks(), "g", m);
    FisherQuantizer q("", 0);
    CodebookLocator locator = store.Locate("g");
    q.SetCodebook(locator);
    ASSERT_TRUE(q.IsReady());
    EXPECT_EQ(q.mGmm->get_var()[1][0], static_cast<double>(1e-9f));
}
