#include "tests/check/CheckSupport.h"

#include <algorithm>
#include <map>
#include <stdexcept>

#include "format/Checksum.h"
#include "format/Crypt.h"
#include "format/Ids.h"
#include "tests/scenario/MadeStore.h"
#include "tests/support/FaultyFileSystem.h"
#include "tests/support/StoreExample.h"
#include "tests/support/StoreFindings.h"

namespace pastille::tests {
Codes CodesOf(platform::IByteSource& store)
{
    const CStoreFindings found = CheckedStore(store);
    return {found.codes.begin(), found.codes.end()};
}

Codes CodesOf(std::span<const std::byte> store)
{
    CMemorySource source(store);
    return CodesOf(source);
}

std::string FindingsOf(std::span<const std::byte> store)
{
    CMemorySource source(store);
    return CheckedStore(source).text;
}

const Bytes& ComponentStore()
{
    static const Bytes store = [] {
        const CTemporaryFolder folder;
        MakingProgress progress;
        MakeStore(platform::HostFileSystem(), folder.Path(), Making::WithCommits, progress);
        return FileBytes(MadeStorePath(folder.Path()));
    }();
    return store;
}

void AddLateNodes(StoreDescription& description)
{
    description.beforeTrees = [](CStoreFile& file) {
        const std::uint32_t classTag = file.IsWide() ? 0x001A001F : 0x001A001E;
        const std::map<std::uint32_t, std::vector<std::uint32_t>> columns = {
            {0x64C, {0x00390040, 0x0E100003, 0x0E140003}},
            {0x6B6, {0x0E330014, 0x0E370102, 0x0E380003}},
            {0x6D7, {classTag, 0x0E300102, 0x0E310102, 0x0E330014, 0x0E340102, 0x0E380003, 0x0E3E0102}},
            {0x6F8, {0x0E330014, 0x30070040}}};
        TableCounters counters;
        const auto noSubnode = [](std::span<const std::byte>) { return 0u; };
        for (const auto& [nid, tags] : columns) {
            // Without rows no HID names a block but the first, wherever its number stands.
            const auto table =
                BuildTable(tags, {}, noSubnode, file.BlockBytes(), 16, !file.IsWide(), counters);
            file.AddNode({nid, file.WriteDataTree(table.heap, "late node"), 0, 0});
        }
    };
}

const Bytes& BuilderStore(format::Variant variant)
{
    static std::map<format::Variant, Bytes> stores;
    Bytes& store = stores[variant];
    if (store.empty()) {
        StoreDescription description = DescribeExample();
        AddLateNodes(description);
        description.format.variant = variant;
        description.format.nodesPerPage = description.format.blocksPerPage = 12;
        description.format.childrenPerPage = 10;
        description.format.childrenPerBlock = 5;
        StoreMessage& mail = description.folders[0].messages[0];
        mail.attachments = {
            {.fileName = u"tree",
             .data = Bytes(variant == format::Variant::Unicode4k ? 400'000 : 80'000, std::byte{1})},
            {.method = 5, .embedded = std::make_shared<StoreMessage>(Mail(u"Inner", u"Ada", u"Text", 0))}};
        for (int i = 0; i < 6; ++i)
            mail.attachments.push_back({.fileName = u"small", .data = Bytes(50, std::byte{2})});
        store = CBuiltStore(description).Content();
    }
    return store;
}

CStorePatch::CStorePatch(Bytes store) : m_store(std::move(store))
{
    const format::CByteView view(m_store);
    m_layout = &format::LayoutOf(format::VariantOfVersion(view.ReadOrZero<std::uint16_t>(0x0A)).value());
    m_header = format::DecodeHeader(*m_layout, view)->header;
}

CStorePatch& CStorePatch::EditHeader(const std::function<void(format::FileHeader&)>& edit)
{
    edit(m_header);
    format::EncodeHeader(*m_layout, m_header, std::span(m_store).first(m_layout->headerBytes));
    return *this;
}

CStorePatch& CStorePatch::EditPage(std::uint64_t offset, const Edit& edit)
{
    const auto page = std::span(m_store).subspan(offset, m_layout->pageSize);
    edit(page);
    format::StoreLE(page, m_layout->pageCrcOffset, format::ComputeCrc(page.first(m_layout->typeOffset)));
    return *this;
}

CStorePatch& CStorePatch::EditBlock(std::uint64_t bid, const Edit& edit)
{
    const format::BlockEntry entry = Block(bid);
    const auto extent =
        std::span(m_store).subspan(entry.reference.offset, format::BlockExtent(*m_layout, entry.size));
    const auto data = extent.first(entry.size);
    const auto method = static_cast<format::CryptMethod>(m_header.cryptMethod);
    const bool isEncoded = !format::Bid{bid}.IsInternal();
    if (isEncoded)
        format::DecodeBlock(method, bid, data);
    edit(data);
    if (isEncoded)
        format::EncodeBlock(method, bid, data);
    format::StoreLE(extent.last(m_layout->blockTrailerSize), m_layout->blockCrcOffset,
                    format::ComputeCrc(data));
    return *this;
}

CStorePatch& CStorePatch::EditNode(std::uint32_t nid, const std::function<void(format::NodeEntry&)>& edit)
{
    const Place place = FindEntry(format::PageType::NodeTree, nid);
    format::NodeEntry entry = PageAt(place.page).NodeAt(place.index);
    edit(entry);
    return EditPage(place.page, [&](std::span<std::byte> page) {
        format::EncodeNodeEntry(*m_layout, entry, page.subspan(place.index * m_layout->nodeEntrySize));
    });
}

CStorePatch& CStorePatch::EditBlockEntry(std::uint64_t bid,
                                         const std::function<void(format::BlockEntry&)>& edit)
{
    const Place place = FindEntry(format::PageType::BlockTree, bid);
    format::BlockEntry entry = PageAt(place.page).BlockAt(place.index);
    edit(entry);
    return EditPage(place.page, [&](std::span<std::byte> page) {
        format::EncodeBlockEntry(*m_layout, entry, page.subspan(place.index * m_layout->blockEntrySize));
    });
}

format::CTreePage CStorePatch::PageAt(std::uint64_t offset) const
{
    return *format::CTreePage::Parse(*m_layout, std::span(m_store).subspan(offset, m_layout->pageSize));
}

void CStorePatch::AddPages(std::uint64_t offset, std::vector<std::uint64_t>& pages) const
{
    pages.push_back(offset);
    const format::CTreePage page = PageAt(offset);
    for (std::size_t i = 0; page.Level() > 0 && i < page.Count(); ++i)
        AddPages(page.ChildAt(i).child.offset, pages);
}

std::vector<std::uint64_t> CStorePatch::Pages(format::PageType tree) const
{
    std::vector<std::uint64_t> pages;
    AddPages(tree == format::PageType::NodeTree ? m_header.nodeTree.offset : m_header.blockTree.offset,
             pages);
    return pages;
}

CStorePatch::Place CStorePatch::FindEntry(format::PageType tree, std::uint64_t key) const
{
    for (const std::uint64_t offset : Pages(tree)) {
        const format::CTreePage page = PageAt(offset);
        for (std::size_t i = 0; page.Level() == 0 && i < page.Count(); ++i)
            if (page.KeyAt(i) == key)
                return {offset, i};
    }
    throw std::out_of_range("no entry " + std::to_string(key));
}

std::vector<format::NodeEntry> CStorePatch::Nodes() const
{
    std::vector<format::NodeEntry> nodes;
    for (const std::uint64_t offset : Pages(format::PageType::NodeTree)) {
        const format::CTreePage page = PageAt(offset);
        for (std::size_t i = 0; page.Level() == 0 && i < page.Count(); ++i)
            nodes.push_back(page.NodeAt(i));
    }
    return nodes;
}

std::vector<format::BlockEntry> CStorePatch::Blocks() const
{
    std::vector<format::BlockEntry> blocks;
    for (const std::uint64_t offset : Pages(format::PageType::BlockTree)) {
        const format::CTreePage page = PageAt(offset);
        for (std::size_t i = 0; page.Level() == 0 && i < page.Count(); ++i)
            blocks.push_back(page.BlockAt(i));
    }
    return blocks;
}

format::NodeEntry CStorePatch::Node(std::uint32_t nid) const
{
    const Place place = FindEntry(format::PageType::NodeTree, nid);
    return PageAt(place.page).NodeAt(place.index);
}

format::BlockEntry CStorePatch::Block(std::uint64_t bid) const
{
    const Place place = FindEntry(format::PageType::BlockTree, bid);
    return PageAt(place.page).BlockAt(place.index);
}

Bytes CStorePatch::Contents(std::uint64_t bid) const
{
    const format::BlockEntry entry = Block(bid);
    const auto stored = std::span(m_store).subspan(entry.reference.offset, entry.size);
    Bytes bytes(stored.begin(), stored.end());
    if (!format::Bid{bid}.IsInternal())
        format::DecodeBlock(static_cast<format::CryptMethod>(m_header.cryptMethod), bid, bytes);
    return bytes;
}

format::SubnodeLeafEntry CStorePatch::Subnode(std::uint64_t bidSub, std::uint32_t nid) const
{
    const Bytes bytes = Contents(bidSub);
    const auto block = format::CSubnodeBlock::Parse(*m_layout, format::CByteView(bytes));
    for (std::size_t i = 0; i < block->Count(); ++i) {
        if (block->Level() == 1) {
            const bool isLast = i + 1 == block->Count();
            if (isLast || block->ChildAt(i + 1).nid > nid)
                return Subnode(block->ChildAt(i).bid, nid);
        } else if (static_cast<std::uint32_t>(block->LeafAt(i).nid) == nid) {
            return block->LeafAt(i);
        }
    }
    throw std::out_of_range("no subnode " + std::to_string(nid));
}

void ExpectFound(const Bytes& store, const std::vector<PlantedFault>& faults)
{
    for (const PlantedFault& fault : faults) {
        CStorePatch patch(store);
        SCOPED_TRACE(std::string(fault.name) + " in variant " +
                     std::to_string(static_cast<int>(patch.Layout().variant)));
        ASSERT_NO_THROW(fault.plant(patch));
        const bool isSeen = fault.isSeenIn4k || patch.Layout().variant != format::Variant::Unicode4k;
        EXPECT_EQ(CodesOf(patch.Store()), isSeen ? fault.expected : Codes()) << FindingsOf(patch.Store());
    }
}

}  // namespace pastille::tests
