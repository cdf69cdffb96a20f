#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace pastille::tests {

// Nodes that every store has, as the builder numbers them.
inline constexpr std::uint32_t kRootFolder = 0x122;
inline constexpr std::uint32_t kSearchRoot = 0x8042;
inline constexpr std::uint32_t kDeletedItems = 0x8062;
inline constexpr std::uint32_t kSearchFolder = 0x2223;
inline constexpr std::u16string_view kSearchFolderName = u"SPAM Search Folder 2";

// Columns of the tables that every store has, as empty stores of mail clients carry them; row id and row
// version come on top. String columns as the wide variants have them.
// [MS-PST] 2.4.4.4, 2.4.4.5, 2.4.5.3, 2.4.6.1

inline const std::vector<std::uint32_t> kHierarchyColumns = {0x0E300102, 0x0E330014, 0x0E340102, 0x0E380003,
                                                             0x3001001F, 0x36020003, 0x36030003, 0x360A000B,
                                                             0x3613001F, 0x66350003, 0x66360003};

inline const std::vector<std::uint32_t> kContentsColumns = {
    0x00170003, 0x001A001F, 0x00360003, 0x0037001F, 0x00390040, 0x0042001F, 0x0057000B,
    0x0058000B, 0x0070001F, 0x00710102, 0x0E03001F, 0x0E04001F, 0x0E060040, 0x0E070003,
    0x0E080003, 0x0E170003, 0x0E300102, 0x0E330014, 0x0E340102, 0x0E380003, 0x0E3C0102,
    0x0E3D0102, 0x10970003, 0x30080040, 0x30130102, 0x65C60003};

inline const std::vector<std::uint32_t> kAssociatedColumns = {
    0x001A001F, 0x0E070003, 0x0E170003, 0x3001001F, 0x6800001F, 0x6803000B, 0x68051003,
    0x682F001F, 0x70030003, 0x70040102, 0x70050102, 0x7006001F, 0x70070003};

inline const std::vector<std::uint32_t> kSearchColumns = {
    0x00170003, 0x001A001F, 0x00360003, 0x0037001F, 0x0042001F, 0x0057000B,
    0x0058000B, 0x0E03001F, 0x0E04001F, 0x0E05001F, 0x0E060040, 0x0E070003,
    0x0E080003, 0x0E170003, 0x0E2A000B, 0x30080040, 0x67F10003};

inline const std::vector<std::uint32_t> kAttachmentColumns = {0x0E200003, 0x3704001F, 0x37050003, 0x370B0003};

inline const std::vector<std::uint32_t> kRecipientColumns = {0x0C150003, 0x0E0F000B, 0x0FF90102, 0x0FFE0003,
                                                             0x0FFF0102, 0x3001001F, 0x3002001F, 0x3003001F,
                                                             0x300B0102, 0x39000003, 0x39FF001F, 0x3A40000B};

inline const std::vector<std::uint32_t> kReceiveColumns = {0x001A001F, 0x66050003};

}  // namespace pastille::tests
