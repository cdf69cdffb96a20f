#include "preview/BodyReader.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "preview/HtmlText.h"
#include "preview/RtfText.h"
#include "writer/ComError.h"

namespace pastille::preview {
namespace {

using Form = StoredBody::Form;

/// An item with more bytes than these is not laid out as HTML; nor is an HTML body that has more than the
/// item states.
constexpr std::int32_t kLargestHtmlItem = 3 << 20;
/// UTF-16 units of text that are shown at most.
constexpr std::size_t kMostUnits = 2u << 20;
constexpr std::uint32_t kMostPlainBytes = 2 * kMostUnits;
constexpr std::uint32_t kMostRtfBytes = 4u << 20;

/// Reads the bodies of an item, best first, until one is there.
class CBodySearch {
public:
    explicit CBodySearch(writer::IMessageItem& item) : m_item(item) {}

    StoredBody Find()
    {
        const std::int32_t size = m_item.GetNumber(writer::property::MessageSize);
        const bool isSmall = size >= 0 && size <= kLargestHtmlItem;
        StoredBody html =
            isSmall ? Read(Form::Html, writer::property::HtmlBody, kLargestHtmlItem) : StoredBody();
        html.isPage = html.form == Form::Html && !html.isCut;
        if (html.isPage)
            return html;
        StoredBody body = Read(Form::Plain, writer::property::Body, kMostPlainBytes);
        if (body.form == Form::None)
            body = Read(Form::Rtf, writer::property::RtfBody, kMostRtfBytes);
        if (body.form == Form::None)
            body = isSmall ? std::move(html) : Read(Form::Html, writer::property::HtmlBody, kLargestHtmlItem);
        if (body.form == Form::None && m_failure)
            throw *m_failure;
        return body;
    }

private:
    StoredBody Read(Form form, const writer::ItemProperty& property, std::uint32_t mostBytes)
    {
        try {
            writer::TextStart start = m_item.GetTextStart(property, mostBytes);
            return {start.text.empty() ? Form::None : form, std::move(start.text), !start.isAll, false};
        } catch (const writer::_com_error& error) {
            m_failure = error;
            return {};
        }
    }

    writer::IMessageItem& m_item;
    std::optional<writer::_com_error> m_failure;
};

/// Cuts a text to what is shown, between two characters.
bool Cut(std::u16string& text)
{
    if (text.size() <= kMostUnits)
        return false;
    constexpr char16_t kSurrogateBits = 0xFC00;
    constexpr char16_t kHighSurrogate = 0xD800;
    const bool isInPair = (text[kMostUnits - 1] & kSurrogateBits) == kHighSurrogate;
    text.resize(kMostUnits - (isInPair ? 1 : 0));
    return true;
}

}  // namespace

StoredBody ReadBody(writer::IMessageItem& item)
{
    return CBodySearch(item).Find();
}

MailBody ToShownBody(StoredBody body, bool asText)
{
    MailBody shown{BodyKind::Plain, std::move(body.text), body.isCut};
    switch (body.form) {
        case Form::None:
            return {};
        case Form::Plain:
            break;
        case Form::Html:
            if (body.isPage && !asText) {
                shown.kind = BodyKind::Html;
                return shown;
            }
            shown.text = HtmlToText(shown.text);
            break;
        case Form::Rtf:
            shown.text = RtfToText(shown.text, kMostUnits + 1);
            break;
    }
    shown.isCut = Cut(shown.text) || shown.isCut;
    return shown;
}

}  // namespace pastille::preview
