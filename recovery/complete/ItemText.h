#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "platform/FileSystem.h"
#include "platform/Text.h"
#include "store/complete/FoundObject.h"

namespace pastille::recovery::complete {

/// The code pages of a run's 8-bit texts, opened once each.
class CCodePages {
public:
    /// `fallback`: name of the one that the user has chosen.
    explicit CCodePages(const std::string& fallback) : m_fallback(fallback) {}

    /// That the store states for itself; 0: none.
    void SetStorePage(std::uint32_t number) { m_storePage = number; }
    /// Pages to try on the texts of an object, in this order: its own, the store's, the user's.
    std::vector<const platform::CCodePage*> PagesOf(const store::complete::CFoundObject& object);

private:
    const platform::CCodePage* Find(std::uint32_t number);

    platform::CCodePage m_fallback;
    std::uint32_t m_storePage = 0;
    std::map<std::uint32_t, std::unique_ptr<platform::CCodePage>> m_pages;  ///< null: not known here
};

/// Decodes the 8-bit texts of one object into UTF-16: each by the first code page that its bytes fit, the
/// user's when they fit none.
class CItemText {
public:
    /// REQUIRES: at least one page; all outlive this object.
    explicit CItemText(std::vector<const platform::CCodePage*> pages) : m_pages(std::move(pages)) {}

    std::u16string Decode(std::span<const std::byte> bytes) const;
    /// Stored form of the text, UTF-16LE. [MS-PST] 2.3.3.3
    std::vector<std::byte> DecodeStored(std::span<const std::byte> bytes) const;
    /// The page of a text that is so, or that begins so; a character may be cut at its end then.
    const platform::CCodePage& PageFor(std::span<const std::byte> text, bool isAll = true) const;

private:
    std::vector<const platform::CCodePage*> m_pages;
};

/// Turns an 8-bit text that comes in pieces into the stored form of a text.
class CDecodedStream final : public platform::IByteStream {
public:
    CDecodedStream(platform::IByteStream& below, const CItemText& text) : m_below(below), m_text(text) {}
    std::size_t Read(std::span<std::byte> into) override;

private:
    bool Fill();
    std::vector<std::byte> ReadPiece();

    platform::IByteStream& m_below;
    const CItemText& m_text;
    std::unique_ptr<platform::CTextDecoder> m_decoder;
    std::u16string m_units;
    std::vector<std::byte> m_bytes;
    std::size_t m_at = 0;
    bool m_ended = false;
};

/// UTF-16LE bytes of a text.
std::vector<std::byte> StoredText(std::u16string_view text);

}  // namespace pastille::recovery::complete
