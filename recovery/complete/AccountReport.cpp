#include "recovery/complete/AccountReport.h"

#include <nlohmann/json.hpp>

#include <array>
#include <cstdio>
#include <span>
#include <system_error>

#include "platform/Text.h"

namespace pastille::recovery::complete {
namespace {

using nlohmann::ordered_json;
using platform::ToUtf8;

std::string Hex(std::uint64_t value, int digits = 1)
{
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "0x%0*llX", digits, static_cast<unsigned long long>(value));
    return text.data();
}

const char* NameOf(Loss::What what)
{
    switch (what) {
        case Loss::What::Item:
            return "item";
        case Loss::What::Properties:
            return "properties";
        case Loss::What::Property:
            return "property";
        case Loss::What::Recipients:
            return "recipients";
        case Loss::What::Attachments:
            return "attachments";
        case Loss::What::Attachment:
            return "attachment";
        case Loss::What::Content:
            return "attachment-content";
        case Loss::What::Message:
            return "attached-message";
        case Loss::What::OlderVersion:
            return "older-version";
        case Loss::What::Folder:
            return "folder";
        case Loss::What::UnknownItems:
            return "unknown-items";
        case Loss::What::Names:
            return "property-names";
    }
    return "";
}

const char* NameOf(store::complete::SourceFault::Reason reason)
{
    using Reason = store::complete::SourceFault::Reason;
    switch (reason) {
        case Reason::BlockMissing:
            return "block-missing";
        case Reason::BlockDamaged:
            return "block-damaged";
        case Reason::Structure:
            return "structure-damaged";
        case Reason::Limit:
            return "limit-reached";
    }
    return "";
}

const char* NameOf(format::Variant variant)
{
    switch (variant) {
        case format::Variant::Ansi:
            return "ansi";
        case format::Variant::Unicode:
            return "unicode";
        case format::Variant::Unicode4k:
            return "unicode-4k";
    }
    return "";
}

const char* NameOf(format::CryptMethod method)
{
    switch (method) {
        case format::CryptMethod::None:
            return "none";
        case format::CryptMethod::Permute:
            return "permute";
        case format::CryptMethod::Cyclic:
            return "cyclic";
    }
    return "";
}

ordered_json Counts(const ItemCounts& counts)
{
    return {{"expected", counts.expected},
            {"found", counts.found},
            {"written", counts.written},
            {"partial", counts.partial},
            {"lost", counts.lost}};
}

ordered_json FolderEntry(const FolderAccount& folder)
{
    ordered_json entry{{"path", ToUtf8(folder.path)}};
    if (folder.node != 0)
        entry["node"] = Hex(folder.node);
    if (folder.statedItems)
        entry["contentCount"] = *folder.statedItems;
    entry["items"] = Counts(folder.items);
    entry["associated"] = Counts(folder.associated);
    return entry;
}

ordered_json LossEntry(const CAccount& account, const Loss& loss)
{
    ordered_json entry{{"what", NameOf(loss.what)}, {"folder", ToUtf8(account.Folders()[loss.folder].path)}};
    if (loss.item.node != 0)
        entry["node"] = Hex(loss.item.node);
    if (!loss.item.subject.empty())
        entry["subject"] = ToUtf8(loss.item.subject);
    if (!loss.item.messageClass.empty())
        entry["messageClass"] = ToUtf8(loss.item.messageClass);
    if (loss.item.isAssociated)
        entry["associated"] = true;
    if (!loss.name.empty())
        entry["name"] = ToUtf8(loss.name);
    if (loss.tag)
        entry["property"] = Hex(*loss.tag, 8);
    if (loss.count != 1)
        entry["count"] = loss.count;
    if (loss.fault) {
        entry["why"] = NameOf(loss.fault->reason);
        if (loss.fault->bid != 0)
            entry["block"] = Hex(loss.fault->bid);
        if (loss.fault->offset)
            entry["offset"] = *loss.fault->offset;
    }
    return entry;
}

std::string Dump(const ordered_json& value, int indent = -1)
{
    return value.dump(indent, ' ', false, ordered_json::error_handler_t::replace);
}

/// Adds a member with a line for each entry behind the last one.
template <class Entries, class MakeEntry>
void AppendList(std::string& text, const char* name, const Entries& entries, const MakeEntry& makeEntry)
{
    text.append(",\n  \"").append(name).append("\": [");
    const char* separator = "\n    ";
    for (const auto& entry : entries) {
        text.append(separator).append(Dump(makeEntry(entry)));
        separator = ",\n    ";
    }
    text.append("\n  ]");
}

}  // namespace

std::string ReportText(const CAccount& account, const ReportFacts& facts)
{
    ordered_json report{{"report", "complete recovery"}, {"version", kReportVersion}};
    report["source"] = {{"path", ToUtf8(platform::PathText(facts.source))},
                        {"size", facts.sourceSize},
                        {"kind", facts.type.kind == store::FileKind::Ost ? "ost" : "pst"},
                        {"variant", NameOf(facts.type.variant)},
                        {"encoding", NameOf(facts.method)}};
    report["output"] = ToUtf8(platform::PathText(facts.output));
    report["smartScan"] = facts.smartScan;
    report["finished"] = facts.isFinished;
    report["total"] = Counts(account.Total());
    report["attachments"] = facts.attachments;
    report["attachedMessages"] = facts.embeddedMessages;
    report["missingAtEnd"] = account.MissingAtEnd();
    report["copiesLeftOut"] = account.LeftOut();
    report["damagedNodePages"] =
        facts.damagedNodePages ? nlohmann::ordered_json(*facts.damagedNodePages) : nullptr;
    report["moreLosses"] = account.MoreLosses();
    // The lists go entry by entry: as one object they would take many times their text.
    std::string text = Dump(report, 2);
    text.resize(text.rfind('\n'));
    AppendList(text, "folders", account.Folders(),
               [](const FolderAccount& folder) { return FolderEntry(folder); });
    AppendList(text, "losses", account.Losses(),
               [&account](const Loss& loss) { return LossEntry(account, loss); });
    return text + "\n}\n";
}

bool WriteReport(platform::IFileSystem& fileSystem, const std::filesystem::path& path,
                 const std::string& report)
try {
    fileSystem.Create(path)->WriteAt(0, std::as_bytes(std::span(report)));
    return true;
} catch (const std::system_error&) {
    fileSystem.Remove(path);
    return false;
}

}  // namespace pastille::recovery::complete
