#include "store/FolderProperties.h"

#include <gtest/gtest.h>

#include <random>

#include "format/Bytes.h"
#include "store/DataTree.h"
#include "store/HeapBlock.h"
#include "tests/store/LoadedStore.h"

namespace pastille::tests {
namespace {

using format::Variant;

StoredProperty Value(const StoreProperty& property)
{
    return {property.type, property.value, property.hnid, false};
}

using Context = std::map<std::uint16_t, StoredProperty>;

const platform::CCodePage& CodePage()
{
    static const platform::CCodePage codePage("windows-1252");
    return codePage;
}

/// Reads a property context as a folder from a store that holds it.
std::optional<store::FolderProperties> Read(const std::vector<Bytes>& blocks, StoreFormat format = {})
{
    StoreDescription description;
    description.format = format;
    std::uint64_t bid = 0;
    description.beforeTrees = [&](CStoreFile& store) {
        for (const Bytes& block : blocks) {
            const std::uint64_t written = store.WriteBlock(block);
            bid = bid == 0 ? written : bid;
        }
    };
    CLoadedStore loaded{CBuiltStore(description)};
    EXPECT_TRUE(loaded.Detect(0x8022));
    return store::ReadFolderProperties(
        loaded.source.reader, *loaded.source.blocks.Find(static_cast<std::uint32_t>(bid)), CodePage());
}

std::optional<store::FolderProperties> Read(const Context& properties, StoreFormat format = {})
{
    return Read(BuildPropertyContext(properties, {}, 8176, 16).Finish(), format);
}

TEST(FolderProperties, WhatHasAMessageClassOrNoDisplayNameIsNoFolder)
{
    EXPECT_FALSE(Read(Context{{0x001A, Value(Text(0, u"IPM.Note"))}, {0x3001, Value(Text(0, u"Name"))}}));
    EXPECT_FALSE(Read(Context{{0x3602, Value(Number(0, 1))}, {0x3613, Value(Text(0, u"IPF.Note"))}}));
    EXPECT_FALSE(Read(Context{{0x3602, Value(Number(0, 1))}}));
}

TEST(FolderProperties, ANameThatIsNoTextIsEmptyButTheFolderStays)
{
    std::u16string noise;
    for (int i = 0; i < 20; ++i)
        noise += {static_cast<char16_t>(0xDC00 + 0x31 * i), char16_t{0xFFFF}, static_cast<char16_t>(i + 1)};
    const auto folder = Read(Context{{0x3001, Value(Text(0, noise))}, {0x3613, Value(Text(0, u"IPF.Note"))}});
    ASSERT_TRUE(folder);
    EXPECT_EQ(folder->name, u"");
    EXPECT_EQ(folder->containerClass, u"IPF.Note");
    for (const std::u16string_view name : {u"Inbox", u"A", u"Posteingang (2)", u"Входящие", u"受信トレイ"})
        EXPECT_EQ(Read(Context{{0x3001, Value(Text(0, name))}})->name, name);
}

TEST(FolderProperties, ValuesOutsideTheFirstBlockAreOutOfRange)
{
    CHeapBuilder heap(0xBC, 8176, 16);
    Bytes header{std::byte{0xB5}, std::byte{2}, std::byte{6}, std::byte{0}};
    header.resize(8);
    format::StoreLE(std::span(header), 4, 0x40u);
    heap.SetUserRoot(heap.Add(header));
    Bytes record(8);
    format::StoreLE(std::span(record), 0, std::uint16_t{0x3001});
    format::StoreLE(std::span(record), 2, std::uint16_t{0x1F});
    format::StoreLE(std::span(record), 4, 0x10020u);
    heap.Add(record);
    heap.NextBlock();
    ASSERT_EQ(heap.Add(Text(0, u"Elsewhere").value), 0x10020u);
    EXPECT_FALSE(Read(heap.Finish()));
}

TEST(FolderProperties, OstFilesTakeEveryHeapSignature)
{
    Bytes block = BuildPropertyContext({{0x3001, Value(Text(0, u"Name"))}}, {}, 8176, 16).Finish().front();
    for (const int client : {0xBC, 0x7C, 0x8C, 0xEC, 0xA5}) {
        block[3] = static_cast<std::byte>(client);
        StoreFormat format;
        EXPECT_EQ(Read({block}, format).has_value(), client == 0xBC);
        format.ost = true;
        EXPECT_EQ(Read({block}, format).has_value(), client != 0xA5);
    }
}

TEST(FolderProperties, EveryCheckOfTheHeapRefusesTheBlock)
{
    const Bytes sound =
        BuildPropertyContext({{0x3001, Value(Text(0, u"Name"))}, {0x3613, Value(Text(0, u"IPF.Task"))}}, {},
                             8176, 16)
            .Finish()
            .front();
    ASSERT_TRUE(Read({sound}));
    const std::size_t map = format::LoadLE<std::uint16_t>(sound, 0);
    struct Change {
        const char* what;
        std::size_t at;
        std::uint16_t value;
    };
    const auto end = static_cast<std::uint16_t>(sound.size());
    for (const Change& change :
         {Change{"page map outside", 0, 0xFFF0}, Change{"page map at the end", 0, end},
          Change{"user root outside", 4, 0x7FE0}, Change{"user root's block outside", 6, 1},
          Change{"header not of 8 bytes", map + 6, 18}, Change{"records outside", 16, 0x7FE0},
          Change{"no records", 16, 0}, Change{"records end before they begin", map + 8, 4},
          Change{"name outside", 24, 0x7FE0}, Change{"name in another block", 26, 3},
          Change{"class outside", 32, 0x7FE0}, Change{"allocation beyond the block", map + 12, end}}) {
        Bytes block = sound;
        format::StoreLE(std::span(block), change.at, change.value);
        if (change.at == map + 12)
            format::StoreLE(std::span(block), change.at, static_cast<std::uint16_t>(end + 1));
        EXPECT_FALSE(Read({block})) << change.what;
    }
}

}  // namespace
}  // namespace pastille::tests
