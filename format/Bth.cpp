#include "format/Bth.h"

namespace pastille::format {
namespace {

constexpr std::size_t kHeaderSize = 8;
constexpr std::size_t kHidSize = 4;
/// Three levels of index hold more records than a heap has room for.
constexpr unsigned kMostLevels = 8;
// Bounds that hold in every variant.
constexpr std::size_t kMostItemsOfAnyBlock = 16384;
constexpr std::size_t kMostBytesOfAnyBlock = 65536;

std::uint64_t LoadKey(CByteView key)
{
    std::uint64_t value = 0;
    for (std::size_t i = key.Size() < 8 ? key.Size() : 8; i-- > 0;)
        value = (value << 8) | static_cast<std::uint64_t>(key.Bytes()[i]);
    return value;
}

}  // namespace

/// What one visit of all records carries along.
struct CBthView::Walk {
    const std::function<bool(const BthRecord&)>& visit;
    std::size_t arraysLeft;
    std::size_t bytesLeft;  ///< of records: sound arrays share none, so all together fit into the heap
    std::optional<Fault> fault;
};

Result<CBthView> CBthView::Open(const CHeapView& heap, std::uint32_t hidHeader)
{
    const auto item = heap.Item(hidHeader);
    if (!item)
        return item.GetFault();
    const CByteView bytes = item->view;
    CBthView view;
    view.m_heap = &heap;
    view.m_keySize = bytes.ReadOrZero<std::uint8_t>(1);
    view.m_dataSize = bytes.ReadOrZero<std::uint8_t>(2);
    view.m_levels = bytes.ReadOrZero<std::uint8_t>(3);
    view.m_root = bytes.ReadOrZero<std::uint32_t>(4);
    if (bytes.Size() < kHeaderSize)
        return Fault{"BTHHEADER", "size", bytes.Size(), 0};
    if (bytes.ReadOrZero<std::uint8_t>(0) != kBthType)
        return Fault{"BTHHEADER", "bType", bytes.ReadOrZero<std::uint8_t>(0), 0};
    const std::size_t key = view.m_keySize;
    if (key != 2 && key != 4 && key != 8 && key != 16)
        return Fault{"BTHHEADER", "cbKey", key, 1};
    if (view.m_dataSize == 0 || view.m_dataSize > 32)
        return Fault{"BTHHEADER", "cbEnt", view.m_dataSize, 2};
    if (view.m_levels > kMostLevels)
        return Fault{"BTHHEADER", "bIdxLevels", view.m_levels, 3};
    return view;
}

BthRecord CBthView::RecordAt(const HeldBytes& array, std::size_t index, std::size_t dataSize) const
{
    const std::size_t offset = index * (m_keySize + dataSize);
    BthRecord record;
    record.keyBytes = array.view.Sub(offset, m_keySize).value_or(CByteView());
    record.data = array.view.Sub(offset + m_keySize, dataSize).value_or(CByteView());
    record.key = LoadKey(record.keyBytes);
    record.owner = array.owner;
    return record;
}

Result<std::optional<BthRecord>> CBthView::Find(std::uint64_t key) const
{
    std::uint32_t hid = m_root;
    for (unsigned level = m_levels; hid != 0; --level) {
        const std::size_t dataSize = level > 0 ? kHidSize : m_dataSize;
        const auto array = m_heap->Item(hid);
        if (!array)
            return array.GetFault();
        if (array->view.Size() % (m_keySize + dataSize) != 0)
            return Fault{"BTH", "records", array->view.Size(), 0};
        // The last record whose key is not above the one wanted.
        std::size_t low = 0;
        std::size_t high = array->view.Size() / (m_keySize + dataSize);
        while (low < high) {
            const std::size_t middle = low + (high - low) / 2;
            if (RecordAt(*array, middle, dataSize).key <= key)
                low = middle + 1;
            else
                high = middle;
        }
        if (low == 0)
            break;
        const BthRecord record = RecordAt(*array, low - 1, dataSize);
        if (level == 0)
            return record.key == key ? std::optional<BthRecord>(record) : std::nullopt;
        hid = record.data.ReadOrZero<std::uint32_t>(0);
    }
    return std::optional<BthRecord>();
}

bool CBthView::VisitArray(std::uint32_t hid, unsigned level, Walk& walk) const
{
    const auto note = [&walk](const Fault& fault) {
        if (!walk.fault)
            walk.fault = fault;
    };
    if (walk.arraysLeft == 0) {
        note(Fault{"BTH", "arrays", hid, 0});
        return false;
    }
    --walk.arraysLeft;
    const auto array = m_heap->Item(hid);
    if (!array) {
        note(array.GetFault());
        return true;
    }
    if (array->view.Size() > walk.bytesLeft) {
        note(Fault{"BTH", "arrays", hid, 0});
        return false;
    }
    walk.bytesLeft -= array->view.Size();
    const std::size_t dataSize = level > 0 ? kHidSize : m_dataSize;
    const std::size_t count = array->view.Size() / (m_keySize + dataSize);
    if (array->view.Size() % (m_keySize + dataSize) != 0)
        note(Fault{"BTH", "records", array->view.Size(), 0});
    for (std::size_t i = 0; i < count; ++i) {
        const BthRecord record = RecordAt(*array, i, dataSize);
        const bool goOn = level == 0 ? walk.visit(record)
                                     : VisitArray(record.data.ReadOrZero<std::uint32_t>(0), level - 1, walk);
        if (!goOn)
            return false;
    }
    return true;
}

std::optional<Fault> CBthView::ForEach(const std::function<bool(const BthRecord&)>& visit) const
{
    if (m_root == 0)
        return std::nullopt;
    const std::size_t blocks = m_heap->Blocks().BlockCount();
    Walk walk{visit, blocks * kMostItemsOfAnyBlock, blocks * kMostBytesOfAnyBlock, std::nullopt};
    VisitArray(m_root, m_levels, walk);
    return walk.fault;
}

}  // namespace pastille::format
