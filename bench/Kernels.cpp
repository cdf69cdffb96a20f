#include "format/Checksum.h"
#include "format/Crypt.h"
#include "platform/FileSystem.h"
#include "store/BlockTable.h"
#include "store/NodeList.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <system_error>
#include <vector>

namespace pastille::bench {
namespace {

std::vector<std::byte> RandomBytes(std::size_t size, unsigned seed)
{
    std::mt19937 random(seed);
    std::vector<std::byte> bytes(size);
    for (std::byte& byte : bytes)
        byte = static_cast<std::byte>(random());
    return bytes;
}

void CountBytes(benchmark::State& state, std::uint64_t bytesPerRound)
{
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * bytesPerRound));
}

void ComputeCrc(benchmark::State& state)
{
    const auto bytes = RandomBytes(static_cast<std::size_t>(state.range(0)), 1);
    for (auto _ : state)
        benchmark::DoNotOptimize(format::ComputeCrc(bytes));
    CountBytes(state, bytes.size());
}
BENCHMARK(ComputeCrc)->Arg(496)->Arg(8176);

void DecodeBlock(benchmark::State& state)
{
    auto bytes = RandomBytes(8176, 2);
    const auto method = static_cast<format::CryptMethod>(state.range(0));
    for (auto _ : state) {
        format::DecodeBlock(method, 0x1234, bytes);
        benchmark::DoNotOptimize(bytes.data());
    }
    CountBytes(state, bytes.size());
}
BENCHMARK(DecodeBlock)
    ->ArgName("method")
    ->Arg(static_cast<int>(format::CryptMethod::Permute))
    ->Arg(static_cast<int>(format::CryptMethod::Cyclic));

/// The most memory that this process had at once since the last Restart. Bytes.
class CPeakMemory {
public:
    void Restart()
    {
        std::ofstream("/proc/self/clear_refs") << 5;
        m_before = Read("VmRSS:");
    }
    double Grown() const { return Read("VmHWM:") - m_before; }

private:
    static double Read(const std::string& name)
    {
        std::ifstream status("/proc/self/status");
        double kilobytes = 0;
        for (std::string word; status >> word;) {
            if (word == name)
                status >> kilobytes;
        }
        return kilobytes * 1024;
    }
    double m_before = 0;
};

/// A file in the folder for temporary files that is gone with this object.
class CIndexPath {
public:
    ~CIndexPath()
    {
        std::error_code ignored;
        std::filesystem::remove(m_path, ignored);
    }
    const std::filesystem::path& Path() const { return m_path; }

private:
    std::filesystem::path m_path = std::filesystem::temp_directory_path() /
                                   ("pastille-kernels-" + std::to_string(std::random_device()()));
};

/// Blocks in the order of the file, which is not that of their BIDs.
void Fill(store::CBlockTable& blocks, std::uint32_t count)
{
    constexpr std::uint32_t kStride = 7919;  // prime, and no factor of a round count
    for (std::uint64_t i = 0; i < count; ++i)
        blocks.Append({static_cast<std::uint32_t>(i * kStride % count * 4 + 4), 8176, 0x4600 + i * 8192});
    blocks.Finish();
}

/// Blocks lie in the index file while a run lasts (file:1), or in memory when it writes nothing.
void Create(store::CBlockTable& blocks, const CIndexPath& index, bool inFile)
{
    if (inFile)
        blocks.Create(platform::HostFileSystem(), index.Path());
    else
        blocks.CreateInMemory();
}

void FillBlockTable(benchmark::State& state)
{
    const auto count = static_cast<std::uint32_t>(state.range(0));
    CPeakMemory memory;
    for (auto _ : state) {
        const CIndexPath index;
        store::CBlockTable blocks;
        memory.Restart();
        Create(blocks, index, state.range(1) != 0);
        Fill(blocks, count);
        state.counters["bytes_per_block"] = memory.Grown() / count;
        if (!blocks.Find(4))
            state.SkipWithError("block not found");
    }
}
BENCHMARK(FillBlockTable)
    ->ArgNames({"blocks", "file"})
    ->ArgsProduct({{10'000'000}, {0, 1}})
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1);

void LookUpBlock(benchmark::State& state)
{
    const auto count = static_cast<std::uint32_t>(state.range(0));
    const CIndexPath index;
    store::CBlockTable blocks;
    Create(blocks, index, state.range(1) != 0);
    Fill(blocks, count);
    std::uint32_t wanted = 1;
    for (auto _ : state) {
        const auto found = blocks.Find(wanted % count * 4 + 4);
        if (!found)
            state.SkipWithError("block not found");
        // Each lookup waits for the one before, as reading the source does.
        wanted = wanted * 1664525 + 1013904223 + (found ? found->bid & 1 : 0);
    }
}
BENCHMARK(LookUpBlock)->ArgNames({"blocks", "file"})->ArgsProduct({{100'000, 10'000'000}, {0, 1}});

void FillNodeList(benchmark::State& state)
{
    const auto count = static_cast<std::uint32_t>(state.range(0));
    constexpr std::uint32_t kNodesPerPage = 15, kPageBytes = 512;
    CPeakMemory memory;
    for (auto _ : state) {
        store::CNodeList nodes;
        memory.Restart();
        for (std::uint32_t i = 0; i < count; ++i) {
            if (i % kNodesPerPage == 0)
                nodes.AddPage(std::uint64_t{0x4800} + i / kNodesPerPage * kPageBytes, i + 1);
            nodes.Append(i + 1, i % 0xFFFFF, i * 31 % 0xFFFFF, 0x8022);
        }
        nodes.Finish();
        state.counters["bytes_per_node"] = memory.Grown() / count;
        if (nodes.Size() != count)
            state.SkipWithError("node lost");
    }
}
BENCHMARK(FillNodeList)->ArgName("nodes")->Arg(10'000'000)->Unit(benchmark::kMillisecond)->Iterations(1);

}  // namespace
}  // namespace pastille::bench

#if defined(NDEBUG) && !defined(__SANITIZE_ADDRESS__)
constexpr bool kWorthMeasuring = true;
#else
constexpr bool kWorthMeasuring = false;
#endif

int main(int argc, char** argv)
{
    if (!kWorthMeasuring) {
        std::fputs("Only a release build without sanitizers is worth measuring.\n", stderr);
        return 1;
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
