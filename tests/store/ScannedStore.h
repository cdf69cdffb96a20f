#pragma once

#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <vector>

#include "store/complete/CompleteScan.h"
#include "tests/support/FaultyFileSystem.h"

namespace pastille::tests {

/// A file recognised and scanned.
class CScanned {
public:
    explicit CScanned(Bytes bytes, std::optional<format::Variant> expected = {})
        : m_bytes(std::move(bytes)), m_fileSystem(m_bytes), source(m_file)
    {
        m_file.Open(m_fileSystem, "source.pst");
        const auto proceed = [](std::uint64_t) { return true; };
        const auto type = store::complete::RecogniseFile(m_file, {}, proceed);
        EXPECT_TRUE(type) << "not recognised";
        source.type = type.value_or(
            store::complete::FileType{expected.value_or(format::Variant::Unicode), store::FileKind::Pst});
        if (expected) {
            EXPECT_EQ(source.type.variant, *expected);
        }
        EXPECT_TRUE(store::complete::ScanSource(source, proceed));
    }

    /// NID to its four values, of the versions that are live or are not.
    std::map<std::uint32_t, std::vector<std::uint64_t>> Nodes(bool live) const
    {
        std::map<std::uint32_t, std::vector<std::uint64_t>> nodes;
        for (const store::complete::NodeVersion& version : source.nodes.Versions()) {
            if ((version.isLive != 0) != live)
                continue;
            const bool isNew =
                nodes
                    .emplace(version.nid, std::vector<std::uint64_t>{version.bidData, version.bidSub,
                                                                     std::uint64_t{version.parent}})
                    .second;
            EXPECT_TRUE(isNew || !live) << "two live versions of " << version.nid;
        }
        return nodes;
    }
    std::size_t CountDamaged() const
    {
        std::size_t damaged = 0;
        for (const auto& record : source.blocks.Records())
            damaged += !record.Place().isSound;
        return damaged;
    }

private:
    Bytes m_bytes;
    CMemoryFileSystem m_fileSystem;
    store::CSourceFile m_file;

public:
    store::complete::CScannedSource source;
};

}  // namespace pastille::tests
