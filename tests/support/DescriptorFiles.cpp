#include "support/DescriptorFiles.h"

#include <memory>

#include <gtest/gtest.h>

#include "core/feature/PointDescriptorIO.h"
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
