#include "support/CodebookFeatures.h"

namespace TestSupport
{

CodebookFeature::CodebookFeature(Tavlin::Core::Array::Array2dReal64* codebook, const std::string& pyramid,
                                 const std::string& mode)
{
    properties.Add("detector", "none");
    properties.Add("descriptor", "sift");
    properties.Add("pointSelector", pyramid);
    properties.Add("codebookMode", mode);
    feature = std::make_unique<Tavlin::Core::Feature::InterestPointFeature>(properties);
    feature->SetCodebook(codebook, nullptr);
    feature->ConfigurePyramid(properties);
}

std::unique_ptr<Tavlin::Core::Feature::PointDescriptorTable> CodebookFeature::Project(
    std::unique_ptr<Tavlin::Core::Feature::PointDescriptorTable> table, const std::string& mode, int width,
    int height)
{
    return std::unique_ptr<Tavlin::Core::Feature::PointDescriptorTable>(
        feature->ProjectOntoCodebook(table.release(), mode, width, height, Tavlin::Quid(0)));
}

std::unique_ptr<Tavlin::Core::Feature::RandomTreeTable> ForestTable(
    const std::vector<std::tuple<int, int, double>>& rows)
{
    auto table = std::make_unique<Tavlin::Core::Feature::RandomTreeTable>(static_cast<int>(rows.size()));
    for (size_t i = 0; i < rows.size(); ++i)
    {
        table->mColumn1.mData[i] = std::get<0>(rows[i]);
        table->mColumn2.mData[i] = std::get<1>(rows[i]);
        table->mColumn3.mData[i] = std::get<2>(rows[i]);
    }
    table->SetSize(static_cast<int>(rows.size()));
    return table;
}

} // namespace TestSupport
