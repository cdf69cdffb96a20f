#include "recovery/complete/PropertyCopier.h"

#include <algorithm>
#include <vector>

#include "format/PropertyIds.h"
#include "recovery/Guarded.h"

namespace pastille::recovery::complete {
namespace {

using format::PropertyTag;
using format::PropertyType;
using store::complete::CNodeStream;
using store::complete::FoundValue;
using store::complete::SourceFault;

/// Of several texts in one value.
constexpr std::size_t kMostTextsBytes = 64u << 20;

/// The type that a value has in the new store, whose texts are all UTF-16.
PropertyType TargetType(PropertyType type)
{
    switch (type) {
        case PropertyType::String8:
            return PropertyType::String;
        case PropertyType::MultipleString8:
            return PropertyType::MultipleString;
        default:
            return type;
    }
}

/// True where a hole had better be left out than filled: zeros end a text for most readers.
bool IsText(PropertyTag tag)
{
    return tag.type == PropertyType::String || tag.type == PropertyType::String8 ||
           tag.id == format::pid::kHtml;
}

/// True for a text with a zero in it. In a damaged block that is what was zeroed with its sector.
bool HasZeroUnit(PropertyType type, std::span<const std::byte> bytes)
{
    const std::size_t unit = type == PropertyType::String ? 2 : type == PropertyType::String8 ? 1 : 0;
    for (std::size_t i = 0; unit != 0 && i + unit <= bytes.size(); i += unit) {
        if (bytes[i] == std::byte{0} && bytes[i + unit - 1] == std::byte{0})
            return true;
    }
    return false;
}

std::vector<std::byte> ReadAll(platform::IByteStream& stream, std::size_t mostBytes)
{
    std::vector<std::byte> bytes;
    for (std::size_t got = 1; got != 0 && bytes.size() < mostBytes;) {
        constexpr std::size_t kStep = 65'536;
        const std::size_t done = bytes.size();
        bytes.resize(std::min(done + kStep, mostBytes));
        got = stream.Read(std::span(bytes).subspan(done));
        bytes.resize(done + got);
    }
    return bytes;
}

/// The stored form of several texts; their damaged parts are not there.
std::vector<std::byte> DecodeTexts(std::span<const std::byte> stored, const CItemText& text)
{
    std::vector<std::vector<std::byte>> decoded;
    if (const auto elements = format::SplitMultiple(format::CByteView(stored))) {
        for (const format::CByteView element : *elements)
            decoded.push_back(text.DecodeStored(element.Bytes()));
    }
    return format::JoinMultiple(decoded);
}

}  // namespace

void CPropertyCopier::Copy(store::complete::CFoundObject& from, writer::IPropertyTarget& to,
                           const CItemText& text, const LossSink& lost)
{
    for (const format::PropertyContextRecord& record : from.Records()) {
        if (record.tag.type == PropertyType::Object) {
            if (record.tag.id != format::pid::kAttachDataBinary)
                lost(record.tag, std::nullopt, false);
            continue;
        }
        FoundValue value = from.Value(record);
        if (from.Fault() && HasZeroUnit(record.tag.type, value.bytes)) {
            value.isThere = false;
            value.fault = from.Fault();
        }
        if (!CopyValue(record.tag, value, to, text, lost))
            lost(record.tag, value.fault, false);
    }
}

void CPropertyCopier::CopyRow(store::complete::CFoundTable& table, const store::complete::FoundRow& row,
                              writer::IPropertyTarget& to, const CItemText& text, const LossSink& lost)
{
    for (const format::TableColumn& column : table.Info().columns) {
        if (column.tag.id == format::pid::kLtpRowId || column.tag.id == format::pid::kLtpRowVer)
            continue;
        FoundValue value = table.Cell(row, column);
        const bool isSet = value.isThere || value.fault;
        if (isSet && !CopyValue(column.tag, value, to, text, lost))
            lost(column.tag, value.fault, false);
    }
}

bool CPropertyCopier::CopyValue(PropertyTag tag, FoundValue& value, writer::IPropertyTarget& to,
                                const CItemText& text, const LossSink& lost)
{
    if (!value.isThere)
        return false;
    if (!value.tree && !m_allowance.Spend(value.bytes.size())) {
        value.fault = SourceFault{SourceFault::Reason::Limit, 0, std::nullopt};
        return false;
    }
    bool isWhole = true;
    const bool isSet = Guarded([&] {
        const PropertyTag target{m_names.TargetId(tag.id), TargetType(tag.type)};
        isWhole = value.tree ? SetTree(tag, target, *value.tree, to, text)
                             : SetBytes(tag, target, value.bytes, to, text);
    });
    if (isSet && !isWhole)
        lost(tag, value.tree ? value.tree->Fault() : std::nullopt, true);
    return isSet;
}

/// False when something of the value is missing.
bool CPropertyCopier::SetTree(PropertyTag tag, PropertyTag target, store::complete::CNodeData& tree,
                              writer::IPropertyTarget& to, const CItemText& text)
{
    CNodeStream blocks(tree, IsText(tag) ? CNodeStream::Holes::LeftOut : CNodeStream::Holes::Zeros);
    CAllowedStream stream(blocks, m_allowance);
    if (tag.type == PropertyType::String8) {
        CDecodedStream decoded(stream, text);
        to.SetProperty(target, decoded);
    } else if (tag.type == PropertyType::MultipleString8) {
        to.SetProperty(target, DecodeTexts(ReadAll(stream, kMostTextsBytes), text));
    } else {
        to.SetProperty(target, stream);
    }
    return !tree.Fault() && !stream.IsCut();
}

/// False for a value that the target has no place for; what a store keeps itself is no loss.
bool CPropertyCopier::SetBytes(PropertyTag tag, PropertyTag target, std::span<const std::byte> bytes,
                               writer::IPropertyTarget& to, const CItemText& text)
{
    const bool isKept = tag.type == PropertyType::String8 ? to.SetProperty(target, text.DecodeStored(bytes))
                        : tag.type == PropertyType::MultipleString8
                            ? to.SetProperty(target, DecodeTexts(bytes, text))
                            : to.SetProperty(target, bytes);
    return isKept || tag.id != format::pid::kContainerClass;
}

}  // namespace pastille::recovery::complete
