// Raw array files: writing and reading a 4096 x 128 codebook, plain and zlib, and
// reading a 100 MB array against a bare fread of the same file (page cache warm, so
// both measure the same copy path; the difference is the reader's own cost).
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "core/array/ArrayFactories.h"
#include "core/array/ReadRaw.h"
#include "core/array/WriteRaw.h"
#include "util/IOBufferFile.h"

using namespace Tavlin::Core::Array;
using Tavlin::Util::IOBufferFile;

namespace
{

std::string TempName(const char* tag)
{
    return "/tmp/lumisk_rawbench_" + std::to_string(getpid()) + "_" + tag + ".raw";
}

Array2dReal64* MakeArray(long long width, long long height)
{
    Array2dReal64* a = ArrayCreate<Array2dReal64>(width, height, 0, 0, nullptr, false);
    for (long long i = 0; i < width * height; ++i)
        a->mData[i] = static_cast<double>(i % 1000) * 0.001;
    return a;
}

void WriteFile(const std::string& name, Array2dReal64* a, int binary)
{
    IOBufferFile out(name, false, false, false);
    WriteRaw(a, &out, binary);
}

void BM_WriteRawCodebook(benchmark::State& state)
{
    const int binary = static_cast<int>(state.range(0));
    std::unique_ptr<Array2dReal64> codebook(MakeArray(128, 4096));
    const std::string name = TempName("write");
    for (auto _ : state)
        WriteFile(name, codebook.get(), binary);
    state.SetBytesProcessed(state.iterations() * 128 * 4096 * 8);
    std::remove(name.c_str());
}
BENCHMARK(BM_WriteRawCodebook)->Arg(1)->Arg(3)->Unit(benchmark::kMillisecond);

void BM_ReadRawCodebook(benchmark::State& state)
{
    const int binary = static_cast<int>(state.range(0));
    std::unique_ptr<Array2dReal64> codebook(MakeArray(128, 4096));
    const std::string name = TempName("read");
    WriteFile(name, codebook.get(), binary);
    for (auto _ : state)
    {
        IOBufferFile in(name, true, false, false);
        Array2dReal64* a = nullptr;
        ReadRaw(a, &in);
        benchmark::DoNotOptimize(a->mData);
        delete a;
    }
    state.SetBytesProcessed(state.iterations() * 128 * 4096 * 8);
    std::remove(name.c_str());
}
BENCHMARK(BM_ReadRawCodebook)->Arg(1)->Arg(3)->Unit(benchmark::kMillisecond);

// 1024 x 12800 doubles: 100 MiB. Arg 0 reads into a new array, 1 into a kept one.
void BM_ReadRaw100MB(benchmark::State& state)
{
    const long long width = 1024, height = 12800;
    const std::string name = TempName("big");
    {
        std::unique_ptr<Array2dReal64> big(MakeArray(width, height));
        WriteFile(name, big.get(), 1);
    }
    std::unique_ptr<Array2dReal64> kept(ArrayCreate<Array2dReal64>(width, height, 0, 0, nullptr, false));
    for (auto _ : state)
    {
        IOBufferFile in(name, true, false, false);
        if (state.range(0) == 0)
        {
            Array2dReal64* a = nullptr;
            ReadRaw(a, &in);
            benchmark::DoNotOptimize(a->mData);
            delete a;
        }
        else
        {
            Array2dReal64* a = kept.get();
            ReadRaw(a, &in);
            benchmark::DoNotOptimize(a->mData);
        }
    }
    state.SetBytesProcessed(state.iterations() * width * height * 8);
    std::remove(name.c_str());
}
BENCHMARK(BM_ReadRaw100MB)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

// The floor: one fread of the same payload into a kept block.
void BM_Fread100MB(benchmark::State& state)
{
    const long long bytes = 1024LL * 12800 * 8;
    const std::string name = TempName("fread");
    {
        std::unique_ptr<Array2dReal64> big(MakeArray(1024, 12800));
        WriteFile(name, big.get(), 1);
    }
    std::vector<char> block(static_cast<size_t>(bytes));
    for (auto _ : state)
    {
        FILE* file = std::fopen(name.c_str(), "rb");
        std::fseek(file, 200, SEEK_SET);
        benchmark::DoNotOptimize(std::fread(block.data(), 1, block.size(), file));
        std::fclose(file);
    }
    state.SetBytesProcessed(state.iterations() * bytes);
    std::remove(name.c_str());
}
BENCHMARK(BM_Fread100MB)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
