#include "component/pst/messaging/StringReader.h"

#include "component/pst/messaging/StoredText.h"
#include "format/PropertyContext.h"
#include "format/WideText.h"

namespace pastille::component::pst {
namespace {

/// Some programs store the terminator too.
std::u16string WithoutTerminator(std::u16string text)
{
    while (!text.empty() && text.back() == 0)
        text.pop_back();
    return text;
}

}  // namespace

const platform::CCodePage& CStringReader::PageOf(std::uint32_t stated)
{
    if (const auto known = m_stated.find(stated); known != m_stated.end())
        return known->second;
    const std::string name = platform::CodePageName(stated);
    return name.empty() ? m_codePage : m_stated.try_emplace(stated, name).first->second;
}

std::u16string CStringReader::Narrow(std::span<const std::byte> bytes, std::uint32_t stated)
{
    return WithoutTerminator(PageOf(stated).ToUtf16(bytes));
}

std::optional<std::u16string> CStringReader::Read(const PropertyValue& value, std::uint32_t stated)
{
    switch (value.tag.type) {
        case format::PropertyType::String:
            return WithoutTerminator(format::WideText(value.bytes));
        case format::PropertyType::String8:
            return Narrow(value.bytes, stated);
        case format::PropertyType::MultipleString:
            return DecodeStringList(value.bytes);
        case format::PropertyType::MultipleString8:
            break;
        default:
            return std::nullopt;
    }
    std::u16string joined;
    const auto parts = format::SplitMultiple(format::CByteView(value.bytes));
    for (std::size_t i = 0; parts && i < parts->size(); ++i)
        joined += (i == 0 ? u"" : u";") + Narrow((*parts)[i].Bytes(), stated);
    return joined;
}

}  // namespace pastille::component::pst
