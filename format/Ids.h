#pragma once

#include <compare>
#include <cstdint>

namespace pastille::format {

/// Kind of a node, the low five bits of its NID. [MS-PST] 2.2.2.1
enum class NidType : std::uint32_t {
    Hid = 0x00,
    Internal = 0x01,
    NormalFolder = 0x02,
    SearchFolder = 0x03,
    NormalMessage = 0x04,
    Attachment = 0x05,
    SearchUpdateQueue = 0x06,
    SearchCriteria = 0x07,
    AssociatedMessage = 0x08,
    OleStream = 0x09,  ///< not in the public document: data stream of an OLE attachment
    ReceiveFolderTable = 0x0B,
    OutgoingQueueTable = 0x0C,
    HierarchyTable = 0x0D,
    ContentsTable = 0x0E,
    AssociatedContentsTable = 0x0F,
    SearchContentsTable = 0x10,
    AttachmentTable = 0x11,
    RecipientTable = 0x12,
    Ltp = 0x1F,  ///< property values and row matrices kept in subnodes
};

/// Node id. The upper half of the 8 bytes it takes in wide files carries nothing. [MS-PST] 2.2.2.1
struct Nid {
    std::uint32_t value = 0;

    static constexpr Nid Make(NidType type, std::uint32_t index)
    {
        return {(index << 5) | static_cast<std::uint32_t>(type)};
    }
    constexpr NidType Type() const { return static_cast<NidType>(value & 0x1F); }
    constexpr std::uint32_t Index() const { return value >> 5; }
    auto operator<=>(const Nid&) const = default;
};

/// Block id. Bit 0 is reserved and ignored when comparing; bit 1 marks internal blocks. [MS-PST] 2.2.2.2
struct Bid {
    std::uint64_t value = 0;

    constexpr bool IsInternal() const { return (value & 2) != 0; }
    constexpr std::uint64_t Key() const { return value & ~std::uint64_t{1}; }
    auto operator<=>(const Bid&) const = default;
};

/// Nodes with fixed ids. [MS-PST] 2.4.1 and what real stores hold beyond it.
namespace nids {
inline constexpr Nid kMessageStore{0x21};
inline constexpr Nid kNameToIdMap{0x61};
inline constexpr Nid kRootFolder{0x122};
inline constexpr Nid kSearchManagementQueue{0x1E1};
inline constexpr Nid kSearchActivityList{0x201};
inline constexpr Nid kSearchDomainObject{0x261};
inline constexpr Nid kHierarchyTemplate{0x60D};
inline constexpr Nid kContentsTemplate{0x60E};
inline constexpr Nid kAssociatedContentsTemplate{0x60F};
inline constexpr Nid kSearchContentsTemplate{0x610};
inline constexpr Nid kReceiveFolderTable{0x62B};
inline constexpr Nid kOutgoingQueueTable{0x64C};
inline constexpr Nid kAttachmentTable{0x671};
inline constexpr Nid kRecipientTable{0x692};
inline constexpr Nid kSpamSearchFolder{0x2223};
inline constexpr Nid kIpmSubtree{0x8022};
inline constexpr Nid kSearchRoot{0x8042};
inline constexpr Nid kDeletedItems{0x8062};
}  // namespace nids

}  // namespace pastille::format
