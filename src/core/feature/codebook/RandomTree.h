// A random forest as a codebook: each tree maps a descriptor to one of its leaves, and
// the leaves, numbered over the whole forest, are the code words. A forest is stored
// flat, tree after tree, each in preorder (node, left subtree, right subtree), in a
// RandomTreeTable of (code word, dimension, threshold) rows, and travels as a
// FeatureTable: Quid = code word (an inner node's -1 as 0x8000000000000000), vector =
// (dimension, threshold). Trees own their subtrees; whoever reads a forest owns it.
#ifndef TAVLIN_CORE_FEATURE_CODEBOOK_RANDOMTREE_H
#define TAVLIN_CORE_FEATURE_CODEBOOK_RANDOMTREE_H

#include <vector>

#include "core/feature/FeatureTable.h"
#include "core/table/TableTem.h"
#include "core/vector/VectorTem.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

// Columns: code word (-1 for an inner node), dimension tested, threshold.
typedef Table::RandomTreeTableTem RandomTreeTable;

// The marker name of a forest's FeatureTable: it is no feature table.
extern const char* const sRandomForestName;

class RandomTree
{
public:
    // A leaf of code word `cw`.
    explicit RandomTree(int cw);
    // An inner node testing dimension `d` against `v`; it owns the subtrees.
    RandomTree(int d, double v, RandomTree* left, RandomTree* right);
    // Deletes the subtrees, without recursion: trees may be as deep as their table is long.
    ~RandomTree();
    RandomTree(const RandomTree&) = delete;
    RandomTree& operator=(const RandomTree&) = delete;

    // The code word of the leaf that x reaches: left where mV > x[mD], right otherwise
    // (a value equal to the threshold goes right). -1 when a node tests a dimension
    // that x does not have.
    int GetCodeWord(const Vector::VectorTem<double>& x) const;

    bool IsLeaf() const { return mCW != -1; }

    int mCW;
    int mKind;
    int mD;
    double mV;
    RandomTree* mLeft;
    RandomTree* mRight;
};

// The tree that starts at row *row, with *row advanced behind it. A table that ends
// inside the tree logs "parse error in Read(RandomTreeTable*,int)" and gives null: no
// row past the table is read.
RandomTree* Read(RandomTreeTable* table, int* row);

// Appends the tree's rows in preorder; a leaf's row holds dimension -1 and threshold -1.
void Write(RandomTree* tree, RandomTreeTable* table);

// All trees of the table, from row 0 to its end. Empty, after a logged error, when the
// table ends inside a tree.
std::vector<RandomTree*> ReadRandomForest(RandomTreeTable* table);
std::vector<RandomTree*> ReadRandomForest(FeatureTable* table);

// The two forms of a forest table, new and owned by the caller. MakeRandomTreeTable
// gives null, after a logged error, for a null table or vectors shorter than 2.
RandomTreeTable* MakeRandomTreeTable(FeatureTable* table);
FeatureTable* MakeFeatureTable(RandomTreeTable* table);

// Deletes every tree and empties the vector.
void DeleteForest(std::vector<RandomTree*>& forest);

} // namespace Feature
} // namespace Core
} // namespace Tavlin

#endif
