// The factory: the class each mode name stands for, its codebook fetched through the
// repository, and null (with or without a message) where no quantizer can be had.
#include "core/feature/codebook/SpatialQuantizerFactory.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "core/feature/codebook/ClosestWordsQuantizer.h"
#include "core/feature/codebook/FisherQuantizer.h"
#include "core/feature/codebook/HardQuantizer.h"
#include "core/feature/codebook/SDCQuantizer.h"
#include "core/feature/codebook/UncertaintyQuantizer.h"
#include "core/feature/codebook/VLADQuantizer.h"
#include "support/LogCapture.h"
#include "support/CodebookStore.h"
#include "support/ImageCodecs.h"
#include "support/TableFiles.h"
#include "support/TestSupport.h"

using namespace Tavlin::Core::Feature;
using Tavlin::Persistency::CodebookLocator;
using namespace TestSupport;

namespace
{

// Codebooks/<name>.codebook.raw in a store, and the factory's quantizer on it.
struct Store : CodebookStore
{
    // A raw list of `count` matrices of `words` x 4, matrix m filled with the value m.
    void Write(const std::string& name, int words, int count)
    {
        std::vector<double> values;
        for (int m = 0; m < count; ++m)
            values.insert(values.end(), words * 4, static_cast<double>(m));
        Put(name + ".codebook.raw",
            RawArrayFileBytes("version: 1, binary: 1, type: real64, elemSize: 1, width: 4, height: " +
                                  std::to_string(words) + ", nr: " + std::to_string(count),
                              BytesOf(values)));
    }

    std::unique_ptr<SpatialQuantizer> Make(const std::string& mode, const std::string& name = "words")
    {
        CodebookLocator locator = Locate(name);
        return std::unique_ptr<SpatialQuantizer>(SpatialQuantizerFactory(mode, "pyramid-1x1-2x2", 0, locator));
    }
};

} // namespace

TEST(SpatialQuantizerFactory, EachModeGivesItsClassWithTheLastMatrixOfTheList)
{
    Store store;
    store.Write("words", 6, 3);

    auto hard = store.Make("hard");
    auto* h = dynamic_cast<HardQuantizer*>(hard.get());
    ASSERT_TRUE(h);
    ASSERT_TRUE(h->mCodebook);
    EXPECT_EQ(h->mCodebook->mHeight, 6);
    EXPECT_EQ(h->mCodebook->mData[0], 2.0);
    EXPECT_EQ(h->mSelectors.size(), 5u);

    // "sig2" alone of the "sig" names is VLAD.
    auto vlad = store.Make("sig2");
    ASSERT_TRUE(dynamic_cast<VLADQuantizer*>(vlad.get()));
    EXPECT_TRUE(dynamic_cast<VLADQuantizer*>(vlad.get())->mNormalize);
    for (const char* mode : {"sig", "sig0", "sig3"})
    {
        auto sdc = store.Make(mode);
        EXPECT_TRUE(dynamic_cast<SDCQuantizer*>(sdc.get())) << mode;
        EXPECT_FALSE(dynamic_cast<VLADQuantizer*>(sdc.get())) << mode;
    }
    EXPECT_TRUE(dynamic_cast<UncertaintyQuantizer*>(store.Make("unc").get()));

    // The closest words ignore the pyramid: one selector.
    for (int n : {1, 5})
    {
        auto closest = store.Make(n == 1 ? "closestword" : "closestword5");
        auto* c = dynamic_cast<ClosestWordsQuantizer*>(closest.get());
        ASSERT_TRUE(c) << n;
        EXPECT_EQ(c->mWordCount, n);
        EXPECT_EQ(c->mSelectors.size(), 1u);
    }
}

TEST(SpatialQuantizerFactory, NullWhereNoQuantizerCanBeHad)
{
    Store store;
    store.Write("words", 4, 1);
    {
        LogCapture log("Tavlin.Core.Feature.SpatialQuantizerFactory", log4cpp::Priority::ERROR);
        EXPECT_FALSE(store.Make("kdhard"));
        EXPECT_EQ(log.Text(), "Option not compiled in: kdhard\n");
    }
    {
        LogCapture log("Tavlin.Core.Feature.SpatialQuantizerFactory", log4cpp::Priority::DEBUG);
        EXPECT_FALSE(store.Make("hardindex"));
        EXPECT_FALSE(store.Make("forest"));
        EXPECT_EQ(log.Text(), "");
    }
    {
        // Four words are too few for five.
        LogCapture log("Tavlin.Core.Feature.ClosestWordsQuantizer", log4cpp::Priority::ERROR);
        EXPECT_FALSE(store.Make("closestword5"));
        EXPECT_NE(log.Text().find("A codebook of 4 words can not give the 5 closest words"), std::string::npos);
        EXPECT_TRUE(store.Make("closestword"));
    }
    for (const char* mode : {"hard", "sig2", "closestword"})
    {
        LogCapture log(std::string("Tavlin.Core.Feature.") +
                           (mode[0] == 'h' ? "HardQuantizer" : mode[0] == 's' ? "VLADQuantizer" : "ClosestWordsQuantizer"),
                       log4cpp::Priority::ERROR);
        EXPECT_FALSE(store.Make(mode, "missing")) << mode;
        EXPECT_NE(log.Text().find("Codebook not found"), std::string::npos) << mode << log.Text();
    }
}
