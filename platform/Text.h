#pragma once

#include <cstddef>
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
/// Compares without regard to the case of A to Z.
bool EqualsNoCase(std::u16string_view left, std::u16string_view right);

/// True when UTF-16 units are likely to be text: not empty, and at most a third of them controls, unassigned,
/// noncharacters or lone surrogates; or text of one alphabet in the other byte order.
bool LooksLikeText(std::u16string_view text);

/// An 8-bit code page. Bytes that it leaves undefined, and bytes of broken sequences, become U+F700 + byte
/// and come back as that byte, so that a text survives being read and written.
class CCodePage {
public:
    /// Raises std::invalid_argument when the name is unknown.
    explicit CCodePage(const std::string& name);
    ~CCodePage();
    CCodePage(const CCodePage&) = delete;
    CCodePage& operator=(const CCodePage&) = delete;

    static bool IsKnown(const std::string& name);

    std::u16string ToUtf16(std::span<const std::byte> bytes) const;
    /// Characters that the code page lacks become "?".
    std::string FromUtf16(std::u16string_view text) const;

private:
    struct Converter;
    std::unique_ptr<Converter> m_converter;
};

}  // namespace pastille::platform
