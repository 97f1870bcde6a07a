// lumisk-dataserver under load, on 127.0.0.1: one channel reading a 100 MB file, and
// 16 clients at once each writing and reading back 50 files of 1 MB, every byte
// checked. The server's resident memory is sampled throughout (counters in MB).
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <benchmark/benchmark.h>

#include "util/Channel.h"
#include "util/ChannelPool.h"
#include "util/IOBufferChannel.h"

using Tavlin::Util::Channel;
using Tavlin::Util::ChannelPool;
using Tavlin::Util::IOBufferChannel;

namespace
{

const int sClients = 16;
const int sFilesPerClient = 50;
const int64_t sFileSize = 1 << 20;
const int64_t sBigSize = 100 << 20;

void FillPattern(std::vector<char>& bytes, unsigned seed)
{
    unsigned state = seed * 2654435761u + 1;
    for (char& b : bytes)
    {
        state = state * 1103515245u + 12345u;
        b = static_cast<char>(state >> 23);
    }
}

// A server over a fresh directory; ends with the benchmark program.
class Server
{
public:
    Server()
    {
        char pattern[] = "/tmp/lumisk-dsbench.XXXXXX";
        mDir = mkdtemp(pattern);
        mRoot = mDir + "/root";
        mkdir(mRoot.c_str(), 0755);
        mPasswords = mDir + "/pw";
        std::ofstream(mPasswords) << "read=bench-r\nwrite=bench-w\n";
        int out[2];
        if (pipe(out) != 0)
            std::abort();
        mPid = fork();
        if (mPid == 0)
        {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            dup2(out[1], 1);
            int null = open("/dev/null", O_WRONLY);
            dup2(null, 2);
            execl(LUMISK_DATASERVER_BINARY, LUMISK_DATASERVER_BINARY, "--root", mRoot.c_str(), "--port", "0",
                  "--passwordFile", mPasswords.c_str(), "--maxSeconds", "600", static_cast<char*>(nullptr));
            _exit(127);
        }
        close(out[1]);
        std::string line;
        char c;
        pollfd waiting = {out[0], POLLIN, 0};
        while (line.find('\n') == std::string::npos && poll(&waiting, 1, 10000) > 0 && read(out[0], &c, 1) == 1)
            line += c;
        close(out[0]);
        mAddress = "127.0.0.1:" + line.substr(line.rfind(':') + 1, line.find('\n') - line.rfind(':') - 1);
    }
    ~Server()
    {
        kill(mPid, SIGTERM);
        waitpid(mPid, nullptr, 0);
        std::system(("rm -rf '" + mDir + "'").c_str());
    }
    // A channel of its own, owned by the caller.
    Channel* NewChannel() const
    {
        size_t colon = mAddress.find(':');
        return ChannelPool::Instance().Get(mAddress.substr(0, colon), std::atoi(mAddress.c_str() + colon + 1),
                                           mAddress, mPasswords, false);
    }
    double ResidentMB() const
    {
        std::ifstream status("/proc/" + std::to_string(mPid) + "/status");
        std::string key;
        long kb = 0;
        while (status >> key)
            if (key == "VmRSS:" && status >> kb)
                break;
        return kb / 1024.0;
    }
    const std::string& Root() const { return mRoot; }

private:
    std::string mDir, mRoot, mPasswords, mAddress;
    pid_t mPid;
};

Server& TheServer()
{
    static Server sServer;
    return sServer;
}

void BM_ReadLargeFileThroughOneChannel(benchmark::State& state)
{
    Server& server = TheServer();
    std::vector<char> expected(sBigSize), read(sBigSize);
    FillPattern(expected, 7);
    {
        std::ofstream out(server.Root() + "/big.bin", std::ios::binary);
        out.write(expected.data(), sBigSize);
    }
    std::unique_ptr<Channel> channel(server.NewChannel());
    if (!channel)
    {
        state.SkipWithError("no channel");
        return;
    }
    bool same = true;
    for (auto _ : state)
    {
        IOBufferChannel buffer("big.bin", true, channel.get());
        if (buffer.Read(read.data(), sBigSize) != sBigSize)
            same = false;
    }
    same = same && std::memcmp(read.data(), expected.data(), sBigSize) == 0;
    if (!same)
        state.SkipWithError("bytes differ");
    state.SetBytesProcessed(state.iterations() * sBigSize);
    unlink((server.Root() + "/big.bin").c_str());
}
BENCHMARK(BM_ReadLargeFileThroughOneChannel)->Unit(benchmark::kMillisecond)->MinTime(2.0)->UseRealTime();

// One client: writes its files, reads each back and compares; the failures.
int RunClient(Channel* channel, int client, const std::string& root)
{
    std::vector<char> data(sFileSize), back(sFileSize);
    int failures = 0;
    for (int file = 0; file < sFilesPerClient; ++file)
    {
        FillPattern(data, static_cast<unsigned>(client * 1000 + file));
        const std::string name = "c" + std::to_string(client) + "/f" + std::to_string(file) + ".bin";
        {
            IOBufferChannel out(name, false, channel);
            if (!out.Valid() || out.Write(data.data(), sFileSize) != sFileSize)
                ++failures;
        }
        IOBufferChannel in(name, true, channel);
        if (!in.Valid() || in.Size() != sFileSize || in.Read(back.data(), sFileSize) != sFileSize ||
            std::memcmp(back.data(), data.data(), sFileSize) != 0)
            ++failures;
        unlink((root + "/" + name).c_str());
    }
    return failures;
}

void BM_SixteenClientsWriteAndReadBack(benchmark::State& state)
{
    Server& server = TheServer();
    for (int client = 0; client < sClients; ++client)
        mkdir((server.Root() + "/c" + std::to_string(client)).c_str(), 0755);
    const double before = server.ResidentMB();
    double peak = before;
    std::vector<double> after;
    int failures = 0;
    for (auto _ : state)
    {
        std::vector<std::unique_ptr<Channel>> channels;
        for (int client = 0; client < sClients; ++client)
            channels.emplace_back(server.NewChannel());
        std::atomic<int> failed(0);
        std::atomic<bool> running(true);
        std::thread sampler([&] {
            while (running)
            {
                peak = std::max(peak, server.ResidentMB());
                std::this_thread::sleep_for(std::chrono::milliseconds(20));
            }
        });
        std::vector<std::thread> clients;
        for (int client = 0; client < sClients; ++client)
            clients.emplace_back([&, client] {
                failed += channels[client] ? RunClient(channels[client].get(), client, server.Root())
                                           : sFilesPerClient;
            });
        for (std::thread& t : clients)
            t.join();
        running = false;
        sampler.join();
        channels.clear();
        failures += failed;
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        after.push_back(server.ResidentMB());
    }
    if (failures)
        state.SkipWithError("transfers failed or differed");
    state.SetBytesProcessed(state.iterations() * sClients * sFilesPerClient * sFileSize * 2);
    state.counters["failures"] = failures;
    state.counters["rss_before_MB"] = before;
    state.counters["rss_peak_MB"] = peak;
    state.counters["rss_after_first_MB"] = after.front();
    state.counters["rss_after_last_MB"] = after.back();
}
BENCHMARK(BM_SixteenClientsWriteAndReadBack)->Unit(benchmark::kMillisecond)->Iterations(3)->UseRealTime();

} // namespace

BENCHMARK_MAIN();
