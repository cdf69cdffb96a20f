#include <algorithm>
#include <array>
#include <optional>
#include <stdexcept>
#include <vector>

#include "platform/CodePageNames.h"
#include "platform/CodePageNumbers.h"
#include "platform/Text.h"
#include "platform/windows/CodePageTable.h"
#include "platform/windows/HostPage.h"
#include "platform/windows/Win32.h"

namespace pastille::platform {

/// How the bytes of a page are cut into characters and made from them.
class ISequences {
public:
    virtual ~ISequences() = default;
    virtual Sequence First(std::span<const std::byte> bytes) const = 0;
    virtual void Append(char32_t c, std::string& to) const = 0;
};

namespace {

/// Undecodable byte b is carried as this + b, in the private-use area.
constexpr char16_t kCarriedByteBase = 0xF700;

constexpr bool IsCarried(char32_t c)
{
    return (c & ~char32_t{0xFF}) == kCarriedByteBase;
}

class CUtf8Page final : public ISequences {
public:
    Sequence First(std::span<const std::byte> bytes) const override { return FirstOfUtf8(bytes); }
    void Append(char32_t c, std::string& to) const override
    {
        std::u16string units;
        AppendUtf16(units, c);
        to += ToUtf8(units);
    }
};

class CTablePage : public ISequences {
public:
    explicit CTablePage(std::uint32_t hostPage) : m_table(CCodePageTable::Of(hostPage)) {}
    Sequence First(std::span<const std::byte> bytes) const override { return m_table->First(bytes); }
    void Append(char32_t c, std::string& to) const override
    {
        const std::uint32_t sequence = m_table->SequenceOf(c);
        if (sequence == CCodePageTable::kNone) {
            to.push_back('?');
            return;
        }
        if (sequence >= 0x100)
            to.push_back(static_cast<char>(sequence >> 8));
        to.push_back(static_cast<char>(sequence & 0xFF));
    }

protected:
    std::shared_ptr<const CCodePageTable> m_table;
};

/// The host's table has the characters of three bytes, a byte 8F and two, as two of which the second is
/// without its highest bit.
class CEucJapanesePage final : public CTablePage {
public:
    using CTablePage::CTablePage;
    Sequence First(std::span<const std::byte> bytes) const override
    {
        using Kind = Sequence::Kind;
        const auto at = [bytes](std::size_t i) { return static_cast<std::uint8_t>(bytes[i]); };
        const auto isPart = [&](std::size_t i) { return at(i) >= 0xA1 && at(i) <= 0xFE; };
        if (at(0) != kThreeBytes) {
            const Sequence two = CTablePage::First(bytes);
            return two.length == 2 && at(1) < 0x80 ? Sequence{Kind::Broken, 1} : two;
        }
        if (bytes.size() < 2 || (isPart(1) && bytes.size() < 3))
            return {Kind::Incomplete, bytes.size()};
        if (!isPart(1) || !isPart(2))
            return {Kind::Broken, 1};
        const char32_t c = m_table->CharacterOf(at(1), at(2) & 0x7F);
        return c == CCodePageTable::kNone ? Sequence{Kind::Broken, 3} : Sequence{Kind::Character, 3, c};
    }
    void Append(char32_t c, std::string& to) const override
    {
        const std::uint32_t sequence = m_table->SequenceOf(c);
        if (sequence == CCodePageTable::kNone || sequence < 0x100 || (sequence & 0x80) != 0)
            return CTablePage::Append(c, to);
        for (const std::uint32_t byte : {std::uint32_t{kThreeBytes}, sequence >> 8, (sequence & 0xFF) | 0x80})
            to.push_back(static_cast<char>(byte));
    }

private:
    static constexpr std::uint8_t kThreeBytes = 0x8F;
};

/// One and two bytes as in the page before it, and four bytes: in order for the planes behind the first, by
/// the host's table, where it has one, for the rest of the first.
class CGb18030Page final : public CTablePage {
public:
    using CTablePage::CTablePage;
    Sequence First(std::span<const std::byte> bytes) const override
    {
        using Kind = Sequence::Kind;
        const auto isDigit = [bytes](std::size_t i) {
            return (std::uint8_t(bytes[i]) & 0xF0) == 0x30 && std::uint8_t(bytes[i]) <= 0x39;
        };
        const auto isPart = [bytes](std::size_t i) {
            return std::uint8_t(bytes[i]) >= 0x81 && std::uint8_t(bytes[i]) <= 0xFE;
        };
        if (!isPart(0))
            return CTablePage::First(bytes);
        if (bytes.size() < 2)
            return {Kind::Incomplete, 1};
        if (!isDigit(1))
            return CTablePage::First(bytes);
        for (std::size_t i = 2; i < 4; ++i) {
            if (i == bytes.size())
                return {Kind::Incomplete, i};
            if (i == 2 ? !isPart(i) : !isDigit(i))
                return {Kind::Broken, 1};
        }
        const auto c = Decode(bytes.first(4));
        return c ? Sequence{Kind::Character, 4, *c} : Sequence{Kind::Broken, 4};
    }
    void Append(char32_t c, std::string& to) const override
    {
        if (m_table->SequenceOf(c) != CCodePageTable::kNone)
            return CTablePage::Append(c, to);
        const auto bytes = Encode(c);
        to += bytes.empty() ? "?" : bytes;
    }

private:
    /// Number of the four bytes 90 30 81 30, which stand for U+10000.
    static constexpr char32_t kFirstOfPlanes = 189000;

    static std::optional<char32_t> Decode(std::span<const std::byte> bytes)
    {
        const auto at = [bytes](std::size_t i) { return static_cast<char32_t>(bytes[i]); };
        const char32_t number =
            (((at(0) - 0x81) * 10 + at(1) - 0x30) * 126 + at(2) - 0x81) * 10 + at(3) - 0x30;
        if (number >= kFirstOfPlanes)
            return number < kFirstOfPlanes + 0x100000 ? std::optional(number - kFirstOfPlanes + 0x10000)
                                                      : std::nullopt;
        std::array<wchar_t, 4> units{};
        const char* const first = reinterpret_cast<const char*>(bytes.data());
        if (::MultiByteToWideChar(kGb18030Page, MB_ERR_INVALID_CHARS, first, 4, units.data(), 4) != 1)
            return std::nullopt;
        const char32_t c = static_cast<char16_t>(units[0]);
        const bool comesBack = Encode(c) == std::string_view(first, 4);
        return comesBack ? std::optional(c) : std::nullopt;
    }
    static std::string Encode(char32_t c)
    {
        std::string bytes(4, '\0');
        if (c < 0x10000) {
            const wchar_t unit = static_cast<wchar_t>(c);
            const int count =
                ::WideCharToMultiByte(kGb18030Page, 0, &unit, 1, bytes.data(), 4, nullptr, nullptr);
            return count == 4 ? bytes : std::string();
        }
        char32_t number = c - 0x10000 + kFirstOfPlanes;
        bytes[3] = static_cast<char>(0x30 + number % 10);
        bytes[2] = static_cast<char>(0x81 + (number /= 10) % 126);
        bytes[1] = static_cast<char>(0x30 + (number /= 126) % 10);
        bytes[0] = static_cast<char>(0x81 + number / 10);
        return bytes;
    }
};

/// nullptr when neither we nor the host have the page.
std::shared_ptr<const ISequences> OpenPage(std::uint32_t number)
{
    if (number == kUtf8Page)
        return std::make_shared<CUtf8Page>();
    const std::uint32_t host = number == 0 ? 0 : HostPage(number);
    if (host == 0)
        return nullptr;
    if (number == kEucJapanesePage)
        return std::make_shared<CEucJapanesePage>(host);
    if (number == kGb18030Page)
        return std::make_shared<CGb18030Page>(host);
    return std::make_shared<CTablePage>(host);
}

bool IsPage(std::uint32_t number)
{
    return number == kUtf8Page || (number != 0 && HostPage(number) != 0);
}

void Carry(std::span<const std::byte> bytes, std::u16string& to)
{
    for (const std::byte byte : bytes)
        to.push_back(static_cast<char16_t>(kCarriedByteBase + static_cast<std::uint8_t>(byte)));
}

}  // namespace

std::string CodePageName(std::uint32_t number)
{
    const auto* const page = std::ranges::find(kPages, number, &NumberedPage::number);
    return page != kPages.end() && CCodePage::IsKnown(page->name) ? page->name : "";
}

std::uint32_t CodePageNumber(const std::string& name)
{
    const std::uint32_t number = NumberOfName(name);
    return IsPage(number) ? number : 0;
}

/// A page and the bytes of a sequence that is not complete yet.
struct CCodePage::Converter {
    explicit Converter(std::shared_ptr<const ISequences> opened) : page(std::move(opened)) {}

    void Append(std::span<const std::byte> bytes, std::u16string& to)
    {
        std::vector<std::byte> joined;
        if (!pending.empty()) {
            joined.swap(pending);
            joined.insert(joined.end(), bytes.begin(), bytes.end());
            bytes = joined;
        }
        while (!bytes.empty()) {
            const Sequence first = page->First(bytes);
            if (first.kind == Sequence::Kind::Incomplete) {
                pending.assign(bytes.begin(), bytes.end());
                return;
            }
            if (first.kind == Sequence::Kind::Broken || IsCarried(first.character))
                Carry(bytes.first(first.length), to);
            else
                AppendUtf16(to, first.character);
            bytes = bytes.subspan(first.length);
        }
    }
    /// What is left may hold whole characters behind a first byte that waited for more.
    void Finish(std::u16string& to)
    {
        while (!pending.empty()) {
            const std::vector<std::byte> left = std::exchange(pending, {});
            Carry(std::span(left).first(1), to);
            Append(std::span(left).subspan(1), to);
        }
    }

    std::shared_ptr<const ISequences> page;
    std::vector<std::byte> pending;
};

CCodePage::CCodePage(const std::string& name)
{
    auto page = OpenPage(NumberOfName(name));
    if (!page)
        throw std::invalid_argument("unknown code page: " + name);
    m_converter = std::make_unique<Converter>(std::move(page));
}

CCodePage::~CCodePage() = default;

bool CCodePage::IsKnown(const std::string& name)
{
    return IsPage(NumberOfName(name));
}

std::u16string CCodePage::ToUtf16(std::span<const std::byte> bytes) const
{
    std::u16string text;
    text.reserve(bytes.size());
    Converter whole(m_converter->page);
    whole.Append(bytes, text);
    whole.Finish(text);
    return text;
}

std::string CCodePage::FromUtf16(std::u16string_view text) const
{
    std::string bytes;
    bytes.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        char32_t c = text[i];
        if (IsCarried(c)) {
            bytes.push_back(static_cast<char>(c & 0xFF));
            continue;
        }
        const bool isPair = (c & 0xFC00) == 0xD800 && i + 1 < text.size() && (text[i + 1] & 0xFC00) == 0xDC00;
        if (isPair)
            c = 0x10000 + ((c - 0xD800) << 10) + (text[++i] - 0xDC00u);
        m_converter->page->Append(c, bytes);
    }
    return bytes;
}

struct CTextDecoder::State {
    explicit State(const std::shared_ptr<const ISequences>& page) : converter(page) {}
    CCodePage::Converter converter;
};

CTextDecoder::CTextDecoder(const CCodePage& codePage)
    : m_state(std::make_unique<State>(codePage.m_converter->page))
{
}

CTextDecoder::~CTextDecoder() = default;

void CTextDecoder::Append(std::span<const std::byte> bytes, std::u16string& to)
{
    m_state->converter.Append(bytes, to);
}

void CTextDecoder::Finish(std::u16string& to)
{
    m_state->converter.Finish(to);
}

}  // namespace pastille::platform
