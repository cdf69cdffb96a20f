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
constexpr std::uint64_t kMostTextsBytes = 64u << 20;

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
        if (record.tag.type == PropertyType::Object)
            continue;
        FoundValue value = from.Value(record);
        if (!CopyValue(record.tag, value, to, text, lost))
            lost(record.tag, value.fault);
    }
}

void CPropertyCopier::CopyRow(store::complete::CFoundTable& table, const store::complete::FoundRow& row,
                              writer::IPropertyTarget& to, const CItemText& text, const LossSink& lost)
{
    for (const format::TableColumn& column : table.Info().columns) {
        FoundValue value = table.Cell(row, column);
        const bool isSet = value.isThere || value.fault;
        if (isSet && !CopyValue(column.tag, value, to, text, lost))
            lost(column.tag, value.fault);
    }
}

bool CPropertyCopier::CopyValue(PropertyTag tag, FoundValue& value, writer::IPropertyTarget& to,
                                const CItemText& text, const LossSink& lost)
{
    if (!value.isThere)
        return false;
    if (!m_allowance.Spend(value.Size())) {
        value.fault = SourceFault{SourceFault::Reason::Limit, 0, std::nullopt};
        return false;
    }
    const bool isSet = Guarded([&] {
        const PropertyTag target{m_names.TargetId(tag.id), TargetType(tag.type)};
        if (value.tree)
            SetTree(tag, target, *value.tree, to, text);
        else
            SetBytes(tag, target, value.bytes, to, text);
    });
    if (isSet && value.tree && value.tree->Fault())
        lost(tag, value.tree->Fault());
    return isSet;
}

void CPropertyCopier::SetTree(PropertyTag tag, PropertyTag target, store::complete::CNodeData& tree,
                              writer::IPropertyTarget& to, const CItemText& text)
{
    CNodeStream stream(tree, IsText(tag) ? CNodeStream::Holes::LeftOut : CNodeStream::Holes::Zeros);
    if (tag.type == PropertyType::String8) {
        CDecodedStream decoded(stream, text);
        to.SetProperty(target, decoded);
    } else if (tag.type == PropertyType::MultipleString8) {
        std::vector<std::byte> bytes(static_cast<std::size_t>(std::min(tree.Size(), kMostTextsBytes)));
        std::size_t done = 0;
        while (const std::size_t got = stream.Read(std::span(bytes).subspan(done)))
            done += got;
        bytes.resize(done);
        to.SetProperty(target, DecodeTexts(bytes, text));
    } else {
        to.SetProperty(target, stream);
    }
}

void CPropertyCopier::SetBytes(PropertyTag tag, PropertyTag target, std::span<const std::byte> bytes,
                               writer::IPropertyTarget& to, const CItemText& text)
{
    if (tag.type == PropertyType::String8)
        to.SetProperty(target, text.DecodeStored(bytes));
    else if (tag.type == PropertyType::MultipleString8)
        to.SetProperty(target, DecodeTexts(bytes, text));
    else
        to.SetProperty(target, bytes);
}

}  // namespace pastille::recovery::complete
