#include "support/DescriptorFiles.h"

#include <memory>

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

} // namespace TestSupport
