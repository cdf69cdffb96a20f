#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "store/DamageMap.h"
#include "tests/store/LoadedStore.h"

namespace pastille::tests {
namespace {

constexpr std::uint64_t kStretch = store::DamageMap::kStretchBytes;

/// Attachments on 2 MiB of blocks, a few mails, and what is left over of an older file: a page that names two
/// blocks where now others lie, and one in free space.
CBuiltStore LongStore(format::Variant variant)
{
    StoreDescription description;
    description.format = FormatOf(variant);
    description.format.packing = Packing::None;
    description.format.blocksPerPage = 10;
    description.format.reservedPageSlots = 400;  // so that the trees survive the loss of the file's end
    description.folders = {{.name = u"Inbox"}};
    for (int i = 0; i < 2; ++i) {
        StoreMessage mail = Mail(u"subject", u"sender", u"body", 0);
        mail.label = "mail" + std::to_string(i);
        mail.attachments = {{.fileName = u"a.bin", .data = Bytes(kStretch, std::byte{7}), .inSubnode = true}};
        description.folders.front().messages.push_back(mail);
    }
    description.beforeTrees = [](CStoreFile& file) {
        const auto& live = file.Blocks();
        const std::uint64_t used = live.at(live.size() / 2).ib;
        file.WriteBbtPage(
            {{.bid = 0x700000, .ib = used, .cb = 100}, {.bid = 0x700004, .ib = used + 64, .cb = 800}});
    };
    return CBuiltStore(description);
}

/// The map as a text, one character a stretch.
std::string MapOf(store::CSourceStore& source)
{
    const auto map = store::MapDamage(source, [](std::uint64_t) { return true; });
    std::string text;
    for (const auto stretch : map ? map->stretches : decltype(map->stretches)())
        text += ".x?"[static_cast<int>(stretch)];
    return text;
}

/// A text of `size` bytes' stretches with `mark` where [start, end) lies.
std::string Marked(std::uint64_t size, std::uint64_t start, std::uint64_t end, char mark)
{
    std::string text((size + kStretch - 1) / kStretch, '.');
    for (std::uint64_t i = start / kStretch; i * kStretch < end && i < text.size(); ++i)
        text[i] = mark;
    return text;
}

class DamageMap : public testing::TestWithParam<format::Variant> {
protected:
    /// The block in the middle of the file.
    static StorePlace MiddleBlock(const CBuiltStore& store)
    {
        const auto blocks = store.Directory().All(PlaceKind::Data);
        return blocks.at(blocks.size() / 2);
    }
};

TEST_P(DamageMap, ASoundFileIsGoodWhateverItsOldPagesName)
{
    const CBuiltStore store = LongStore(GetParam());
    CLoadedStore loaded(store);
    const std::string map = MapOf(loaded.source);
    EXPECT_GE(map.size(), 3u);
    EXPECT_EQ(map, Marked(store.Content().size(), 0, 0, 'x'));
}

TEST_P(DamageMap, DamageShowsWhereItIs)
{
    struct Case {
        const char* name;
        /// Damages the store and returns the stretch of the file that is bad.
        std::function<std::pair<std::uint64_t, std::uint64_t>(CBuiltStore&)> damage;
    };
    const auto block = [](std::uint64_t at, std::uint64_t length) {
        return [=](CBuiltStore& store) {
            const StorePlace place = MiddleBlock(store);
            store.Damage().Zero(place.offset + at, length);
            return std::pair(place.offset, place.offset + place.extent);
        };
    };
    const auto page = [](PlaceKind kind) {
        return [=](CBuiltStore& store) {
            const StorePlace place = store.Directory().All(kind).at(0);
            store.Damage().FlipBits(place.offset + 3, 1);
            return std::pair(place.offset, place.offset + place.extent);
        };
    };
    const Case cases[] = {
        {"a sector of a block", block(1024, 512)},
        {"a bit in a block",
         [](CBuiltStore& store) {
             const StorePlace place = MiddleBlock(store);
             store.Damage().FlipBits(place.offset + 700, 0x10);
             return std::pair(place.offset, place.offset + place.extent);
         }},
        {"a bit in a node page", page(PlaceKind::NbtLeaf)},
        {"a bit in an inner block page", page(PlaceKind::BbtIndex)},
        {"the header",
         [](CBuiltStore& store) {
             store.Damage().ZeroRoot();
             return std::pair<std::uint64_t, std::uint64_t>(0, 1);
         }},
        {"an allocation map", page(PlaceKind::AMap)},
        {"a long run",
         [](CBuiltStore& store) {
             const StorePlace first = MiddleBlock(store);
             std::uint64_t end = first.offset;
             for (const StorePlace& place : store.Directory().All(PlaceKind::Data)) {
                 if (place.offset < first.offset + kStretch)
                     end = std::max(end, place.offset + place.extent);
             }
             store.Damage().Zero(first.offset, end - first.offset);
             return std::pair(first.offset, end);
         }},
    };
    CBuiltStore store = LongStore(GetParam());
    const Bytes sound = store.Content();
    for (const Case& row : cases) {
        SCOPED_TRACE(row.name);
        store.Damage().Write(0, sound);
        const auto [start, end] = row.damage(store);
        CLoadedStore loaded(store);
        EXPECT_EQ(MapOf(loaded.source), Marked(store.Content().size(), start, end, 'x'));
    }
}

TEST_P(DamageMap, ATruncatedFileIsDamagedAtItsEnd)
{
    CBuiltStore store = LongStore(GetParam());
    const StorePlace cut = MiddleBlock(store);
    Bytes bytes = store.Content();
    bytes.resize(cut.offset + 1000);
    CLoadedStore loaded(bytes);
    EXPECT_EQ(MapOf(loaded.source), Marked(bytes.size(), cut.offset, bytes.size(), 'x'));
}

TEST_P(DamageMap, WhatCannotBeReadIsKnownExactly)
{
    const CBuiltStore store = LongStore(GetParam());
    const StorePlace place = MiddleBlock(store);
    CMemoryFileSystem memory(store.Content());
    CFaultyFileSystem files({.unreadable = {{place.offset, 512}}}, memory);
    CLoadedStore loaded(store);
    ASSERT_TRUE(loaded.source.file.Open(files, "source.pst"));
    EXPECT_EQ(MapOf(loaded.source), Marked(store.Content().size(), place.offset, place.offset + 512, '?'));
}

INSTANTIATE_TEST_SUITE_P(EveryVariant, DamageMap, testing::ValuesIn(kAllVariants),
                         [](const auto& param) { return VariantName(param.param); });

}  // namespace
}  // namespace pastille::tests
