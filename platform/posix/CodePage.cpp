#include <unicode/ucnv.h>
#include <unicode/ucnv_cb.h>

#include <algorithm>
#include <array>
#include <new>
#include <stdexcept>
#include <utility>
#include <vector>

#include "platform/CodePageNames.h"
#include "platform/CodePageNumbers.h"
#include "platform/Text.h"

namespace pastille::platform {
namespace {

/// Undecodable byte b is carried as this + b, in the private-use area.
constexpr char16_t kCarriedByteBase = 0xF700;
/// Bytes and units converted at a time, so that no length leaves the 32 bits that ICU counts with.
constexpr std::size_t kPieceBytes = 4096;
constexpr std::size_t kPieceUnits = 1u << 16;

constexpr bool IsCarried(char16_t unit)
{
    return (unit & 0xFF00) == kCarriedByteBase;
}

char16_t Carry(char byte)
{
    return static_cast<char16_t>(kCarriedByteBase + static_cast<std::uint8_t>(byte));
}

/// To Unicode: carries each byte of a sequence that stands for no character, and counts them.
void U_CALLCONV CarryBytes(const void* context, UConverterToUnicodeArgs* args, const char* bytes,
                           int32_t length, UConverterCallbackReason reason, UErrorCode* error)
{
    if (reason > UCNV_IRREGULAR)
        return;
    *error = U_ZERO_ERROR;
    *const_cast<std::size_t*>(static_cast<const std::size_t*>(context)) += static_cast<std::size_t>(length);
    for (int32_t i = 0; i < length && U_SUCCESS(*error); ++i) {
        const char16_t carried = Carry(bytes[i]);
        ucnv_cbToUWriteUChars(args, &carried, 1, 0, error);
    }
}

/// From Unicode: "?" for what the code page lacks; U+FFFD for lone surrogates where it can be said.
void U_CALLCONV WriteSubstitute(const void*, UConverterFromUnicodeArgs* args, const UChar*, int32_t, UChar32,
                                UConverterCallbackReason reason, UErrorCode* error)
{
    if (reason > UCNV_IRREGULAR)
        return;
    *error = U_ZERO_ERROR;
    if (ucnv_getType(args->converter) == UCNV_UTF8)
        ucnv_cbFromUWriteBytes(args, "\xEF\xBF\xBD", 3, 0, error);
    else
        ucnv_cbFromUWriteBytes(args, "?", 1, 0, error);
}

/// nullptr when the name is none of ours, or ICU lacks the page.
UConverter* OpenPage(const std::string& name)
{
    const std::uint32_t number = NumberOfName(name);
    const auto page = std::ranges::find(kPages, number, &NumberedPage::number);
    if (page == kPages.end())
        return nullptr;
    UErrorCode error = U_ZERO_ERROR;
    UConverter* const converter = ucnv_open(page->name, &error);
    if (U_SUCCESS(error))
        return converter;
    ucnv_close(converter);
    return nullptr;
}

}  // namespace

std::string CodePageName(std::uint32_t number)
{
    const auto page = std::ranges::find(kPages, number, &NumberedPage::number);
    return page != kPages.end() && CCodePage::IsKnown(page->name) ? page->name : "";
}

std::uint32_t CodePageNumber(const std::string& name)
{
    return CCodePage::IsKnown(name) ? NumberOfName(name) : 0;
}

/// An ICU converter and what is known of the text that it is in the middle of.
struct CCodePage::Converter {
    UConverter* handle = nullptr;
    std::size_t carried = 0;    ///< bytes carried so far, counted by CarryBytes
    std::vector<char> pending;  ///< of a sequence that is not complete yet

    explicit Converter(UConverter* converter) : handle(converter)
    {
        UErrorCode error = U_ZERO_ERROR;
        ucnv_setToUCallBack(handle, CarryBytes, &carried, nullptr, nullptr, &error);
        ucnv_setFromUCallBack(handle, WriteSubstitute, nullptr, nullptr, nullptr, &error);
    }
    ~Converter() { ucnv_close(handle); }
    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;

    /// Decodes at most a piece.
    std::u16string_view Decode(std::span<const char> bytes, bool isEnd)
    {
        m_units.resize(4 * kPieceBytes);
        UErrorCode error = U_ZERO_ERROR;
        char16_t* to = m_units.data();
        const char* from = bytes.data();
        ucnv_toUnicode(handle, &to, m_units.data() + m_units.size(), &from, from + bytes.size(), nullptr,
                       isEnd, &error);
        return {m_units.data(), static_cast<std::size_t>(to - m_units.data())};
    }

    /// Remembers the bytes of the last sequence, as far as the converter has not given it out.
    void KeepPending(std::span<const char> bytes)
    {
        UErrorCode error = U_ZERO_ERROR;
        pending.insert(pending.end(), bytes.begin(), bytes.end());
        const auto count = static_cast<std::size_t>(std::max(ucnv_toUCountPending(handle, &error), 0));
        pending.erase(pending.begin(),
                      pending.end() - static_cast<std::ptrdiff_t>(std::min(count, pending.size())));
    }

    void AppendPiece(std::span<const char> bytes, std::u16string& to)
    {
        const std::u16string_view units = Decode(bytes, false);
        if (std::ranges::none_of(units, IsCarried)) {
            to += units;
            KeepPending(bytes);
            return;
        }
        // Again from where the piece began, now byte by byte, to learn which bytes make which units.
        ucnv_resetToUnicode(handle);
        const std::vector<char> again = std::exchange(pending, {});
        for (const char byte : again)
            AppendByte(byte, to);
        for (const char byte : bytes)
            AppendByte(byte, to);
    }

    void AppendByte(char byte, std::u16string& to)
    {
        carried = 0;
        const std::u16string_view units = Decode({&byte, 1}, false);
        std::string sequence(pending.begin(), pending.end());
        sequence.push_back(byte);
        KeepPending({&byte, 1});
        sequence.resize(sequence.size() - std::min(pending.size(), sequence.size()));
        // Broken bytes come first, then the character that follows them.
        const std::size_t broken = std::min(carried, units.size());
        to += units.substr(0, broken);
        if (std::ranges::none_of(units.substr(broken), IsCarried))
            to += units.substr(broken);
        else
            for (std::size_t i = std::min(broken, sequence.size()); i < sequence.size(); ++i)
                to.push_back(Carry(sequence[i]));
    }

    void Append(std::span<const std::byte> bytes, std::u16string& to)
    {
        const std::span<const char> all(reinterpret_cast<const char*>(bytes.data()), bytes.size());
        for (std::size_t done = 0; done < all.size(); done += kPieceBytes)
            AppendPiece(all.subspan(done, std::min(kPieceBytes, all.size() - done)), to);
    }

    void Finish(std::u16string& to)
    {
        to += Decode({}, true);
        ucnv_resetToUnicode(handle);
        pending.clear();
    }

    void EncodePiece(std::u16string_view text, std::string& to)
    {
        m_bytes.resize(4 * kPieceUnits + 16);
        UErrorCode error = U_ZERO_ERROR;
        const int32_t length = ucnv_fromUChars(handle, m_bytes.data(), static_cast<int32_t>(m_bytes.size()),
                                               text.data(), static_cast<int32_t>(text.size()), &error);
        if (U_SUCCESS(error))
            to.append(m_bytes, 0, static_cast<std::size_t>(length));
    }

private:
    std::u16string m_units;
    std::string m_bytes;
};

CCodePage::CCodePage(const std::string& name)
{
    UConverter* const handle = OpenPage(name);
    if (handle == nullptr)
        throw std::invalid_argument("unknown code page: " + name);
    m_converter = std::make_unique<Converter>(handle);
}

CCodePage::~CCodePage() = default;

bool CCodePage::IsKnown(const std::string& name)
{
    UConverter* const probe = OpenPage(name);
    ucnv_close(probe);
    return probe != nullptr;
}

std::u16string CCodePage::ToUtf16(std::span<const std::byte> bytes) const
{
    std::u16string text;
    text.reserve(bytes.size());
    m_converter->Append(bytes, text);
    m_converter->Finish(text);
    return text;
}

std::string CCodePage::FromUtf16(std::u16string_view text) const
{
    std::string bytes;
    bytes.reserve(text.size());
    for (std::size_t start = 0; start < text.size();) {
        if (IsCarried(text[start])) {
            bytes.push_back(static_cast<char>(text[start++] & 0xFF));
            continue;
        }
        const auto rest = text.substr(start, kPieceUnits);
        auto length = static_cast<std::size_t>(std::ranges::find_if(rest, IsCarried) - rest.begin());
        if (length == kPieceUnits && (rest[length - 1] & 0xFC00) == 0xD800)
            --length;  // the other half of the pair is in the next piece
        m_converter->EncodePiece(rest.substr(0, length), bytes);
        start += length;
    }
    return bytes;
}

struct CTextDecoder::State {
    explicit State(UConverter* clone) : converter(clone) {}
    CCodePage::Converter converter;
};

CTextDecoder::CTextDecoder(const CCodePage& codePage)
{
    UErrorCode error = U_ZERO_ERROR;
    UConverter* const clone = ucnv_clone(codePage.m_converter->handle, &error);
    if (U_FAILURE(error) || clone == nullptr)
        throw std::bad_alloc();
    ucnv_reset(clone);
    m_state = std::make_unique<State>(clone);
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
