#include "support/PhotoRuns.h"

#include <sys/stat.h>

#include "support/ImageCodecs.h"

namespace TestSupport
{

PhotoRun::PhotoRun()
{
    WriteJpegPhoto(dir.File("photo.jpg"), 64, 48, 5);
    mkdir(dir.File("Codebooks").c_str(), 0755);
}

RunResult PhotoRun::Run(const std::vector<std::string>& more)
{
    std::vector<std::string> args{"photo.jpg", "--detector", "densesampling", "--descriptor", "sift",
                                  "--output", "o.bin", "--outputFormat", "binary"};
    args.insert(args.end(), more.begin(), more.end());
    return RunLumisk(args, dir.Path());
}

} // namespace TestSupport
