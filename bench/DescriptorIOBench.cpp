// Descriptor files of 10000 points with 384-value descriptors (a colour SIFT), written
// and read through file buffers as the tool does. The text writer is set against the
// same lines built with one output stream per number, and the binary writer and reader
// against a bare fwrite and fread of as many bytes (page cache warm).
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdio>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "core/array/Array2dTem.h"
#include "core/feature/PointDescriptorIO.h"
#include "core/matrix/MatCreate.h"
#include "util/IOBufferFile.h"

using Tavlin::Core::Array::Array2dReal64;
using Tavlin::Core::Feature::ReadBINDESC1FromBuffer;
using Tavlin::Core::Feature::WriteBINDESC1ToBuffer;
using Tavlin::Core::Feature::WriteVESK1ToBuffer;
using Tavlin::Core::Matrix::MatCreate;
using Tavlin::Util::IOBufferFile;

namespace
{

const int kPoints = 10000;
const int kLength = 384;

std::string TempName(const char* tag)
{
    return "/tmp/lumisk_descbench_" + std::to_string(getpid()) + "_" + tag;
}

// Arg 0: fractions with full digits, the costly case; 1: integers 0..255.
struct Data
{
    std::unique_ptr<Array2dReal64> points;
    std::unique_ptr<Array2dReal64> descriptors;

    explicit Data(int kind)
        : points(MatCreate<Array2dReal64>(kPoints, 5)), descriptors(MatCreate<Array2dReal64>(kPoints, kLength))
    {
        unsigned long long state = 88172645463325252ULL;
        for (int i = 0; i < kPoints; ++i)
        {
            double* p = points->mData + i * 5;
            p[0] = 1.0 + (i * 37) % 640;
            p[1] = 1.0 + (i * 53) % 480;
            p[2] = 1.2 * (1 + i % 7);
            p[3] = 0.0;
            p[4] = 1e-6 * (i % 1000);
        }
        for (long long i = 0; i < static_cast<long long>(kPoints) * kLength; ++i)
        {
            state ^= state << 13;
            state ^= state >> 7;
            state ^= state << 17;
            descriptors->mData[i] = kind == 0 ? static_cast<double>(state >> 11) / 9007199254740992.0 * 0.3
                                              : static_cast<double>(state % 256);
        }
    }
};

long long FileSize(const std::string& name)
{
    IOBufferFile in(name, true, false, false);
    return in.Size();
}

void BM_WriteVESK1(benchmark::State& state)
{
    Data data(static_cast<int>(state.range(0)));
    const std::string name = TempName("vesk1");
    for (auto _ : state)
    {
        IOBufferFile out(name, false, false, false);
        WriteVESK1ToBuffer(&out, data.points.get(), data.descriptors.get(), "CIRCLE");
    }
    state.SetBytesProcessed(state.iterations() * FileSize(name));
    std::remove(name.c_str());
}
BENCHMARK(BM_WriteVESK1)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

// The same text with a fresh output stream for each number.
void BM_WriteVESK1WithStreams(benchmark::State& state)
{
    Data data(static_cast<int>(state.range(0)));
    const std::string name = TempName("vesk1s");
    auto number = [](double value) {
        std::ostringstream out;
        out << value;
        return out.str();
    };
    for (auto _ : state)
    {
        IOBufferFile out(name, false, false, false);
        out.Write("VESK1\n", 6);
        const std::string counts = std::to_string(kLength) + "\n" + std::to_string(kPoints) + "\n";
        out.Write(counts.data(), static_cast<int64_t>(counts.size()));
        for (int i = 0; i < kPoints; ++i)
        {
            std::string line = "<CIRCLE";
            for (int k = 0; k < 5; ++k)
                line += " " + number(data.points->mData[i * 5 + k]);
            line += ">;";
            for (int k = 0; k < kLength; ++k)
                line += " " + number(data.descriptors->mData[static_cast<long long>(i) * kLength + k]);
            line += ";\n";
            out.Write(line.data(), static_cast<int64_t>(line.size()));
        }
    }
    state.SetBytesProcessed(state.iterations() * FileSize(name));
    std::remove(name.c_str());
}
BENCHMARK(BM_WriteVESK1WithStreams)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

void BM_ReadVESK1(benchmark::State& state)
{
    Data data(0);
    const std::string name = TempName("vesk1r");
    {
        IOBufferFile out(name, false, false, false);
        WriteVESK1ToBuffer(&out, data.points.get(), data.descriptors.get(), "CIRCLE");
    }
    for (auto _ : state)
    {
        IOBufferFile in(name, true, true, false);
        Array2dReal64* points = nullptr;
        Array2dReal64* descriptors = nullptr;
        ReadBINDESC1FromBuffer(points, descriptors, &in, true, true);
        delete points;
        delete descriptors;
    }
    state.SetBytesProcessed(state.iterations() * FileSize(name));
    std::remove(name.c_str());
}
BENCHMARK(BM_ReadVESK1)->Unit(benchmark::kMillisecond);

void BM_WriteBINDESC1(benchmark::State& state)
{
    Data data(0);
    const std::string name = TempName("bin");
    for (auto _ : state)
    {
        IOBufferFile out(name, false, false, false);
        WriteBINDESC1ToBuffer(&out, data.points.get(), data.descriptors.get(), "CIRCLE  ");
    }
    state.SetBytesProcessed(state.iterations() * FileSize(name));
    std::remove(name.c_str());
}
BENCHMARK(BM_WriteBINDESC1)->Unit(benchmark::kMillisecond);

// Arg 0: stream mode; 1: the file slurped into memory first.
void BM_ReadBINDESC1(benchmark::State& state)
{
    Data data(0);
    const std::string name = TempName("binr");
    {
        IOBufferFile out(name, false, false, false);
        WriteBINDESC1ToBuffer(&out, data.points.get(), data.descriptors.get(), "CIRCLE  ");
    }
    for (auto _ : state)
    {
        IOBufferFile in(name, true, state.range(0) != 0, false);
        Array2dReal64* points = nullptr;
        Array2dReal64* descriptors = nullptr;
        ReadBINDESC1FromBuffer(points, descriptors, &in, true, true);
        benchmark::DoNotOptimize(descriptors->mData);
        delete points;
        delete descriptors;
    }
    state.SetBytesProcessed(state.iterations() * FileSize(name));
    std::remove(name.c_str());
}
BENCHMARK(BM_ReadBINDESC1)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

// Disk speed: the same bytes in one fwrite, and read back in one fread.
void BM_BareFile(benchmark::State& state)
{
    const size_t bytes = 32 + static_cast<size_t>(kPoints) * (5 + kLength) * 8;
    std::vector<char> block(bytes, 1);
    const std::string name = TempName("bare");
    const bool reading = state.range(0) != 0;
    if (reading)
    {
        FILE* f = std::fopen(name.c_str(), "wb");
        std::fwrite(block.data(), 1, bytes, f);
        std::fclose(f);
    }
    for (auto _ : state)
    {
        FILE* f = std::fopen(name.c_str(), reading ? "rb" : "w+b");
        if (reading)
        {
            std::vector<char> in(bytes);
            benchmark::DoNotOptimize(std::fread(in.data(), 1, bytes, f));
        }
        else
        {
            std::fwrite(block.data(), 1, bytes, f);
        }
        std::fclose(f);
    }
    state.SetBytesProcessed(state.iterations() * static_cast<long long>(bytes));
    std::remove(name.c_str());
}
BENCHMARK(BM_BareFile)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
