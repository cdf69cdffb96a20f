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
    using Kind = FileChange::Kind;
    CFaultyFile(std::unique_ptr<platform::IFile> below, std::filesystem::path path, CFaultyFileSystem& owner)
        : m_below(std::move(below)), m_path(std::move(path)), m_owner(owner)
    {
    }

    std::size_t ReadAt(std::uint64_t offset, std::span<std::byte> into) noexcept override
    {
        return m_below->ReadAt(offset, into);
    }
    std::uint64_t Size() const noexcept override { return m_below->Size(); }
    void WriteAt(std::uint64_t offset, std::span<const std::byte> bytes) override
    {
        m_owner.Meet({Kind::Write, m_path, offset, bytes, m_below.get()});
        m_below->WriteAt(offset, bytes);
    }
    void SetSize(std::uint64_t size) override
    {
        m_owner.Meet({Kind::SetSize, m_path, size, {}, m_below.get()});
        m_below->SetSize(size);
    }
    void Sync() override
    {
        m_owner.Meet({Kind::Sync, m_path, 0, {}, m_below.get()});
        if (m_owner.faults.syncs)
            m_below->Sync();
    }
    bool TryLock() override { return m_below->TryLock(); }
    std::unique_ptr<platform::IMapping> Map() override { return m_below->Map(); }

private:
    std::unique_ptr<platform::IFile> m_below;
    std::filesystem::path m_path;
    CFaultyFileSystem& m_owner;
};

[[noreturn]] void Fail(std::errc code)
{
    throw std::system_error(std::make_error_code(code));
}

}  // namespace

void MakeHalf(const FileChange& change)
{
    constexpr std::uint64_t kPage = 4096;
    const std::uint64_t middle = (change.offset + change.bytes.size() / 2) / kPage * kPage;
    if (change.kind == FileChange::Kind::Write && middle > change.offset)
        change.below->WriteAt(change.offset, change.bytes.first(middle - change.offset));
}

void CFaultyFileSystem::Meet(const FileChange& change)
{
    const std::scoped_lock lock(m_mutex);
    if (faults.onChange)
        faults.onChange(change);
    if (change.kind == FileChange::Kind::Create) {
        made.push_back(change.path);
        if (++creates == faults.failingCreate)
            Fail(std::errc::permission_denied);
    }
    if (change.kind != FileChange::Kind::Write)
        return;
    if (faults.diskBytes && written + change.bytes.size() > *faults.diskBytes)
        Fail(std::errc::no_space_on_device);
    written += change.bytes.size();
}

std::unique_ptr<platform::IByteSource> CFaultyFileSystem::OpenSource(const std::filesystem::path& path)
{
    auto source = m_below.OpenSource(path);
    return source ? std::make_unique<CFaultySource>(std::move(source), faults) : nullptr;
}

std::unique_ptr<platform::IFile> CFaultyFileSystem::Create(const std::filesystem::path& path)
{
    Meet({FileChange::Kind::Create, path});
    return std::make_unique<CFaultyFile>(m_below.Create(path), path, *this);
}

std::unique_ptr<platform::IFile> CFaultyFileSystem::OpenExisting(const std::filesystem::path& path)
{
    return std::make_unique<CFaultyFile>(m_below.OpenExisting(path), path, *this);
}

Bytes FileBytes(const std::filesystem::path& path)
{
    const auto source = platform::HostFileSystem().OpenSource(path);
    Bytes bytes(source ? source->Size() : 0);
    if (source)
        bytes.resize(source->ReadAt(0, bytes));
    return bytes;
}

CTemporaryFolder::CTemporaryFolder()
{
    std::string pattern = (std::filesystem::temp_directory_path() / "pastille test XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr)
        Fail(std::errc::io_error);
    m_path = pattern;
}

std::filesystem::path CTemporaryFolder::MakeFolder(const std::string& name) const
{
    std::filesystem::create_directories(m_path / name);
    return m_path / name;
}

std::filesystem::path CTemporaryFolder::WriteFile(const std::string& name, std::string_view bytes) const
{
    platform::HostFileSystem().Create(m_path / name)->WriteAt(0, std::as_bytes(std::span(bytes)));
    return m_path / name;
}

CTemporaryFolder::~CTemporaryFolder()
{
    std::error_code ignored;
    std::filesystem::permissions(m_path, std::filesystem::perms::owner_all, ignored);
    std::filesystem::remove_all(m_path, ignored);
}

}  // namespace pastille::tests
