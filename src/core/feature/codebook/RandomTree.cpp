#include "core/feature/codebook/RandomTree.h"

#include <cstdint>
#include <memory>

#include "basis/Report.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

const char* const sRandomForestName = "ceci_nest_pas_un_feature_table_its_a_random-forest";

namespace
{
log4cpp::Category& sLog = log4cpp::Category::getInstance("Tavlin.Core.Feature.RandomTree");
log4cpp::Category& sReadLog = log4cpp::Category::getInstance("Tavlin.Core.Feature.RandomTree.Read");
log4cpp::Category& sForestLog = log4cpp::Category::getInstance("Tavlin.Core.Feature.ReadRandomForest");

const uint64_t sInnerNodeQuid = 0x8000000000000000ULL;

// Truncation toward zero; a value no int can hold becomes -1, which no node may test.
int TruncateToInt(double value)
{
    return value > -2147483649.0 && value < 2147483648.0 ? static_cast<int>(value) : -1;
}

bool AddRow(RandomTreeTable* table, int cw, int d, double v)
{
    const int row = table->Size();
    if (row == table->Capacity() && !table->Reserve(row > 0 ? 2 * row : 16, true))
        return false;
    table->mColumn1.mData[row] = cw;
    table->mColumn2.mData[row] = d;
    table->mColumn3.mData[row] = v;
    table->SetSize(row + 1);
    return true;
}
} // namespace

RandomTree::RandomTree(int cw) : mCW(cw), mKind(-1), mD(-1), mV(-1.0), mLeft(nullptr), mRight(nullptr) {}

RandomTree::RandomTree(int d, double v, RandomTree* left, RandomTree* right)
    : mCW(-1), mKind(-2), mD(d), mV(v), mLeft(left), mRight(right)
{
}

RandomTree::~RandomTree()
{
    std::vector<RandomTree*> pending{mLeft, mRight};
    while (!pending.empty())
    {
        RandomTree* node = pending.back();
        pending.pop_back();
        if (!node)
            continue;
        pending.push_back(node->mLeft);
        pending.push_back(node->mRight);
        node->mLeft = node->mRight = nullptr;
        delete node;
    }
}

int RandomTree::GetCodeWord(const Vector::VectorTem<double>& x) const
{
    const bool debug = sLog.isDebugEnabled();
    const RandomTree* node = this;
    while (true)
    {
        if (debug)
            TLOG_DEBUG(sLog, "GetCodeWord mCW=" << node->mCW << " mD=" << node->mD << " mV=" << node->mV);
        if (node->IsLeaf())
            return node->mCW;
        if (debug)
            TLOG_DEBUG(sLog, "left=" << node->mLeft << " right=" << node->mRight);
        if (node->mD < 0 || node->mD >= x.Size() || !node->mLeft || !node->mRight)
            return -1;
        node = node->mV > x[node->mD] ? node->mLeft : node->mRight;
    }
}

RandomTree* Read(RandomTreeTable* table, int* row)
{
    // Preorder with the inner nodes still waiting for a subtree on a stack, so that a
    // deep tree costs no call depth. Every node hangs in the tree once made.
    std::unique_ptr<RandomTree> root;
    std::vector<RandomTree*> open;
    do
    {
        if (*row < 0 || *row >= table->Size())
        {
            TLOG_ERROR(sReadLog, "parse error in Read(RandomTreeTable*,int)");
            return nullptr;
        }
        const int cw = table->mColumn1.mData[*row];
        const int d = table->mColumn2.mData[*row];
        const double v = table->mColumn3.mData[*row];
        ++*row;
        RandomTree* node = cw < 0 ? new RandomTree(d, v, nullptr, nullptr) : new RandomTree(cw);
        if (!root)
            root.reset(node);
        else if (!open.back()->mLeft)
            open.back()->mLeft = node;
        else
        {
            open.back()->mRight = node;
            open.pop_back();
        }
        if (!node->IsLeaf())
            open.push_back(node);
    } while (!open.empty());
    return root.release();
}

void Write(RandomTree* tree, RandomTreeTable* table)
{
    std::vector<RandomTree*> pending{tree};
    while (!pending.empty())
    {
        RandomTree* node = pending.back();
        pending.pop_back();
        if (!node || !AddRow(table, node->mCW, node->mD, node->mV))
            continue;
        if (!node->IsLeaf())
        {
            pending.push_back(node->mRight);
            pending.push_back(node->mLeft);
        }
    }
}

std::vector<RandomTree*> ReadRandomForest(RandomTreeTable* table)
{
    std::vector<RandomTree*> forest;
    if (!table)
        return forest;
    int row = 0;
    while (row < table->Size())
    {
        RandomTree* tree = Read(table, &row);
        if (!tree)
        {
            TLOG_ERROR(sForestLog, "[ERROR] The random forest table ends inside tree " << forest.size() + 1
                                                                                       << ", after " << table->Size()
                                                                                       << " rows");
            DeleteForest(forest);
            return forest;
        }
        forest.push_back(tree);
    }
    return forest;
}

std::vector<RandomTree*> ReadRandomForest(FeatureTable* table)
{
    std::unique_ptr<RandomTreeTable> trees(MakeRandomTreeTable(table));
    return ReadRandomForest(trees.get());
}

RandomTreeTable* MakeRandomTreeTable(FeatureTable* table)
{
    if (!table)
    {
        TLOG_ERROR(sForestLog, "[ERROR] No random forest table");
        return nullptr;
    }
    const int rows = table->Size();
    if (rows > 0 && table->GetVectorLength() < 2)
    {
        TLOG_ERROR(sForestLog, "[ERROR] A random forest table holds vectors of 2 values, not "
                                   << table->GetVectorLength());
        return nullptr;
    }
    std::unique_ptr<RandomTreeTable> trees(new RandomTreeTable(rows));
    for (int i = 0; i < rows; ++i)
    {
        const uint64_t q = table->GetQuid(i).GetSecond();
        const double* v = table->GetVector(i);
        trees->mColumn1.mData[i] = (q >> 56) == 0x80 ? -1 : static_cast<int32_t>(static_cast<uint32_t>(q));
        trees->mColumn2.mData[i] = TruncateToInt(v[0]);
        trees->mColumn3.mData[i] = v[1];
    }
    trees->SetSize(rows);
    return trees.release();
}

FeatureTable* MakeFeatureTable(RandomTreeTable* table)
{
    FeatureDefinition definition;
    definition.name = sRandomForestName;
    const int rows = table->Size();
    auto* features = new FeatureTable(definition, rows, 2);
    for (int i = 0; i < rows; ++i)
    {
        const int cw = table->mColumn1.mData[i];
        const uint64_t q = cw == -1 ? sInnerNodeQuid : static_cast<uint64_t>(static_cast<int64_t>(cw));
        double values[2] = {static_cast<double>(table->mColumn2.mData[i]), table->mColumn3.mData[i]};
        features->Add(Quid(0, q), Vector::VectorTem<double>(2, values, true));
    }
    return features;
}

void DeleteForest(std::vector<RandomTree*>& forest)
{
    for (RandomTree* tree : forest)
        delete tree;
    forest.clear();
}

} // namespace Feature
} // namespace Core
} // namespace Tavlin
