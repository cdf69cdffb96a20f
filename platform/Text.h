#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace pastille::platform {

/// UTF-16 to UTF-8 for terminals, paths and JSON. Lone surrogates become U+FFFD.
std::string ToUtf8(std::u16string_view text);
/// UTF-8 to UTF-16. Bytes that are no UTF-8 become U+FFFD.
std::u16string FromUtf8(std::string_view text);
/// A host path as text, for logs and messages.
std::u16string PathText(const std::filesystem::path& path);
/// The same as bytes, for terminals and JSON: the host's own bytes where paths are made of bytes, else UTF-8.
std::string PathBytes(const std::filesystem::path& path);
/// The path of such bytes. A path made of a text without this function is another one on some hosts.
std::filesystem::path PathOfBytes(std::string_view bytes);
/// Compares without regard to the case of A to Z.
bool EqualsNoCase(std::u16string_view left, std::u16string_view right);

/// True when UTF-16 units are likely to be text: not empty, and at most a third of them controls, unassigned,
/// noncharacters or lone surrogates; or text of one alphabet in the other byte order.
bool LooksLikeText(std::u16string_view text);

/// Name, for CCodePage, of the code page of 8-bit texts that state none: the system's ANSI code page where
/// the host has one, else windows-1252.
std::string DefaultCodePage();

/// Name, for CCodePage, of the code page of a number as mails state it (65001 UTF-8, 1252, 28591, 932).
/// Pages with shift states are named US-ASCII: their bytes are all of it, and so all of them are kept.
/// "" when the number is unknown.
std::string CodePageName(std::uint32_t number);
/// The inverse, for names like "windows-1252", whatever their case; 0 when unknown.
std::uint32_t CodePageNumber(const std::string& name);

/// A code page of bytes without shift states. Bytes that it leaves undefined, bytes of broken sequences and
/// those of characters from U+F700 to U+F7FF become U+F700 + byte and come back as that byte, so that a text
/// survives being read and written. Where two sequences stand for one character, the usual one comes back.
class CCodePage {
public:
    /// The names are the same on every host: those that IANA and the WHATWG's encoding standard list for the
    /// pages of mails (such as "csISOLatin1" or "shift_jis"), "windows-1252", "cp1252", "ibm850" and their like,
    /// and the bare number of a page; case, "-", "_", blanks, ":" and "." do not count. A host may lack a page.
    /// Raises std::invalid_argument when the name is unknown.
    explicit CCodePage(const std::string& name);
    ~CCodePage();
    CCodePage(const CCodePage&) = delete;
    CCodePage& operator=(const CCodePage&) = delete;

    static bool IsKnown(const std::string& name);

    std::u16string ToUtf16(std::span<const std::byte> bytes) const;
    /// Characters that the code page lacks become "?". A text cut between two characters (not inside a
    /// surrogate pair) may be converted piece by piece.
    std::string FromUtf16(std::u16string_view text) const;

private:
    friend class CTextDecoder;
    struct Converter;
    std::unique_ptr<Converter> m_converter;
};

/// Decodes a text that comes in pieces, as ToUtf16 does one that is whole: a sequence may begin in one piece
/// and end in another.
class CTextDecoder {
public:
    /// The code page need not outlive the decoder.
    explicit CTextDecoder(const CCodePage& codePage);
    ~CTextDecoder();
    CTextDecoder(const CTextDecoder&) = delete;
    CTextDecoder& operator=(const CTextDecoder&) = delete;

    /// Decodes a piece and appends it to `to`, but for the beginning of a sequence that it may end with.
    void Append(std::span<const std::byte> bytes, std::u16string& to);
    /// Ends the text: bytes of a sequence that never ended come out as broken ones. The next Append begins
    /// another text.
    void Finish(std::u16string& to);

private:
    struct State;
    std::unique_ptr<State> m_state;
};

}  // namespace pastille::platform
