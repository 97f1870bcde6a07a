#include "support/TableFiles.h"

#include "support/ImageCodecs.h"

namespace TestSupport
{

std::string RawColumn(const std::string& type, long long width, long long height, const std::string& payload)
{
    return RawArrayFileBytes("version: 1, binary: 1, type: " + type + ", elemSize: 1, width: " +
                                 std::to_string(width) + ", height: " + std::to_string(height) + ", nr: 1",
                             payload);
}

std::string BytesOf(const std::vector<uint64_t>& values)
{
    return std::string(reinterpret_cast<const char*>(values.data()), values.size() * sizeof(uint64_t));
}

std::string BytesOf(const std::vector<double>& values)
{
    return std::string(reinterpret_cast<const char*>(values.data()), values.size() * sizeof(double));
}

std::string QuidVectorColumns(const std::vector<uint64_t>& first, const std::vector<uint64_t>& second, int length,
                              const std::vector<double>& values)
{
    std::vector<uint64_t> words(first);
    words.insert(words.end(), second.begin(), second.end());
    return RawColumn("uint64", static_cast<long long>(first.size()), 2, BytesOf(words)) +
           RawColumn("real64", length, static_cast<long long>(values.size()) / length, BytesOf(values));
}

std::string NewFormTable(const std::string& header, const std::string& columns)
{
    std::string bytes = header;
    bytes.resize(1024, '\0');
    return bytes + std::string(128, '#') + columns;
}

std::string NewFormTable(int rows, int length, const std::vector<double>& values)
{
    std::vector<uint64_t> first(static_cast<size_t>(rows), 0), second;
    for (int i = 0; i < rows; ++i)
        second.push_back(static_cast<uint64_t>(i));
    return NewFormTable("tavlintableversion: 2, columns: 2, size: " + std::to_string(rows) +
                            "\ncolumn1: object\ncolumn2: values\n",
                        QuidVectorColumns(first, second, length, values));
}

std::string TableFileOf(const Tavlin::Core::Feature::FeatureTable& table)
{
    const int rows = table.Size();
    const int length = table.GetVectorLength();
    std::vector<uint64_t> first, second;
    std::vector<double> values;
    for (int i = 0; i < rows; ++i)
    {
        first.push_back(table.GetQuid(i).GetFirst());
        second.push_back(table.GetQuid(i).GetSecond());
        values.insert(values.end(), table.GetVector(i), table.GetVector(i) + length);
    }
    return NewFormTable("tavlintableversion: 2, columns: 2, size: " + std::to_string(rows) +
                            "\ncolumn1: object\ncolumn2: values\n",
                        QuidVectorColumns(first, second, length, values));
}

} // namespace TestSupport
