#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "format/NamedPropertyMap.h"
#include "platform/Text.h"
#include "store/BlockReader.h"
#include "store/BlockTable.h"
#include "store/NodeList.h"
#include "store/Orphans.h"
#include "store/ReferenceSet.h"
#include "store/SourceFile.h"
#include "store/complete/CompleteScan.h"

namespace pastille::store {

/// Everything that is known of the source while a run lasts; what the recovery phases read from.
struct CSourceStore {
    explicit CSourceStore(const std::string& codePageName) : codePage(codePageName), reader(file, blocks) {}
    CSourceStore(const CSourceStore&) = delete;
    CSourceStore& operator=(const CSourceStore&) = delete;

    platform::CCodePage codePage;  ///< of 8-bit texts
    CSourceFile file;
    CNodeList nodes;
    CBlockTable blocks;
    CBlockReader reader;
    format::CNamedPropertyMap namedProperties;

    /// The divisor of percentages: file size / 100 while scanning, node count / 100 from the end of the block
    /// scan on. May be 0.
    std::uint64_t hundredth = 0;
    /// Records added to the node list, plus one; counted down by the folder phase.
    std::uint32_t nodeCount = 0;
    CReferenceSet references;  ///< from phase 4 to phase 5 of a Smart Scan
    /// Filled by the block scan of a Smart Scan, each block once; empty in a normal scan.
    std::vector<OrphanRecord> orphans;
    /// What a complete recovery reads from, in place of the lists and tables above; else null.
    std::unique_ptr<complete::CScannedSource> complete;
};

/// `done` / `divisor`, 0 when the divisor is 0.
constexpr unsigned Percentage(std::uint64_t done, std::uint64_t divisor)
{
    return divisor == 0 ? 0 : static_cast<unsigned>(done / divisor);
}

}  // namespace pastille::store
