#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "tests/scenario/Repair.h"
#include "tests/support/OutsideReaders.h"
#include "tests/support/Samples.h"

namespace pastille::tests {
namespace {

using SampleItems = std::vector<FoundItem>;

/// The fallback folder as pffexport names it.
constexpr std::string_view kLostAndFound = "/Lost _ Found";

/// A time as far as OLE dates keep it: to the millisecond. Other texts as they are.
std::string Millisecond(const std::string& text)
{
    return text.ends_with(" UTC") ? text.substr(0, text.find('.') + 4) : text;
}

/// Lines of the forms that no item but a mail brings back: what a new item has of its own, recurrences, and a
/// second name of distribution lists.
const std::set<std::string> kNotKept = {
    "Client submit time", "Creation time",        "Modification time",  "Size",       "Flags",
    "File under",         "Importance",           "Priority",           "Is private", "Name",
    "Recurrence pattern", "First effective time", "Last effective time"};

/// What of the source's item is not in the new one, as text; "" when all is there.
std::string Lost(const FoundItem& source, const FoundItem& found)
{
    std::string lost;
    for (const auto& [label, text] : source.lines) {
        const std::string now = found.Line(label);
        const bool isNothing = text.empty() || (text == "no" && now.empty());
        if (!isNothing && !kNotKept.contains(label) && Millisecond(now) != Millisecond(text))
            lost.append(label).append(" '" + text + "' is '" + now + "'; ");
    }
    return lost;
}

/// True when every body of the new mail is the source's of that kind, and there is one when there must be:
/// HTML in the mail's own heap and RTF in a node of its own do not come back.
bool HasBodyOf(const FoundItem& found, const FoundItem& source)
{
    for (const auto& [kind, bytes] : found.bodies) {
        const auto body = source.bodies.find(kind);
        if (body == source.bodies.end() || body->second != bytes)
            return false;
    }
    const auto plain = source.bodies.find(".txt");
    return !found.bodies.empty() || plain == source.bodies.end() || plain->second.empty();
}

bool HasAttachmentsOf(const FoundItem& found, const FoundItem& source);

/// True when `found` can be what a repair made of the mail `source`.
bool IsMailOf(const FoundItem& found, const FoundItem& source)
{
    return found.kind == source.kind && found.Line("Subject") == source.Line("Subject") &&
           Millisecond(found.Line("Client submit time")) == Millisecond(source.Line("Client submit time")) &&
           HasBodyOf(found, source) && HasAttachmentsOf(found, source);
}

/// True for the mail that stands for an attached message whose class belongs to no item.
bool IsStandInFor(const FoundItem& found, const FoundItem& source)
{
    return found.Line("Subject") == "UnKnown" && HasAttachmentsOf(found, source);
}

bool IsEmbeddedOf(const FoundItem& found, const FoundItem& source)
{
    if (IsStandInFor(found, source))
        return true;
    return source.kind == "Message" ? IsMailOf(found, source)
                                    : found.kind == source.kind && Lost(source, found).empty();
}

/// The first six characters that a short file name has, and its extension.
std::string ShortForm(std::string name)
{
    std::erase(name, ' ');
    std::transform(name.begin(), name.end(), name.begin(), [](unsigned char c) { return std::tolower(c); });
    const std::size_t dot = std::min(name.rfind('.'), name.size());
    return name.substr(0, std::min<std::size_t>(dot, 6)) + name.substr(dot);
}

/// What pffexport calls an attachment that has no file name.
constexpr std::string_view kNameless = "Attachment.txt";

/// Attachments without a display name come back under their short file name, those without a file name under
/// their display name.
bool IsAttachmentOf(const FoundAttachment& found, const FoundAttachment& source)
{
    return found.data == source.data &&
           (source.fileName == kNameless || ShortForm(found.fileName) == ShortForm(source.fileName));
}

/// True when each of `source` has one of `found` to itself, and none is left over.
template <class T, class Predicate>
bool IsMatch(std::vector<const T*> found, const std::vector<const T*>& source, Predicate isOneOf)
{
    for (const T* const one : source) {
        const auto twin =
            std::find_if(found.begin(), found.end(), [&](const T* other) { return isOneOf(*other, *one); });
        if (twin == found.end())
            return false;
        found.erase(twin);
    }
    return found.empty();
}

bool HasAttachmentsOf(const FoundItem& found, const FoundItem& source)
{
    return IsMatch(found.Files(), source.Files(), IsAttachmentOf) &&
           IsMatch(found.Embedded(), source.Embedded(), IsEmbeddedOf);
}

/// Every mail must be there, in its folder, with a body of its own and all its attachments.
void ExpectMails(const SampleItems& source, SampleItems found)
{
    for (const FoundItem& item : source) {
        if (item.kind != "Message")
            continue;
        const auto twin = std::find_if(found.begin(), found.end(), [&](const FoundItem& candidate) {
            return candidate.folder == item.folder && IsMailOf(candidate, item);
        });
        EXPECT_TRUE(twin != found.end()) << "lost: " << testing::PrintToString(item);
        if (twin != found.end())
            found.erase(twin);
    }
}

/// Every contact, appointment and the like must be there with its details. Files attached to it come back on
/// a mail of their own; exceptions of a recurrence do not.
void ExpectOtherItems(const SampleItems& source, const SampleItems& found)
{
    for (const FoundItem& item : source) {
        if (item.kind == "Message")
            continue;
        std::string lost = "the item";
        for (const FoundItem& candidate : found) {
            if (candidate.kind == item.kind && candidate.folder == item.folder && !lost.empty())
                lost = Lost(item, candidate);
        }
        EXPECT_EQ(lost, "") << testing::PrintToString(item);
        const bool isKept = std::any_of(found.begin(), found.end(), [&](const FoundItem& holder) {
            return holder.folder == kLostAndFound && holder.Line("Subject") == "UnKnown" &&
                   IsMatch(holder.Files(), item.Files(), IsAttachmentOf);
        });
        EXPECT_TRUE(item.Files().empty() || isKept)
            << "lost what is attached to: " << testing::PrintToString(item);
    }
}

void AddAttachments(const SampleItems& items, std::set<Bytes>& files)
{
    for (const FoundItem& item : items) {
        for (const FoundAttachment& attachment : item.attachments) {
            if (!attachment.fileName.empty())
                files.insert(attachment.data);
            AddAttachments(attachment.embedded, files);
        }
    }
}

/// Repairs `repair`'s source; the result must hold everything of the sample and no attachment of any other.
/// False when there is no outside reader.
bool ExpectContentsOf(const std::filesystem::path& sample, CRepair& repair)
{
    repair.settings.codePage = CodePageOf(sample);
    const auto source = ReadItemsWithPffexport(
        sample, {.values = false, .codePage = repair.settings.codePage, .store = OfStore::MayBeDamaged});
    if (!source)
        return false;
    repair.Run();
    EXPECT_FALSE(repair.state.failed) << repair.frontEnd.Boxes();
    const auto found = ReadItemsWithPffexport(repair.state.outputPath, {.values = false});
    if (!found) {
        ADD_FAILURE() << "the new store cannot be read by others";
        return true;
    }
    ExpectMails(*source, *found);
    ExpectOtherItems(*source, *found);
    // Not every store is one for the second reader. There may be more: a mail comes back from superseded
    // pages, too.
    if (const auto before = CountWithReadpst(sample, OfStore::MayBeDamaged)) {
        const auto after = CountWithReadpst(repair.state.outputPath);
        EXPECT_GE(after ? after->messages : 0, before->messages);
    }
    std::set<Bytes> before, after;
    AddAttachments(*source, before);
    AddAttachments(*found, after);
    EXPECT_TRUE(std::includes(before.begin(), before.end(), after.begin(), after.end()))
        << "an attachment came from nowhere";
    return true;
}

TEST(Samples, ContentsComeBack)
{
    const auto samples = Samples();
    if (samples.empty())
        GTEST_SKIP() << "no real store files: set PASTILLE_SAMPLES to a folder of them";
    for (const auto& sample : samples) {
        SCOPED_TRACE(sample);
        CRepair repair(sample);
        if (!ExpectContentsOf(sample, repair))
            GTEST_SKIP() << "pffexport is not installed";
    }
}

}  // namespace
}  // namespace pastille::tests
