#include "tests/support/FaultyFileSystem.h"

#include <stdlib.h>

#include <algorithm>
#include <system_error>

namespace pastille::tests {
namespace {

class CFaultySource final : public platform::IByteSource {
public:
    CFaultySource(std::unique_ptr<platform::IByteSource> below, const FileFaults& faults)
        : m_below(std::move(below)), m_faults(faults)
    {
    }

    std::size_t ReadAt(std::uint64_t offset, std::span<std::byte> into) noexcept override
    {
        if (m_faults.onSourceRead)
            m_faults.onSourceRead(offset);
        std::uint64_t end = offset + into.size();
        if (m_faults.longestRead != 0)
            end = std::min(end, offset + m_faults.longestRead);
        if (m_faults.shrinksTo)
            end = std::min(end, std::max(offset, *m_faults.shrinksTo));
        for (const FileFaults::Range& range : m_faults.unreadable) {
            if (offset < range.offset + range.length && end > range.offset)
                end = std::max(offset, range.offset);
        }
        return m_below->ReadAt(offset, into.first(static_cast<std::size_t>(end - offset)));
    }
    std::uint64_t Size() const noexcept override { return m_below->Size(); }
    std::uint64_t CurrentSize() const noexcept override
    {
        return std::min(m_below->CurrentSize(), m_faults.shrinksTo.value_or(~std::uint64_t{0}));
    }

private:
    std::unique_ptr<platform::IByteSource> m_below;
    const FileFaults& m_faults;
};

class CFaultyFile final : public platform::IFile {
public:
    CFaultyFile(std::unique_ptr<platform::IFile> below, CFaultyFileSystem& counter)
        : m_below(std::move(below)), m_counter(counter)
    {
    }

    std::size_t ReadAt(std::uint64_t offset, std::span<std::byte> into) noexcept override
    {
        return m_below->ReadAt(offset, into);
    }
    std::uint64_t Size() const noexcept override { return m_below->Size(); }
    void WriteAt(std::uint64_t offset, std::span<const std::byte> bytes) override
    {
        m_counter.CountWrite(bytes.size());
        m_below->WriteAt(offset, bytes);
    }
    void SetSize(std::uint64_t size) override { m_below->SetSize(size); }
    void Sync() override
    {
        m_counter.CountSync();
        m_below->Sync();
    }
    std::unique_ptr<platform::IMapping> Map() override { return m_below->Map(); }

private:
    std::unique_ptr<platform::IFile> m_below;
    CFaultyFileSystem& m_counter;
};

[[noreturn]] void Fail(std::errc code)
{
    throw std::system_error(std::make_error_code(code));
}

}  // namespace

void CFaultyFileSystem::CountWrite(std::uint64_t bytes)
{
    ++writes;
    if (faults.failingWrite && writes >= *faults.failingWrite)
        Fail(std::errc::io_error);
    if (faults.diskBytes && written + bytes > *faults.diskBytes)
        Fail(std::errc::no_space_on_device);
    written += bytes;
}

void CFaultyFileSystem::CountSync()
{
    if (++syncs == faults.failingSync)
        Fail(std::errc::io_error);
}

std::unique_ptr<platform::IByteSource> CFaultyFileSystem::OpenSource(const std::filesystem::path& path)
{
    auto source = m_below.OpenSource(path);
    return source ? std::make_unique<CFaultySource>(std::move(source), faults) : nullptr;
}

std::unique_ptr<platform::IFile> CFaultyFileSystem::Create(const std::filesystem::path& path)
{
    made.push_back(path);
    if (++creates == faults.failingCreate)
        Fail(std::errc::permission_denied);
    return std::make_unique<CFaultyFile>(m_below.Create(path), *this);
}

std::unique_ptr<platform::IFile> CFaultyFileSystem::OpenExisting(const std::filesystem::path& path)
{
    return std::make_unique<CFaultyFile>(m_below.OpenExisting(path), *this);
}

std::size_t CMemorySource::ReadAt(std::uint64_t offset, std::span<std::byte> into) noexcept
{
    if (offset >= m_bytes.size())
        return 0;
    const std::size_t count = std::min<std::uint64_t>(into.size(), m_bytes.size() - offset);
    std::copy_n(m_bytes.begin() + static_cast<std::ptrdiff_t>(offset), count, into.begin());
    return count;
}

CTemporaryFolder::CTemporaryFolder()
{
    std::string pattern = (std::filesystem::temp_directory_path() / "pastille-test-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr)
        Fail(std::errc::io_error);
    m_path = pattern;
}

CTemporaryFolder::~CTemporaryFolder()
{
    std::error_code ignored;
    std::filesystem::permissions(m_path, std::filesystem::perms::owner_all, ignored);
    std::filesystem::remove_all(m_path, ignored);
}

}  // namespace pastille::tests
