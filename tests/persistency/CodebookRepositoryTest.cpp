#include "persistency/CodebookRepositoryInFile.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "core/feature/codebook/TakeLastMatrix.h"
#include "persistency/CodebookLocator.h"
#include "persistency/RepositoryDispatcher.h"
#include "support/CodebookStore.h"
#include "support/ImageCodecs.h"
#include "support/LogCapture.h"
#include "support/TableFiles.h"
#include "support/TestSupport.h"

using Tavlin::Core::Array::Array2dReal64;
using Tavlin::Core::Feature::TakeLastMatrix;
using Tavlin::Core::Matrix::MatList;
using namespace Tavlin::Persistency;
using namespace TestSupport;

namespace
{

const char* const kFileLog = "Tavlin.Persistency.CodebookRepositoryInFile";
const char* const kDispatchLog = "Tavlin.Persistency.RepositoryDispatcher";

// One raw file holding `count` matrices of 2 x 1, matrix i filled with i + 1.
std::string RawList(int count)
{
    std::vector<double> values(2 * static_cast<size_t>(count));
    for (size_t i = 0; i < values.size(); ++i)
        values[i] = static_cast<double>(i / 2 + 1);
    return RawArrayFileBytes("version: 1, binary: 1, type: real64, elemSize: 1, width: 2, height: 1, nr: " +
                                 std::to_string(count),
                             BytesOf(values));
}

std::unique_ptr<Array2dReal64> Last(MatList* list) { return std::unique_ptr<Array2dReal64>(TakeLastMatrix(list)); }

} // namespace

TEST(CodebookLocator, NamesItsFiveFields)
{
    CodebookLocator locator(Locator("dataServer:host:9000", "sets"), "voc", "codebook");
    EXPECT_EQ(locator.ToString(), "CodebookLocator(dataServer,host:9000,sets,voc,codebook)");
    locator.SetCodebookKind("gmm-var");
    std::ostringstream out;
    out << locator;
    EXPECT_EQ(out.str(), "CodebookLocator(dataServer,host:9000,sets,voc,gmm-var)");
}

TEST(CodebookRepositoryInFile, NewNameHoldsAListOldNamesAreTheFallback)
{
    CodebookStore store;
    CodebookRepositoryInFile repository;
    const struct
    {
        const char* kind;
        const char* oldName;
    } kinds[] = {{"codebook", "voc.tab"},       {"pca", "voc.tab.pca.raw"},     {"gmm-mean", "no_old_name"},
                 {"gmm-var", "no_old_name"},   {"gmm-weights", "no_old_name"}, {"diffstat", "no_old_name"}};
    for (const auto& k : kinds)
    {
        EXPECT_EQ(repository.GetFilenameOld(store.Locate("voc", k.kind)), k.oldName) << k.kind;
        EXPECT_EQ(repository.GetFilename(store.Locate("voc", k.kind)), std::string("voc.") + k.kind + ".raw");
    }

    // The new name: every matrix of the file, found without a word; the last one is kept.
    store.Put("voc.codebook.raw", RawList(3));
    LogCapture fsLog("Tavlin.Persistency.FileSystem", log4cpp::Priority::INFO);
    MatList* list = repository.Get(store.Locate("voc", "codebook"));
    ASSERT_TRUE(list);
    ASSERT_EQ(list->size(), 3u);
    EXPECT_EQ((*list)[0]->mData[0], 1);
    std::unique_ptr<Array2dReal64> last = Last(list);
    EXPECT_EQ(last->mData[1], 3);
    EXPECT_EQ(fsLog.Text(), "");

    // The old name of a codebook: one matrix in any codebook form, here a table.
    store.Put("old.tab", NewFormTable(2, 3, {1, 2, 3, 4, 5, 6}));
    last = Last(repository.Get(store.Locate("old", "codebook")));
    ASSERT_TRUE(last);
    EXPECT_EQ(last->Height(), 2);
    EXPECT_EQ(last->mData[5], 6);
    store.Put("old.tab.pca.raw", RawList(1));
    EXPECT_EQ(Last(repository.Get(store.Locate("old", "pca")))->mData[0], 1);
    EXPECT_EQ(fsLog.Text(), "");
    EXPECT_TRUE(repository.Exists(store.Locate("voc", "codebook")));
    EXPECT_TRUE(repository.Exists(store.Locate("old", "codebook")));
}

TEST(CodebookRepositoryInFile, MissingAndUnreadableFilesAreReported)
{
    CodebookStore store;
    CodebookRepositoryInFile repository;
    {
        // A missing file of a kind without an old name is looked for under "no_old_name".
        LogCapture fsLog("Tavlin.Persistency.FileSystem", log4cpp::Priority::ERROR);
        LogCapture log(kFileLog);
        EXPECT_FALSE(repository.Exists(store.Locate("voc", "gmm-mean")));
        EXPECT_EQ(fsLog.Text(), "");
        EXPECT_EQ(repository.Get(store.Locate("voc", "gmm-mean")), nullptr);
        EXPECT_EQ(fsLog.Text(), "Unable to find Codebooks/no_old_name in path \n");
        EXPECT_EQ(log.Text(), "Get: IOBuffer is 0\n");
    }

    // A file under the new name that is no raw list: an empty list, and a message.
    const std::string files[] = {"", "garbage", RawList(3).substr(0, 230)};
    for (const std::string& bytes : files)
    {
        store.Put("bad.diffstat.raw", bytes);
        LogCapture log(kFileLog);
        std::unique_ptr<MatList> list(repository.Get(store.Locate("bad", "diffstat")));
        ASSERT_TRUE(list);
        EXPECT_TRUE(list->empty());
        EXPECT_EQ(log.Text(), "Get: could not read " + store.Codebooks() + "/bad.diffstat.raw\n");
    }
    // An old-name file that is no codebook: an empty list.
    store.Put("worse.tab", "garbage");
    std::unique_ptr<MatList> list(repository.Get(store.Locate("worse", "codebook")));
    ASSERT_TRUE(list);
    EXPECT_TRUE(list->empty());
}

TEST(RepositoryDispatcher, ServesFileAndDataServerAndRefusesOtherProtocols)
{
    CodebookStore store;
    store.Put("voc.codebook.raw", RawList(2));
    CodebookRepository dispatcher;
    for (const char* protocol : {"file:", "dataServer:"})
    {
        EXPECT_TRUE(dispatcher.Exists(store.Locate("voc", "codebook", protocol))) << protocol;
        EXPECT_EQ(Last(dispatcher.Get(store.Locate("voc", "codebook", protocol)))->mData[0], 2) << protocol;
    }

    LogCapture log(kDispatchLog);
    LogCapture notImplemented("Tavlin.Persistency.RepositoryNotImplemented");
    EXPECT_EQ(dispatcher.Get(store.Locate("voc", "codebook", "mapi:")), nullptr);
    const std::string tail = "," + store.Database() + ",voc,codebook)\n";
    EXPECT_EQ(notImplemented.Text(), "Get: Not implemented for CodebookLocator(mapi," + tail);
    EXPECT_EQ(dispatcher.Get(store.Locate("voc", "codebook", "http:")), nullptr);
    EXPECT_FALSE(dispatcher.Exists(store.Locate("voc", "codebook", "mapi:")));
    EXPECT_FALSE(dispatcher.Exists(store.Locate("voc", "codebook", "")));
    EXPECT_EQ(log.Text(), "Get: unknown protocol: [http] in CodebookLocator(http," + tail +
                              "Exists: unknown protocol: [mapi] in CodebookLocator(mapi," + tail +
                              "Exists: unknown protocol: [] in CodebookLocator(," + tail);
}
