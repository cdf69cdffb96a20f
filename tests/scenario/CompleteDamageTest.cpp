#include <gtest/gtest.h>

#include <algorithm>

#include "platform/Text.h"
#include "tests/scenario/CompleteRun.h"
#include "tests/scenario/Damages.h"
#include "tests/scenario/NumberedMails.h"
#include "tests/support/WholeCompare.h"

namespace pastille::tests {
namespace {

using format::Variant;
using nlohmann::json;
namespace pid = format::pid;

struct CompleteDamage {
    const char* name;
    Cost cost;
    void (*apply)(CStoreDamage damage, std::uint64_t size);
    std::int64_t moved = 0;  ///< bytes that everything behind the damage lies further back
    bool smartScan = false;
};

std::vector<CompleteDamage> AllDamages()
{
    std::vector<CompleteDamage> all = {
        {"100 bytes inserted", Cost::Parts, [](auto d, auto size) { d.Insert(Middle(size), 100); }, 100},
        {"7 bytes inserted", Cost::Parts, [](auto d, auto size) { d.Insert(Middle(size) + 33, 7); }, 7},
        {"bytes lost", Cost::Parts, [](auto d, auto size) { d.Remove(Middle(size), 1300); }, -1300},
        {"magic lost", Cost::Nothing, [](auto d, auto) { d.SetClientMagic(0); }},
        {"header zero", Cost::Nothing, [](auto d, auto) { d.ZeroHeader(); }},
        {"crypt byte wrong", Cost::Nothing, [](auto d, auto) { d.SetCryptByte(2); }},
        {"node leaves lost", Cost::Parts, [](auto d, auto) { d.Drop(PlaceKind::NbtLeaf).DropOldNodePages(); },
         0, true},
        {"block pages lost", Cost::Nothing,
         [](auto d, auto) { d.Drop(PlaceKind::BbtLeaf).Drop(PlaceKind::BbtIndex).ZeroRoot(); }},
        {"a bit in all pages' checksums", Cost::Nothing, [](auto d, auto) { d.FlipPageSums(); }}};
    for (const Damage& damage : kDamages)
        all.push_back({damage.name, damage.cost, damage.apply, static_cast<std::int64_t>(damage.inserted)});
    for (const bool smartScan : {false, true})
        all.push_back({"half of the node leaves lost", Cost::Parts,
                       [](auto d, auto) { d.DropEveryThird(PlaceKind::NbtLeaf).Drop(PlaceKind::NbtLeaf, 2); },
                       0, smartScan});
    return all;
}

/// Holds what comes back of a damaged store against what must.
class CCompleteCase {
public:
    CCompleteCase(Variant variant, const CompleteDamage& damage)
        : m_sound(NumberedMails(variant)),
          m_items(ItemsOfNumberedMails(variant)),
          m_damage(damage),
          m_damaged(Damaged())
    {
    }

    void Check()
    {
        CCompleteRun run(m_damaged, {.smartScan = m_damage.smartScan, .kind = platform::SourceKind::Pst});
        for (std::uint32_t i = 0; i < kItems; ++i)
            CheckItem(run, i);
        EXPECT_EQ(Joined(Differences(m_expected, m_found)), "");
        EXPECT_LE(run.ItemsOf(SubjectOf(kDeleted)).size(), 1u);
        const std::size_t items = run.Store().CountItems(false) + run.Store().CountItems(true);
        EXPECT_TRUE(items <= kItems + 1 || m_damage.cost != Cost::Nothing) << items << " items";
    }

private:
    Bytes Damaged() const
    {
        std::uint64_t size = 0;
        for (const StorePlace& place : m_sound.Directory().places)
            size = std::max(size, place.offset + place.extent);
        CMemoryFile file(m_sound.Content());
        m_damage.apply(CStoreDamage(file, m_sound.Directory(), m_sound.Format()), size);
        return file.Content();
    }

    bool IsThere(std::uint64_t offset, std::uint64_t length) const
    {
        const auto before = std::span(m_sound.Content()).subspan(offset, length);
        for (const std::int64_t moved : {std::int64_t{0}, m_damage.moved}) {
            const auto at = static_cast<std::int64_t>(offset) + moved;
            if (at >= 0 && static_cast<std::uint64_t>(at) + length <= m_damaged.size() &&
                std::ranges::equal(before,
                                   std::span(m_damaged).subspan(static_cast<std::size_t>(at), length)))
                return true;
        }
        return false;
    }

    /// The blocks of everything that the label begins the name of, and the trailers by which they are known.
    bool IsWhole(const std::string& label, bool withTrailers = true) const
    {
        const auto& layout = format::LayoutOf(m_sound.Format().variant);
        return std::ranges::all_of(m_sound.Directory().places, [&](const StorePlace& place) {
            return !place.name.starts_with(label + "/") ||
                   (IsThere(place.offset, place.stored) &&
                    (!withTrailers || IsThere(place.offset + place.extent - layout.blockTrailerSize,
                                              layout.blockTrailerSize)));
        });
    }

    bool HasNode(const std::string& label) const
    {
        const std::size_t size = format::LayoutOf(m_sound.Format().variant).pageSize;
        return IsThere(m_sound.Directory().nodeEntries.at(m_sound.Nid(label)) / size * size, size);
    }

    bool IsFolderWhole(std::uint32_t number) const
    {
        std::vector<std::string> folders = {"Top of Personal Folders", "Inbox"};
        if (FolderOf(number) != "/Inbox")
            folders = {"Top of Personal Folders", "Projects", "Old"};
        return std::ranges::all_of(folders, [&](const std::string& folder) {
            return HasNode("folder " + folder) && IsWhole("folder " + folder);
        });
    }

    void CheckItem(const CCompleteRun& run, std::uint32_t number)
    {
        const std::string label = LabelOf(number);
        const bool isSure = m_damage.cost == Cost::Nothing;
        const bool hasNode = HasNode(label);
        const std::string table = "folder " + std::string(FolderOf(number) == "/Inbox" ? "Inbox" : "Old") +
                                  (number == kHidden ? "/associated" : "/contents");
        const bool isListed = IsFolderWhole(number) && HasNode(table);
        const auto items = run.ItemsOf(SubjectOf(number));
        EXPECT_TRUE(items.size() <= 1 || m_damage.cost == Cost::Mixture) << label << " twice";
        if (number == kSuperseded && !hasNode)
            return;  // an older page may be the newest one now
        const auto losses = run.LossesOf(m_sound.Nid(label), platform::ToUtf8(SubjectOf(number)));
        const bool isReached = hasNode || m_damage.smartScan;
        if (isSure || (IsWhole(label) && isReached)) {
            EXPECT_EQ(items.size(), 1u) << label << " is lost";
            if (!items.empty())
                Compare(run, number, isSure || (hasNode ? IsFolderWhole(number) : isListed));
            if (hasNode && IsWhole(label)) {
                EXPECT_TRUE(losses.empty()) << label << ": " << losses.front();
            }
        } else if (isListed && !(isReached && IsWhole(label, false))) {
            EXPECT_FALSE(losses.empty()) << label << " is not told of";
        }
    }

    /// What the damage takes from every item: names of properties, and how sure it is of attachments' bytes.
    void Reduce(WholeMessage& item, bool hasNames, bool isSure) const
    {
        std::erase_if(item.properties, [&](const auto& property) {
            return !hasNames && std::holds_alternative<format::PropertyName>(property.first);
        });
        for (WholeAttachment& attachment : item.attachments) {
            for (const std::uint16_t id : {pid::kAttachLongFilename, pid::kAttachFilename, pid::kDisplayName})
                isSure ? 0 : attachment.properties.erase(id);
            for (WholeMessage& inner : attachment.embedded)
                Reduce(inner, hasNames, isSure);
        }
    }

    /// Adds an item to the stores that are compared: in its folder, or where that is open in one of no name.
    void Compare(const CCompleteRun& run, std::uint32_t number, bool isPlaced)
    {
        std::string folder, path = FolderOf(number);
        WholeMessage copy = *run.ItemsOf(SubjectOf(number), &folder).front();
        WholeMessage sound;
        for (const WholeMessage& item : m_items.folders.at(path).items) {
            if (TextOf(item.properties, pid::kSubject) == SubjectOf(number))
                sound = item;
        }
        const bool hasNames = m_damage.cost == Cost::Nothing || IsWhole("name map");
        EXPECT_TRUE(hasNames || m_damage.cost == Cost::Mixture || !run.LossesOf("property-names").empty())
            << "names are not told of";
        for (WholeMessage* const item : {&copy, &sound})
            Reduce(*item, hasNames, IsWhole(LabelOf(number)));
        m_expected.folders[isPlaced ? path : "?"].items.push_back(sound);
        m_found.folders[isPlaced ? folder : "?"].items.push_back(copy);
        if (isPlaced && run.Store().folders.contains(path)) {
            m_expected.folders[path].properties = m_items.folders.at(path).properties;
            m_found.folders[path].properties = run.Store().folders.at(path).properties;
        }
    }

    const CBuiltStore& m_sound;
    const WholeStore& m_items;
    const CompleteDamage& m_damage;
    Bytes m_damaged;
    WholeStore m_expected, m_found;
};

class CompleteDamages : public testing::TestWithParam<Variant> {};

TEST_P(CompleteDamages, WhatIsWholeComesBackOnceAndLossesAreTold)
{
    std::size_t turn = static_cast<std::size_t>(GetParam());
    for (CompleteDamage damage : AllDamages()) {
        if (++turn % std::size(kAllVariants) != 0)
            continue;  // variants and kinds of scan take turns
        damage.smartScan = damage.smartScan || turn % 2 == 0;
        SCOPED_TRACE(std::string(damage.name) + (damage.smartScan ? ", Smart Scan" : ""));
        CCompleteCase(GetParam(), damage).Check();
    }
}

INSTANTIATE_TEST_SUITE_P(Variants, CompleteDamages, testing::ValuesIn(kAllVariants), NameOfVariant);

}  // namespace
}  // namespace pastille::tests
