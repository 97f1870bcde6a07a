// A feature set up for the codebook tests: no detector, the given pyramid and mode, and
// a codebook it owns, ready for ProjectOntoCodebook.
#ifndef LUMISK_TESTS_SUPPORT_CODEBOOKFEATURES_H
#define LUMISK_TESTS_SUPPORT_CODEBOOKFEATURES_H

#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "core/feature/InterestPointFeature.h"
#include "core/feature/PointDescriptorTable.h"
#include "core/feature/codebook/RandomTree.h"
#include "util/PropertySet.h"

namespace TestSupport
{

struct CodebookFeature
{
    // Takes `codebook` over.
    CodebookFeature(Tavlin::Core::Array::Array2dReal64* codebook, const std::string& pyramid,
                    const std::string& mode = "");

    // The projection of `table` (taken over) in `mode`; null after a reported failure.
    std::unique_ptr<Tavlin::Core::Feature::PointDescriptorTable> Project(
        std::unique_ptr<Tavlin::Core::Feature::PointDescriptorTable> table, const std::string& mode, int width,
        int height);

    // The feature keeps a pointer to its properties: they live here, beside it.
    Tavlin::Util::PropertySet properties;
    std::unique_ptr<Tavlin::Core::Feature::InterestPointFeature> feature;
};

// A forest's table from its (code word, element, threshold) rows.
std::unique_ptr<Tavlin::Core::Feature::RandomTreeTable> ForestTable(
    const std::vector<std::tuple<int, int, double>>& rows);

} // namespace TestSupport

#endif
