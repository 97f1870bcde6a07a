// The whole extraction of one tiny image with its points loaded from an arbitrary
// regions file, for the SIFT, dense SIFT, histogram and SURF families. The first five
// bytes choose the descriptor, the image size and content and the grid sizes of the
// families that place their own points; the rest is the regions file.
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <memory>
#include <string>

#include "FuzzIO.h"
#include "FuzzSupport.h"
#include "basis/CmdOptions.h"
#include "core/array/ArrayFactories.h"
#include "core/feature/InterestPointFeature.h"
#include "persistency/RepositoryInFileSystem.h"
#include "util/PropertySet.h"

using namespace Tavlin::Core;
using Tavlin::Util::PropertySet;

namespace
{

const char* const sDescriptors[] = {"sift",         "opponentsift",      "rgbsift",       "csift",
                                    "huesift",      "transformedcolorsift", "dift",      "rgbdift",
                                    "opponentdixt", "rgbhistogram",      "huehistogram", "opponenthistogram",
                                    "nrghistogram", "transformedcolorhistogram", "surf", "opponentsurf"};
const size_t sDescriptorCount = sizeof(sDescriptors) / sizeof(sDescriptors[0]);
const int sMaxSide = 24;

// Every registered option with its default, as the program snapshots them.
PropertySet Defaults()
{
    Tavlin::CmdOptions& options = Tavlin::CmdOptions::GetInstance();
    options.Reset();
    options.Initialise(false, false, false);
    Feature::InterestPointFeature::AddCmdOptions();
    PropertySet set;
    for (size_t i = 0; i < options.GetOptionCount(); ++i)
        set.Add(options.GetOptionName(i), options.GetString(options.GetOptionName(i), ""));
    return set;
}

Array::Array2dVec3UInt8* MakeImage(int width, int height, uint8_t seed)
{
    Array::Array2dVec3UInt8* image = Array::ArrayCreate<Array::Array2dVec3UInt8>(width, height, 0, 0);
    uint32_t state = seed * 2654435761u + 1;
    unsigned char* p = reinterpret_cast<unsigned char*>(image->mData);
    for (long long i = 0; i < 3LL * width * height; ++i)
    {
        state = state * 1103515245u + 12345u;
        p[i] = static_cast<unsigned char>(state >> 24);
    }
    return image;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    FuzzSupport::QuietLogging();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 5)
        return 0;
    const std::string descriptor = sDescriptors[data[0] % sDescriptorCount];
    const int width = 1 + data[1] % sMaxSide;
    const int height = 1 + data[2] % sMaxSide;
    const std::string regions = FuzzSupport::TempPath("regions");
    const std::string output = FuzzSupport::TempPath("output");
    if (!FuzzSupport::WriteFile(regions, data + 5, size - 5))
        return 0;

    PropertySet properties = Defaults();
    properties.Add("descriptor", descriptor);
    properties.Add("noRandomizeSeed", "1");
    properties.Add("borderWidth", std::to_string(data[4] >> 6));
    properties.Add("outputFormat", data[4] & 32 ? "binary" : "");
    // Grid spacing 0 to 7 and cell size 0 to 3 pixels.
    properties.Add("ds_scales", std::to_string(data[4] & 7) + "-" + std::to_string((data[4] >> 3) & 3));
    properties.Add("surf-haar-size", std::to_string(data[3] & 3));
    properties.Add("surf-subregion-size", std::to_string((data[3] >> 2) & 3));
    properties.Add("surf-spaciality", std::to_string((data[3] >> 4) & 7));

    std::unique_ptr<Array::Array2dVec3UInt8> image(MakeImage(width, height, data[3]));
    try
    {
        Feature::InterestPointFeature feature(properties);
        feature.FindInterestPoints(image.get(), Tavlin::Quid(0), Tavlin::Persistency::RepositoryGetFile(output, true, true),
                                   false, Tavlin::Persistency::RepositoryGetFile(regions, false, true),
                                   Tavlin::Persistency::File());
    }
    catch (const char*)
    {
        // The program's outermost frame reports these; they are no finding.
    }
    catch (const std::exception&)
    {
    }
    unlink(regions.c_str());
    unlink(output.c_str());
    return 0;
}
