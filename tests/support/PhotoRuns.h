// A directory holding photo.jpg, a 64 x 48 textured picture, and an empty Codebooks/,
// for lumisk runs there of dense SIFT written to the binary file o.bin.
#ifndef LUMISK_TESTS_SUPPORT_PHOTORUNS_H
#define LUMISK_TESTS_SUPPORT_PHOTORUNS_H

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/Matrices.h"
#include "support/TestSupport.h"

namespace TestSupport
{

class PhotoRun : public ::testing::Test
{
protected:
    PhotoRun();

    // The run with `more` options behind the fixed ones.
    RunResult Run(const std::vector<std::string>& more);

    TempDir dir;
};

// Words in the range of SIFT values, 0 to 100.
MatrixPtr SiftWords(int rows, int width, unsigned seed);

} // namespace TestSupport

#endif
