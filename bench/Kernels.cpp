#include "format/Checksum.h"
#include "format/Crypt.h"
#include "platform/FileSystem.h"
#include "store/BlockCollector.h"
#include "store/BlockTable.h"
#include "store/NodeCollector.h"
#include "store/NodeList.h"
#include "store/SourceFile.h"
#include "tests/support/StoreFile.h"
#include "tests/support/StoreMemory.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <random>

namespace pastille::bench {
namespace {

using tests::Bytes;

Bytes RandomBytes(std::size_t size, unsigned seed)
{
    std::mt19937 random(seed);
    Bytes bytes(size);
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
    const Bytes bytes = RandomBytes(static_cast<std::size_t>(state.range(0)), 1);
    for (auto _ : state)
        benchmark::DoNotOptimize(format::ComputeCrc(bytes));
    CountBytes(state, bytes.size());
}
BENCHMARK(ComputeCrc)->Arg(496)->Arg(8176);

void DecodeBlock(benchmark::State& state)
{
    Bytes bytes = RandomBytes(8176, 2);
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

/// A healthy store of 8 KB blocks, one node each, in memory.
const tests::CMemoryFile& SampleStore()
{
    static const auto store = [] {
        constexpr std::uint32_t kBlocks = 8000;
        constexpr std::uint32_t kNormalMessage = 4;
        auto file = std::make_unique<tests::CMemoryFile>();
        tests::CStoreFile writer(*file, {.keepDirectory = false});
        const Bytes data = RandomBytes(writer.BlockBytes(), 3);
        for (std::uint32_t i = 0; i < kBlocks; ++i)
            writer.AddNode({.nid = (i + 1) << 5 | kNormalMessage, .bidData = writer.WriteBlock(data)});
        writer.Finish();
        return file;
    }();
    return *store;
}

/// Bytes that live elsewhere, as a source.
class CMemorySource final : public platform::IByteSource {
public:
    explicit CMemorySource(const Bytes& bytes) : m_bytes(bytes) {}
    std::size_t ReadAt(std::uint64_t offset, std::span<std::byte> into) noexcept override
    {
        if (offset >= m_bytes.size())
            return 0;
        const std::size_t count = std::min<std::uint64_t>(into.size(), m_bytes.size() - offset);
        std::copy_n(m_bytes.begin() + static_cast<std::ptrdiff_t>(offset), count, into.begin());
        return count;
    }
    std::uint64_t Size() const noexcept override { return m_bytes.size(); }

private:
    const Bytes& m_bytes;
};

/// Opens the sample store, and keeps what is created in memory.
class CMemoryFileSystem final : public platform::IFileSystem {
public:
    std::unique_ptr<platform::IByteSource> OpenSource(const std::filesystem::path&) override
    {
        return std::make_unique<CMemorySource>(SampleStore().Content());
    }
    std::unique_ptr<platform::IFile> Create(const std::filesystem::path&) override
    {
        return std::make_unique<tests::CMemoryFile>();
    }
    std::unique_ptr<platform::IFile> OpenExisting(const std::filesystem::path&) override
    {
        throw std::system_error(std::make_error_code(std::errc::no_such_file_or_directory));
    }
    std::error_code CreateFolder(const std::filesystem::path&) override { return {}; }
    std::error_code Remove(const std::filesystem::path&) override { return {}; }
    std::error_code Rename(const std::filesystem::path&, const std::filesystem::path&) override { return {}; }
};

bool Proceed(std::uint64_t)
{
    return true;
}

void ScanNodePages(benchmark::State& state)
{
    CMemoryFileSystem fileSystem;
    store::CSourceFile source;
    source.Open(fileSystem, "sample.pst");
    for (auto _ : state) {
        store::CNodeList nodes;
        store::ScanNodePages(source, format::kUnicodeLayout, nodes, Proceed);
        nodes.Finish();
        if (nodes.Size() == 0)
            state.SkipWithError("no node found");
    }
    CountBytes(state, source.Size());
}
BENCHMARK(ScanNodePages)->Unit(benchmark::kMillisecond);

/// BBT pages and the stray trailers on all other pages.
void ScanBlockPages(benchmark::State& state)
{
    CMemoryFileSystem fileSystem;
    store::CSourceFile source;
    source.Open(fileSystem, "sample.pst");
    for (auto _ : state) {
        store::CBlockTable blocks;
        blocks.Create(fileSystem, "index");
        store::ScanBlockPages(source, format::kUnicodeLayout, blocks, Proceed);
        blocks.Finish();
        if (blocks.Count() == 0)
            state.SkipWithError("no block found");
    }
    CountBytes(state, source.Size());
}
BENCHMARK(ScanBlockPages)->Unit(benchmark::kMillisecond);

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
