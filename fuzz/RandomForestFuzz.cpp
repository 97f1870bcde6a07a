// The random forest of codebook mode "forest" from arbitrary table-file bytes: the
// table is read as the program reads it, turned into trees, and every tree is walked
// with a few descriptors and written back.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "FuzzSupport.h"
#include "core/feature/codebook/GetCodebookLength.h"
#include "core/feature/codebook/RandomTree.h"
#include "core/feature/codebook/ReadCodebook.h"

using namespace Tavlin::Core::Feature;
using Tavlin::Core::Vector::VectorTem;

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    FuzzSupport::QuietLogging();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    std::unique_ptr<Tavlin::Util::IOBuffer> buffer = FuzzSupport::BufferOf(data, size);
    std::unique_ptr<FeatureTable> table(ReadCodebookTable(buffer.get()));
    if (!table)
        return 0;
    GetCodebookLength(table.get());
    std::vector<RandomTree*> forest = ReadRandomForest(table.get());

    // Descriptors short and long, below, at and above the usual thresholds.
    std::vector<double> values[3] = {std::vector<double>(3, -1.0), std::vector<double>(16, 0.0),
                                     std::vector<double>(128, 1e9)};
    RandomTreeTable written;
    for (RandomTree* tree : forest)
    {
        for (std::vector<double>& v : values)
            tree->GetCodeWord(VectorTem<double>(static_cast<int>(v.size()), v.data(), true));
        Write(tree, &written);
    }
    std::unique_ptr<FeatureTable> back(MakeFeatureTable(&written));
    DeleteForest(forest);
    return 0;
}
