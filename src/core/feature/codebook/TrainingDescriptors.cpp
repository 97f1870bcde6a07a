#include "core/feature/codebook/TrainingDescriptors.h"

#include <climits>
#include <cstring>
#include <memory>

#include "basis/Report.h"
#include "core/feature/PointDescriptorIO.h"
#include "core/matrix/MatCreate.h"
#include "persistency/File.h"
#include "persistency/RepositoryInFileSystem.h"
#include "util/IOBuffer.h"
#include "util/Random.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

using Array::Array2dReal64;

long long RandomBelow(Util::Random& random, long long n)
{
    if (n <= INT_MAX)
        return random(static_cast<int>(n));
    const unsigned long long high = static_cast<unsigned long long>(random(1 << 30));
    const unsigned long long low = static_cast<unsigned long long>(random(1 << 30));
    return static_cast<long long>(((high << 30) | low) % static_cast<unsigned long long>(n));
}

double RandomUnit(Util::Random& random)
{
    const double high = random(1 << 30);
    const double low = random(1 << 30);
    return (high + low / 1073741824.0) / 1073741824.0;
}

Array2dReal64* ReadTrainingDescriptors(const std::vector<std::string>& files, long long sample, int64_t seed,
                                       log4cpp::Category& log)
{
    Util::Random random;
    random.SetSeed(seed);
    std::vector<double> rows;
    long long width = -1;
    long long seen = 0;
    std::string firstName;
    for (const std::string& name : files)
    {
        std::unique_ptr<Util::IOBuffer> buffer(Persistency::RepositoryGetFile(name, false, false).GetReadBuffer());
        Array2dReal64* points = nullptr;
        Array2dReal64* read = nullptr;
        if (buffer && buffer->Valid())
            ReadBINDESC1FromBuffer(points, read, buffer.get(), false, true);
        std::unique_ptr<Array2dReal64> descriptors(read);
        if (!descriptors)
        {
            TLOG_ERROR(log, "[ERROR] Cannot read descriptors from " << name);
            return nullptr;
        }
        if (descriptors->mHeight < 1 || descriptors->mWidth < 1)
        {
            TLOG_ERROR(log, "[ERROR] No descriptors in " << name);
            return nullptr;
        }
        if (width < 0)
        {
            width = descriptors->mWidth;
            firstName = name;
        }
        else if (descriptors->mWidth != width)
        {
            TLOG_ERROR(log, "[ERROR] Descriptors of length " << descriptors->mWidth << " in " << name << " but "
                                                             << width << " in " << firstName
                                                             << ": all descriptors must have one length");
            return nullptr;
        }
        const double* src = descriptors->mData;
        for (long long i = 0; i < descriptors->mHeight; ++i, src += width, ++seen)
        {
            // Reservoir sampling: row `seen` takes a place with probability sample / (seen + 1).
            long long slot = seen;
            if (sample > 0 && seen >= sample)
            {
                slot = RandomBelow(random, seen + 1);
                if (slot >= sample)
                    continue;
            }
            if (slot == static_cast<long long>(rows.size()) / width)
                rows.insert(rows.end(), src, src + width);
            else
                std::memcpy(rows.data() + slot * width, src, static_cast<size_t>(width) * sizeof(double));
        }
    }
    const long long height = width > 0 ? static_cast<long long>(rows.size()) / width : 0;
    if (height > INT_MAX || width > INT_MAX)
    {
        TLOG_ERROR(log, "[ERROR] " << height << " descriptors are too many for one matrix: use --sample");
        return nullptr;
    }
    if (height < 1)
    {
        TLOG_ERROR(log, "[ERROR] No descriptors to train on");
        return nullptr;
    }
    Array2dReal64* result = Matrix::MatCreate<Array2dReal64>(static_cast<int>(height), static_cast<int>(width));
    std::memcpy(result->mData, rows.data(), rows.size() * sizeof(double));
    return result;
}

} // namespace Feature
} // namespace Core
} // namespace Tavlin
