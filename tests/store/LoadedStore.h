#pragma once

#include <optional>
#include <string>

#include "store/BlockCollector.h"
#include "store/NodeCollector.h"
#include "store/SourceStore.h"
#include "store/Validation.h"
#include "tests/support/FaultyFileSystem.h"
#include "tests/support/StoreBuilder.h"

namespace pastille::tests {

/// A store file as the phases before recovery leave it: validated and scanned.
class CLoadedStore {
public:
    explicit CLoadedStore(Bytes bytes, bool smartScan = false)
        : m_bytes(std::move(bytes)), m_fileSystem(m_bytes), source("windows-1252"), m_smartScan(smartScan)
    {
        source.file.Open(m_fileSystem, "source.pst");
        const store::FileKind kind = store::ReadFileKind(source.file);
        variant = store::ProbeVariant(source.file, [](std::uint64_t) { return true; });
        if (variant)
            Scan(*variant, kind);
    }
    explicit CLoadedStore(const CBuiltStore& built, bool smartScan = false)
        : CLoadedStore(built.Content(), smartScan)
    {
    }

    /// The first node of that id, in the list's order.
    const store::NodeRecord* Node(std::uint32_t nid) const
    {
        for (const store::NodeRecord& record : source.nodes) {
            if (record.nid == nid)
                return &record;
        }
        return nullptr;
    }
    /// Finds the crypt method by the data block of a node.
    bool Detect(std::uint32_t nid)
    {
        const store::NodeRecord* node = Node(nid);
        const auto block = node == nullptr ? std::nullopt : source.blocks.Find(node->bidData);
        return block && source.reader.DetectCryptMethod(*block);
    }

private:
    void Scan(format::Variant found, store::FileKind kind)
    {
        source.reader.Reset(format::LayoutOf(found), kind);
        const auto proceed = [](std::uint64_t) { return true; };
        const format::VariantLayout& layout = source.reader.Layout();
        store::ScanNodePages(source.file, layout, source.nodes, findings.nodePages, proceed);
        source.nodes.Finish();
        source.references.Build(source.nodes);
        source.blocks.Create(m_fileSystem, "index");
        store::ScanBlockPages(source.file, layout, {m_smartScan, kind}, source.blocks, trailers, findings,
                              proceed);
        const auto bids = m_smartScan ? source.blocks.AppendedBids() : std::vector<std::uint32_t>();
        source.blocks.Finish();
        if (m_smartScan)
            store::FindOrphans(source, trailers, bids, [] { return true; });
    }

    Bytes m_bytes;
    CMemoryFileSystem m_fileSystem;

public:
    store::CSourceStore source;
    store::ScanFindings findings;
    std::vector<store::TrailerBlock> trailers;
    std::optional<format::Variant> variant;

private:
    bool m_smartScan;
};

/// A file with nothing in it but what `write` puts there. No trees unless it adds nodes and blocks.
template <class Write>
Bytes RawStore(const StoreFormat& format, Write write)
{
    CMemoryFile file;
    CStoreFile store(file, format);
    write(store);
    store.Finish();
    return file.Content();
}

}  // namespace pastille::tests
