#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <vector>

#include "component/pst/ltp/PropertyReader.h"
#include "component/pst/ltp/TableReader.h"
#include "component/pst/ndb/NdbReader.h"
#include "platform/FileSystem.h"

namespace pastille::tests {

/// The finished file, seen by the layers below the component.
struct StoreOnDisk {
    explicit StoreOnDisk(const std::filesystem::path& path);

    component::pst::NodeRecord Node(format::Nid nid);
    component::pst::CPropertyReader Properties(format::Nid nid) { return {reader, Node(nid)}; }
    component::pst::CTableReader Table(format::Nid nid) { return {reader, Node(nid)}; }
    std::uint32_t Number(format::Nid nid, std::uint16_t id);
    /// The messages of the folder that the user sees at the top, in store order.
    std::vector<component::pst::NodeRecord> Messages();
    std::vector<component::pst::NodeRecord> AttachmentsOf(const component::pst::NodeRecord& message);

    std::unique_ptr<platform::IByteSource> source;
    component::pst::CNdbReader reader;
};

/// Checks the whole store: every structure, and what its nodes, tables and properties say of one another.
void ExpectSoundStore(const std::filesystem::path& path);

}  // namespace pastille::tests
