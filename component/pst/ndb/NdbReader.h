#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <unordered_map>
#include <vector>

#include "component/pst/ndb/BlockCache.h"
#include "component/pst/ndb/FormatError.h"
#include "component/pst/ndb/NodeDatabase.h"
#include "format/Header.h"
#include "format/Page.h"
#include "platform/FileSystem.h"

namespace pastille::component::pst {

/// The layout of a store file by its header, whose checksums are not looked at. Raises CFormatError when it
/// is no store file.
const format::VariantLayout& DetectLayout(platform::IByteSource& source);

/// Reads the node database of a store. Everything read is checked: CRCs, signatures, identifiers,
/// sizes, levels, order of keys; what breaks a rule raises CFormatError. Nothing is ever guessed.
/// [MS-PST] 2.2
class CNdbReader final : public INodeDatabase {
public:
    /// Reads and checks the header. Raises CFormatError when it is no sound header of the layout's variant.
    /// A file may be longer than its header says (a writer that was interrupted) or shorter: what is missing
    /// is missed when it is read.
    /// `source` must outlive the reader.
    explicit CNdbReader(platform::IByteSource& source,
                        const format::VariantLayout& layout = format::kUnicodeLayout);

    const format::FileHeader& Header() const { return m_header; }

    const format::VariantLayout& Layout() const override { return m_layout; }
    std::optional<NodeRecord> FindNode(format::Nid nid) override;
    void VisitNodes(const std::function<bool(const NodeRecord&)>& visit) override;
    format::SharedBytes ReadBlock(format::Bid bid) override;

    std::optional<format::BlockEntry> FindBlock(format::Bid bid);
    /// Visits all entries of the block tree by rising BID until `visit` returns false.
    void VisitBlocks(const std::function<bool(const format::BlockEntry&)>& visit);
    /// Visits all pages of both trees, as (offset, type), until `visit` returns false.
    void VisitTreePages(const std::function<bool(std::uint64_t, format::PageType)>& visit);

private:
    using PageBytes = std::shared_ptr<const std::vector<std::byte>>;
    struct Page {
        PageBytes bytes;
        format::CTreePage view;
    };
    using EntryVisitor = std::function<bool(const format::CTreePage&, std::size_t)>;

    Page LoadTreePage(std::uint64_t offset);
    Page ReadTreePage(format::PageType tree, const format::BlockReference& reference);
    Page ReadChild(const Page& parent, std::size_t index);
    std::optional<std::pair<Page, std::size_t>> FindLeafEntry(format::PageType tree, std::uint64_t key);
    bool VisitPage(const Page& page, std::uint64_t upperKey, const EntryVisitor& visit,
                   const std::function<bool(std::uint64_t, format::PageType)>* visitPage);
    void VisitTree(format::PageType tree, const EntryVisitor& visit,
                   const std::function<bool(std::uint64_t, format::PageType)>* visitPage);
    const format::BlockReference& RootOf(format::PageType tree) const;

    platform::IByteSource& m_source;
    const format::VariantLayout& m_layout;
    format::FileHeader m_header;
    std::unordered_map<std::uint64_t, PageBytes> m_pages;  ///< checked tree pages by file offset, bounded
    CBlockCache m_cache;
};

}  // namespace pastille::component::pst
