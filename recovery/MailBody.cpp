#include "recovery/MailBody.h"

#include <algorithm>
#include <utility>

#include "format/PropertyIds.h"
#include "format/PropertyTag.h"
#include "format/WideText.h"

namespace pastille::recovery {
namespace {

using namespace writer;

/// The values of LTP subnodes have all of these bits set, heap identifiers none. [MS-PST] 2.3.3.2
constexpr std::uint32_t kSubnodeBits = 0xF;

bool NamesHeapAllocation(std::uint32_t hnid)
{
    return (hnid & kSubnodeBits) != kSubnodeBits;
}

bool IsWide(const CSourceItem& source, const BodyLocator& locator)
{
    return source.Source().reader.Layout().wide && !locator.isPlainNarrow;
}

std::u16string PlainText(const CSourceItem& source, const BodyLocator& locator, format::CByteView bytes)
{
    return IsWide(source, locator) ? format::WideText(bytes.Bytes())
                                   : source.CodePage().ToUtf16(bytes.Bytes());
}

/// One character per byte, as the component takes RTF.
std::u16string ByteText(const CSourceItem&, const BodyLocator&, format::CByteView bytes)
{
    std::u16string text;
    text.reserve(bytes.Size());
    for (const std::byte byte : bytes.Bytes())
        text += static_cast<char16_t>(byte);
    return text;
}

enum class HeapBody { Found, None, Damaged };

HeapBody WriteHeapBody(const CSourceItem& source, const BodyLocator& locator, const CRef<IMessageItem>& mail)
{
    struct Choice {
        const std::optional<std::uint32_t>& hnid;
        const ItemProperty& target;
        std::u16string (*read)(const CSourceItem&, const BodyLocator&, format::CByteView);
    };
    // The property met last may be another than the one written: each is read from its own place.
    for (const Choice& choice : {Choice{locator.plain, property::Body, &PlainText},
                                 Choice{locator.rtf, property::RtfBody, &ByteText}}) {
        // A later block of the heap is not looked into; its values are no damage.
        if (!choice.hnid || *choice.hnid == 0 || !NamesHeapAllocation(*choice.hnid) ||
            !source.Heap().IsOwn(*choice.hnid))
            continue;
        if (!source.PassesBoundsTest(*choice.hnid))
            return HeapBody::Damaged;
        const auto bytes = source.Allocation(*choice.hnid);
        if (bytes && bytes->Size() != 0)
            mail->SetText(choice.target, choice.read(source, locator, *bytes));
        return HeapBody::Found;
    }
    return HeapBody::None;
}

/// Stored bytes of blocks that will be read at most. A tree may list more than there is.
std::size_t ExpectedBytes(const CSourceItem& source, const store::CDataBlocks& blocks)
{
    return static_cast<std::size_t>(std::min(blocks.LookUp().bytes, source.Source().reader.SourceSize()));
}

/// What bodies in subnodes are read from and by.
struct SubnodeReading {
    CSourceItem& source;
    const BodyLocator& locator;
    const std::string& runCodePage;
    const std::function<bool(std::uint64_t)>& allows;

    store::CBlockReader& Blocks() const { return source.Source().reader; }
    /// The data of the subnode that an HNID names; nothing when it names no subnode of the item.
    std::optional<store::CDataBlocks> Open(const std::optional<std::uint32_t>& hnid) const
    {
        if (!hnid || NamesHeapAllocation(*hnid))
            return std::nullopt;
        const auto& subnodes = source.Subnodes();
        const auto entry = std::ranges::find(subnodes, *hnid, &store::SubnodeEntry::nid);
        if (entry == subnodes.end())
            return std::nullopt;
        store::CDataBlocks blocks(Blocks(), store::LoadDataTree(Blocks(), entry->bidData));
        return allows(ExpectedBytes(source, blocks)) ? std::optional(std::move(blocks)) : std::nullopt;
    }
};

/// Large bodies come block by block and are never in memory beside their own text.
std::u16string NarrowTextOf(const CSourceItem& source, store::CDataBlocks blocks,
                            const platform::CCodePage& codePage)
{
    std::u16string text;
    platform::CTextDecoder decoder(codePage);
    text.reserve(ExpectedBytes(source, blocks));
    while (blocks.Next())
        decoder.Append(blocks.Contents(), text);
    decoder.Finish(text);
    return text;
}

/// A character may begin in one block and end in the next; half a one at the end is left out.
std::u16string WideTextOf(const CSourceItem& source, store::CDataBlocks blocks)
{
    std::u16string text;
    std::optional<std::byte> firstHalf;
    text.reserve(ExpectedBytes(source, blocks) / 2);
    while (blocks.Next()) {
        for (const std::byte byte : blocks.Contents()) {
            if (firstHalf) {
                text += static_cast<char16_t>(std::to_integer<unsigned>(*firstHalf) |
                                              std::to_integer<unsigned>(byte) << 8);
                firstHalf.reset();
            } else {
                firstHalf = byte;
            }
        }
    }
    return text;
}

bool WriteHtml(const SubnodeReading& reading, const CRef<IMessageItem>& mail)
{
    auto blocks = reading.Open(reading.locator.html);
    if (!blocks)
        return false;
    std::uint32_t number = reading.locator.htmlCodePage;
    std::string codePage = platform::CodePageName(number);
    if (codePage.empty()) {
        codePage = reading.runCodePage;
        number = platform::CodePageNumber(codePage);
    }
    const std::u16string text =
        NarrowTextOf(reading.source, std::move(*blocks), platform::CCodePage(codePage));
    if (text.empty())
        return false;
    // The component turns the text back into bytes as soon as it gets it.
    if (number != 0)
        mail->SetNumber(property::InternetCodepage, static_cast<std::int32_t>(number));
    mail->SetText(property::HtmlBody, text);
    return true;
}

void WritePlain(const SubnodeReading& reading, const CRef<IMessageItem>& mail)
{
    CSourceItem& source = reading.source;
    const auto& hnid = reading.locator.plain;
    std::u16string text;
    if (auto blocks = reading.Open(hnid)) {
        text = IsWide(source, reading.locator) ? WideTextOf(source, std::move(*blocks))
                                               : NarrowTextOf(source, std::move(*blocks), source.CodePage());
    } else if (hnid && NamesHeapAllocation(*hnid)) {
        // A small text beside a large body of another kind.
        text = PlainText(source, reading.locator, source.Allocation(*hnid).value_or(format::CByteView()));
    }
    if (!text.empty())
        mail->SetText(property::Body, text);
}

void WriteSubnodeBody(const SubnodeReading& reading, const CRef<IMessageItem>& mail)
{
    constexpr std::uint32_t kLargeMail = 4 << 20;  // bytes
    const bool plainOnly = reading.Blocks().Layout().variant != format::Variant::Unicode4k &&
                           reading.locator.messageSize > kLargeMail;
    if (plainOnly || !WriteHtml(reading, mail))
        WritePlain(reading, mail);
}

}  // namespace

void BodyLocator::Note(const store::PropertyRecord& record, store::FileKind kind)
{
    const bool isNumber = record.type == static_cast<std::uint16_t>(format::PropertyType::Integer32);
    switch (record.id) {
        case format::pid::kMessageSize:
            messageSize = isNumber ? record.value : messageSize;
            return;
        case format::pid::kInternetCodepage:
            htmlCodePage = isNumber ? record.value : htmlCodePage;
            return;
        case format::pid::kBody:
            plain = record.value;
            isPlainNarrow = record.type == static_cast<std::uint16_t>(format::PropertyType::String8);
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
    if (record.value != 0)  // an empty body decides nothing
        deciding = record.value;
}

bool WriteBody(CSourceItem& source, const BodyLocator& locator, const std::string& runCodePage,
               const std::function<bool(std::uint64_t)>& allows, const CRef<IMessageItem>& mail)
{
    if (locator.deciding == 0)
        return true;
    const SubnodeReading reading{source, locator, runCodePage, allows};
    if (!NamesHeapAllocation(locator.deciding)) {
        WriteSubnodeBody(reading, mail);
        return true;
    }
    const HeapBody found = WriteHeapBody(source, locator, mail);
    if (found == HeapBody::None)
        WritePlain(reading, mail);
    return found != HeapBody::Damaged;
}

}  // namespace pastille::recovery
