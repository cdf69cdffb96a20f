#include "recovery/complete/ItemText.h"

#include <algorithm>

#include "format/Bytes.h"
#include "format/PropertyIds.h"

namespace pastille::recovery::complete {
namespace {

using platform::CCodePage;

constexpr std::size_t kPieceBytes = std::size_t{1} << 18;

/// True when no byte of the text was one that the code page leaves undefined.
bool Fits(std::u16string_view text)
{
    return std::ranges::none_of(text, [](char16_t unit) { return unit >= 0xF700 && unit <= 0xF7FF; });
}

}  // namespace

const CCodePage* CCodePages::Find(std::uint32_t number)
{
    const auto [at, isNew] = m_pages.try_emplace(number);
    if (isNew) {
        if (const std::string name = platform::CodePageName(number); !name.empty())
            at->second = std::make_unique<CCodePage>(name);
    }
    return at->second.get();
}

std::vector<const CCodePage*> CCodePages::PagesOf(const store::complete::CFoundObject& object)
{
    // A page that claims every byte, as the ones of one byte do, cannot be told by the bytes; the text's own
    // page comes first for that.
    std::vector<const CCodePage*> pages;
    constexpr std::uint32_t kUnicode = 1200;
    for (const std::uint32_t number :
         {object.Number(format::pid::kMessageCodepage).value_or(0),
          object.Number(format::pid::kInternetCodepage).value_or(0), m_storePage}) {
        const CCodePage* const page = number == 0 || number == kUnicode ? nullptr : Find(number);
        if (page != nullptr && std::ranges::find(pages, page) == pages.end())
            pages.push_back(page);
    }
    pages.push_back(&m_fallback);
    return pages;
}

const CCodePage& CItemText::PageFor(std::span<const std::byte> text, bool isAll) const
{
    const CCodePage* const fallback = m_pages.back();
    for (const CCodePage* const page : m_pages) {
        if (page == fallback)
            break;
        std::u16string decoded;
        platform::CTextDecoder decoder(*page);
        decoder.Append(text, decoded);
        if (isAll)
            decoder.Finish(decoded);
        if (Fits(decoded))
            return *page;
    }
    return *fallback;
}

std::u16string CItemText::Decode(std::span<const std::byte> bytes) const
{
    return PageFor(bytes).ToUtf16(bytes);
}

std::vector<std::byte> CItemText::DecodeStored(std::span<const std::byte> bytes) const
{
    return StoredText(Decode(bytes));
}

std::size_t CDecodedStream::Read(std::span<std::byte> into)
{
    while (m_at == m_bytes.size()) {
        if (!Fill())
            return 0;
    }
    const std::size_t count = std::min(into.size(), m_bytes.size() - m_at);
    std::copy_n(m_bytes.begin() + static_cast<std::ptrdiff_t>(m_at), count, into.begin());
    m_at += count;
    return count;
}

bool CDecodedStream::Fill()
{
    if (m_ended)
        return false;
    const std::vector<std::byte> piece = ReadPiece();
    m_units.clear();
    if (!m_decoder)
        m_decoder = std::make_unique<platform::CTextDecoder>(m_text.PageFor(piece, m_ended));
    m_decoder->Append(piece, m_units);
    if (m_ended)
        m_decoder->Finish(m_units);
    m_bytes = StoredText(m_units);
    m_at = 0;
    return true;
}

/// As long as a piece may be unless the text ends in it.
std::vector<std::byte> CDecodedStream::ReadPiece()
{
    std::vector<std::byte> piece(kPieceBytes);
    std::size_t done = 0;
    while (done < piece.size() && !m_ended) {
        const std::size_t got = m_below.Read(std::span(piece).subspan(done));
        done += got;
        m_ended = got == 0;
    }
    piece.resize(done);
    return piece;
}

std::vector<std::byte> StoredText(std::u16string_view text)
{
    std::vector<std::byte> bytes(2 * text.size());
    for (std::size_t i = 0; i < text.size(); ++i)
        format::StoreLE<std::uint16_t>(bytes, 2 * i, text[i]);
    return bytes;
}

}  // namespace pastille::recovery::complete
