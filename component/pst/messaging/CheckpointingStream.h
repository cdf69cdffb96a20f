#pragma once

#include <span>

#include "component/pst/messaging/PstStore.h"
#include "platform/FileSystem.h"

namespace pastille::component::pst {

/// Reads another stream into a store: a long value must not keep what was saved before it from the disk.
class CCheckpointingStream final : public platform::IByteStream {
public:
    CCheckpointingStream(CPstStore& store, platform::IByteStream& below) : m_store(store), m_below(below) {}
    std::size_t Read(std::span<std::byte> into) override
    {
        m_store.CheckpointIfDue();
        return m_below.Read(into);
    }

private:
    CPstStore& m_store;
    platform::IByteStream& m_below;
};

}  // namespace pastille::component::pst
