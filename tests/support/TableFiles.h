// Table files written byte by byte, as the format lays them out: raw array columns, the
// new form's 1024-byte header block with 128 unread bytes behind it, the old form's
// text lines. The system has no writer of its own for them.
#ifndef LUMISK_TESTS_SUPPORT_TABLEFILES_H
#define LUMISK_TESTS_SUPPORT_TABLEFILES_H

#include <cstdint>
#include <string>
#include <vector>

#include "core/feature/FeatureTable.h"

namespace TestSupport
{

// A version 1 binary raw array of the given type word ("uint64", "real64").
std::string RawColumn(const std::string& type, long long width, long long height, const std::string& payload);

// The bytes of the values, native order.
std::string BytesOf(const std::vector<uint64_t>& values);
std::string BytesOf(const std::vector<double>& values);

// Column 1 as two rows of Quid words, column 2 as values.size() / length vectors.
std::string QuidVectorColumns(const std::vector<uint64_t>& first, const std::vector<uint64_t>& second, int length,
                              const std::vector<double>& values);

// header padded with zeros to 1024 bytes, 128 bytes of filler, then the columns.
std::string NewFormTable(const std::string& header, const std::string& columns);

// A complete new-form table of rows x length values with Quids (0, i).
std::string NewFormTable(int rows, int length, const std::vector<double>& values);

// A feature table as a new-form table file: Quid words, then the vectors.
std::string TableFileOf(const Tavlin::Core::Feature::FeatureTable& table);

} // namespace TestSupport

#endif
