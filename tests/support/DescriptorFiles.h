// Reading back what a run wrote: a descriptor file (VESK1 or BINDESC1) as its point
// matrix (x, y, scale, orientation, cornerness per row) and its descriptor matrix.
#ifndef LUMISK_TESTS_SUPPORT_DESCRIPTORFILES_H
#define LUMISK_TESTS_SUPPORT_DESCRIPTORFILES_H

#include <string>
#include <vector>

#include "support/Matrices.h"

namespace TestSupport
{

struct DescriptorFile
{
    MatrixPtr points;
    MatrixPtr vectors;
};

// Both null when the file cannot be opened or read.
DescriptorFile ReadDescriptorFile(const std::string& path);

// A row of a VESK1 file as its text reads, independently of the system's reader.
struct TextRow
{
    double x, y, scale, orientation, cornerness;
    std::vector<double> values;
};

// The rows of a VESK1 file, in order, each as long as the header says; `length`
// receives the header's descriptor length.
std::vector<TextRow> ReadTextRows(const std::string& path, int* length = nullptr);

// Points and vectors (null for none) as a BINDESC1 or a VESK1 file of circles.
void WriteDescriptorFile(const std::string& path, const MatrixPtr& points, const MatrixPtr& vectors, bool binary);

} // namespace TestSupport

#endif
