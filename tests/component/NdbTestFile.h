#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <span>
#include <system_error>
#include <vector>

#include "component/pst/ndb/NdbReader.h"
#include "component/pst/ndb/NdbWriter.h"
#include "platform/FileSystem.h"
#include "tests/support/StoreFindings.h"

namespace pastille::tests {

/// A file in memory whose n-th operation can be made to fail; a failing write leaves half of its bytes.
class CTestFile final : public platform::IFile {
public:
    std::size_t ReadAt(std::uint64_t offset, std::span<std::byte> into) noexcept override
    {
        if (offset >= bytes.size())
            return 0;
        const std::size_t count = std::min<std::size_t>(into.size(), bytes.size() - offset);
        std::copy_n(bytes.begin() + static_cast<std::ptrdiff_t>(offset), count, into.begin());
        return count;
    }
    std::uint64_t Size() const noexcept override { return bytes.size(); }
    void WriteAt(std::uint64_t offset, std::span<const std::byte> data) override
    {
        const bool fails = CountOperation();
        const auto kept = fails ? data.first(data.size() / 2) : data;
        firstWritten = std::min(firstWritten, offset);
        bytesWritten += kept.size();
        if (bytes.size() < offset + kept.size())
            bytes.resize(offset + kept.size());
        std::ranges::copy(kept, bytes.begin() + static_cast<std::ptrdiff_t>(offset));
        if (fails)
            throw std::system_error(std::make_error_code(std::errc::no_space_on_device));
    }
    void SetSize(std::uint64_t size) override
    {
        if (CountOperation())
            throw std::system_error(std::make_error_code(std::errc::no_space_on_device));
        bytes.resize(size);
    }
    void Sync() override
    {
        if (CountOperation())
            throw std::system_error(std::make_error_code(std::errc::io_error));
    }
    std::unique_ptr<platform::IMapping> Map() override { return nullptr; }

    std::vector<std::byte> bytes;
    std::uint64_t operations = 0;
    std::uint64_t bytesWritten = 0;
    std::uint64_t failingOperation = 0;  ///< counted from 1; 0: none fails
    std::uint64_t firstWritten = std::numeric_limits<std::uint64_t>::max();  ///< lowest offset written to

private:
    bool CountOperation() { return ++operations == failingOperation; }
};

/// `size` bytes that differ from block to block and from byte to byte.
inline std::vector<std::byte> Pattern(std::size_t size, unsigned seed = 0)
{
    std::vector<std::byte> bytes(size);
    std::uint32_t state = 0x9E3779B9u * (seed + 1);
    for (std::byte& b : bytes) {
        state = state * 1664525u + 1013904223u;
        b = static_cast<std::byte>(state >> 24);
    }
    return bytes;
}

/// A node id of a message.
inline format::Nid MessageNid(std::uint32_t number)
{
    return format::Nid::Make(format::NidType::NormalMessage, 0x10001 + number);
}

}  // namespace pastille::tests
