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

MatrixPtr SiftWords(int rows, int width, unsigned seed)
{
    MatrixPtr m = RandomMatrix(rows, width, seed);
    for (long long i = 0; i < m->mWidth * m->mHeight; ++i)
        m->mData[i] = 50.0 * (m->mData[i] + 1.0);
    return m;
}

} // namespace TestSupport
