#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>

#include "tests/support/StoreBuilder.h"

namespace pastille::tests {

/// A generator of our own: standard distributions give other numbers on other platforms.
class CRandom {
public:
    explicit CRandom(std::uint64_t seed) : m_state(seed * 0x9E3779B97F4A7C15u + 0x1234567) {}
    std::uint32_t Below(std::size_t bound)
    {
        m_state = m_state * 6364136223846793005u + 1442695040888963407u;
        return static_cast<std::uint32_t>((m_state >> 33) % bound);
    }

private:
    std::uint64_t m_state;
};

/// Text of about so many characters.
std::u16string Words(CRandom& random, std::size_t characters);
/// The name of a person.
std::u16string Person(CRandom& random);
std::u16string Decimal(std::uint64_t number);

/// A mail of about 7 KB.
StoreMessage OrdinaryMail(CRandom& random, std::uint64_t number);

/// The items of a store: what makes the one of a number, how large it is, and the class of their folders.
struct ItemMaker {
    std::function<StoreMessage(CRandom& random, std::uint64_t number)> make = OrdinaryMail;
    std::uint64_t bytes = 7000;
    std::u16string folderClass = u"IPF.Note";
};

/// A store of ordinary items, as large as wanted. The same options give the same bytes.
struct MailStoreOptions {
    StoreFormat format{};
    std::uint64_t mails = 0;        ///< number of items; 0: as many as fit `fileBytes`
    std::uint64_t fileBytes = 0;    ///< about this large
    std::uint64_t spreadBytes = 0;  ///< spread them over so much of the file, with holes between
    std::uint32_t folders = 12;
    std::uint32_t seed = 1;
    ItemMaker items{};
};

struct MailStoreFigures {
    std::uint64_t mails = 0;
    StoreDirectory directory;  ///< pages only unless the format keeps everything
};

/// Writes the store to `file`, which must be empty, holding no more than one folder's table rows in memory.
MailStoreFigures WriteMailStore(const MailStoreOptions& options, platform::IFile& file);

/// Makes a store that is recognised at once and takes long to scan: a hole follows its pages.
std::filesystem::path MakeLongStore(const std::filesystem::path& path,
                                    std::uint64_t bytes = std::uint64_t{16} << 30);

}  // namespace pastille::tests
