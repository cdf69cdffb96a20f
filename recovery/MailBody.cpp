#include "recovery/MailBody.h"

#include <string>

#include "format/PropertyIds.h"

namespace pastille::recovery {
namespace {

using namespace writer;

/// The values of LTP subnodes have all of these bits set, heap identifiers none. [MS-PST] 2.3.3.2
constexpr std::uint32_t kSubnodeBits = 0xF;

bool NamesHeapAllocation(std::uint32_t hnid)
{
    return (hnid & kSubnodeBits) != kSubnodeBits;
}

std::u16string PlainText(const CSourceItem& source, format::CByteView bytes)
{
    return source.Source().reader.Layout().wide ? store::WideText(bytes.Bytes())
                                                : source.CodePage().ToUtf16(bytes.Bytes());
}

/// One character per byte, as the component takes RTF.
std::u16string ByteText(const CSourceItem&, format::CByteView bytes)
{
    std::u16string text;
    text.reserve(bytes.Size());
    for (const std::byte byte : bytes.Bytes())
        text += static_cast<char16_t>(byte);
    return text;
}

}  // namespace

void BodyLocator::Note(const store::PropertyRecord& record, store::FileKind kind)
{
    switch (record.id) {
        case format::pid::kBody:
            plain = record.value;
            break;
        case format::pid::kRtfCompressed:
            rtf = record.value;
            break;
        case format::pid::kHtml:
            html = record.value;
            if (kind != store::FileKind::Ost)
                return;
            break;
        default:
            return;
    }
    deciding = record.value;
}

bool WriteHeapBody(const CSourceItem& source, const BodyLocator& locator, const CRef<IMessageItem>& mail)
{
    if (!NamesHeapAllocation(locator.deciding))
        return true;
    struct Choice {
        const std::optional<std::uint32_t>& hnid;
        const ItemProperty& target;
        std::u16string (*read)(const CSourceItem&, format::CByteView);
    };
    // The property met last may be another than the one written: each is read from its own place.
    for (const Choice& choice : {Choice{locator.plain, property::Body, &PlainText},
                                 Choice{locator.rtf, property::RtfBody, &ByteText}}) {
        if (!choice.hnid || *choice.hnid == 0 || !NamesHeapAllocation(*choice.hnid))
            continue;
        if (!source.PassesBoundsTest(*choice.hnid))
            return false;
        const auto bytes = source.Allocation(*choice.hnid);
        if (bytes && bytes->Size() != 0)
            mail->SetText(choice.target, choice.read(source, *bytes));
        return true;
    }
    return true;
}

}  // namespace pastille::recovery
