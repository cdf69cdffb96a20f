#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "format/Heap.h"

namespace pastille::format {

inline constexpr std::uint8_t kBthType = 0xB5;  ///< bType

/// One record of a BTH. The views live as long as `owner`, or as long as the call that hands them out.
struct BthRecord {
    std::uint64_t key = 0;  ///< keys of up to 8 bytes as a number; of longer keys the low 8 bytes
    CByteView keyBytes;
    CByteView data;
    SharedBytes owner;
};

/// A BTH of any number of levels. Keeps a reference to `heap`, which must outlive it. [MS-PST] 2.3.2
class CBthView {
public:
    /// Reads the BTHHEADER that is heap item `hidHeader`.
    static Result<CBthView> Open(const CHeapView& heap, std::uint32_t hidHeader);

    std::size_t KeySize() const { return m_keySize; }    ///< cbKey: 2, 4, 8 or 16
    std::size_t DataSize() const { return m_dataSize; }  ///< cbEnt: 1 to 32
    unsigned Levels() const { return m_levels; }         ///< bIdxLevels
    bool IsEmpty() const { return m_root == 0; }

    /// The record of a key. Nothing when there is none; a fault when the way to it is damaged. Relies on
    /// sorted keys.
    Result<std::optional<BthRecord>> Find(std::uint64_t key) const;
    /// Visits all records in stored order until `visit` returns false. A damaged array is left out and its
    /// fault returned at the end (the first one); the others are still visited. Never visits more arrays than
    /// the heap can hold.
    std::optional<Fault> ForEach(const std::function<bool(const BthRecord&)>& visit) const;

private:
    struct Walk;
    bool VisitArray(std::uint32_t hid, unsigned level, Walk& walk) const;
    BthRecord RecordAt(const HeldBytes& array, std::size_t index, std::size_t dataSize) const;

    const CHeapView* m_heap = nullptr;
    std::size_t m_keySize = 0;
    std::size_t m_dataSize = 0;
    unsigned m_levels = 0;
    std::uint32_t m_root = 0;
};

}  // namespace pastille::format
