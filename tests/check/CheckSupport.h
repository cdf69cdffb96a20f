#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "format/Block.h"
#include "format/Header.h"
#include "format/Page.h"
#include "tests/support/StoreBuilder.h"

namespace pastille::tests {

using Codes = std::vector<std::string>;

/// What the checker says of a store: every code once, in order of the alphabet, warnings with a "?" behind. A
/// file that is no store brings "(no store)" besides.
Codes CodesOf(std::span<const std::byte> store);
Codes CodesOf(platform::IByteSource& store);
/// The findings in words, for the message of a test that fails.
std::string FindingsOf(std::span<const std::byte> store);

/// A sound store that the built-in component has written: folders, mails with recipients, long bodies,
/// attachments, an embedded message, a contact. The same each time it is asked for.
const Bytes& ComponentStore();
/// Adds the nodes that programs of today make besides those that the tests' own builder writes.
void AddLateNodes(StoreDescription& description);
/// A sound store of that variant that the tests' own builder has written: all its trees have several levels.
const Bytes& BuilderStore(format::Variant variant);

/// Changes a sound store in single places and makes the checksums good again, so that only the planted fault
/// is left. Finds places through the trees; raises std::out_of_range for what is not there.
class CStorePatch {
public:
    using Edit = std::function<void(std::span<std::byte>)>;

    explicit CStorePatch(Bytes store);

    const Bytes& Store() const { return m_store; }
    Bytes& Raw() { return m_store; }  ///< nothing is made good
    const format::VariantLayout& Layout() const { return *m_layout; }
    const format::FileHeader& Header() const { return m_header; }

    /// Reads the header, changes it, writes it anew with its checksums.
    CStorePatch& EditHeader(const std::function<void(format::FileHeader&)>& edit);
    /// The bytes of a page; its dwCRC is made good.
    CStorePatch& EditPage(std::uint64_t offset, const Edit& edit);
    /// The decoded bytes of a block of the same size; its dwCRC is made good.
    CStorePatch& EditBlock(std::uint64_t bid, const Edit& edit);
    CStorePatch& EditNode(std::uint32_t nid, const std::function<void(format::NodeEntry&)>& edit);
    CStorePatch& EditBlockEntry(std::uint64_t bid, const std::function<void(format::BlockEntry&)>& edit);

    /// Pages of a tree, parents before their children.
    std::vector<std::uint64_t> Pages(format::PageType tree) const;
    std::vector<format::NodeEntry> Nodes() const;
    std::vector<format::BlockEntry> Blocks() const;
    format::NodeEntry Node(std::uint32_t nid) const;
    format::BlockEntry Block(std::uint64_t bid) const;
    /// Decoded; not for compressed blocks.
    Bytes Contents(std::uint64_t bid) const;
    /// An entry below the root of a subnode tree, whatever its levels.
    format::SubnodeLeafEntry Subnode(std::uint64_t bidSub, std::uint32_t nid) const;

private:
    struct Place {
        std::uint64_t page;
        std::size_t index;
    };
    format::CTreePage PageAt(std::uint64_t offset) const;
    Place FindEntry(format::PageType tree, std::uint64_t key) const;
    void AddPages(std::uint64_t offset, std::vector<std::uint64_t>& pages) const;

    Bytes m_store;
    const format::VariantLayout* m_layout;
    format::FileHeader m_header;
};

/// A fault for a sound store, and all that the checker must say of it.
struct PlantedFault {
    const char* name;
    Codes expected;
    std::function<void(CStorePatch&)> plant;
    bool isSeenIn4k = true;  ///< nothing tells what fill levels of 4 KB files count from
};

/// Plants each in a store of its own.
void ExpectFound(const Bytes& store, const std::vector<PlantedFault>& faults);

}  // namespace pastille::tests
