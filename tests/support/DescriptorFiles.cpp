#include "support/DescriptorFiles.h"

#include <memory>
#include <sstream>

#include <gtest/gtest.h>

#include "core/feature/PointDescriptorIO.h"
#include "support/TestSupport.h"
#include "util/IOBufferFile.h"

namespace TestSupport
{

DescriptorFile ReadDescriptorFile(const std::string& path)
{
    DescriptorFile file;
    std::unique_ptr<Tavlin::Util::IOBuffer> buffer(new Tavlin::Util::IOBufferFile(path, true, false, false));
    Tavlin::Core::Array::Array2dReal64* points = nullptr;
    Tavlin::Core::Array::Array2dReal64* vectors = nullptr;
    if (buffer->Valid())
        Tavlin::Core::Feature::ReadBINDESC1FromBuffer(points, vectors, buffer.get(), true, true);
    file.points.reset(points);
    file.vectors.reset(vectors);
    return file;
}

std::vector<TextRow> ReadTextRows(const std::string& path, int* length)
{
    std::istringstream in(ReadTextFile(path));
    std::string magic, line;
    int width = -1, count = -1;
    in >> magic >> width >> count;
    EXPECT_EQ(magic, "VESK1") << path;
    if (length)
        *length = width;
    std::vector<TextRow> rows;
    while (std::getline(in, line))
    {
        if (line.empty())
            continue;
        TextRow row{};
        double v;
        std::istringstream point(line.substr(line.find(' ') + 1)), values(line.substr(line.find(';') + 1));
        point >> row.x >> row.y >> row.scale >> row.orientation >> row.cornerness;
        while (values >> v)
            row.values.push_back(v);
        EXPECT_EQ(static_cast<int>(row.values.size()), width) << path;
        rows.push_back(row);
    }
    EXPECT_EQ(static_cast<int>(rows.size()), count) << path;
    return rows;
}

void WriteDescriptorFile(const std::string& path, const MatrixPtr& points, const MatrixPtr& vectors, bool binary)
{
    Tavlin::Util::IOBufferFile buffer(path, false, false, false);
    if (!buffer.Valid())
        ADD_FAILURE() << "cannot write " << path;
    else if (binary)
        Tavlin::Core::Feature::WriteBINDESC1ToBuffer(&buffer, points.get(), vectors.get(), "CIRCLE  ");
    else
        Tavlin::Core::Feature::WriteVESK1ToBuffer(&buffer, points.get(), vectors.get(), "CIRCLE");
}

} // namespace TestSupport
