#include "check/LtpTree.h"

#include <algorithm>
#include <unordered_set>

#include "check/LtpRules.h"
#include "format/Bth.h"

namespace pastille::check {
namespace {

constexpr std::size_t kHeaderSize = 8;
constexpr std::size_t kHidSize = 4;
/// Three levels of index hold more records than a heap has room for.
constexpr unsigned kMostLevels = 8;

std::string HidName(std::uint32_t hid)
{
    return "HID " + Hex(hid);
}

class CWalk {
public:
    CWalk(CHeapNode& node, const BthShape& shape, const std::function<void(const LtpRecord&)>& visit)
        : m_node(node), m_shape(shape), m_visit(visit)
    {
    }

    /// Visits an array and what is below. `separator`: the key that the array above gives it.
    void VisitArray(std::uint32_t hid, unsigned level, const std::uint64_t* separator);

private:
    std::uint64_t KeyOf(format::CByteView record) const;
    void CheckKey(std::uint64_t key, std::uint32_t hid);

    CHeapNode& m_node;
    const BthShape& m_shape;
    const std::function<void(const LtpRecord&)>& m_visit;
    std::unordered_set<std::uint32_t> m_visited;
    std::uint64_t m_lastKey = 0;
    bool m_hasLast = false;
    bool m_isOrderNoted = false;
};

std::uint64_t CWalk::KeyOf(format::CByteView record) const
{
    std::uint64_t key = 0;
    for (std::size_t i = std::min<std::size_t>(m_shape.keySize, 8); i-- > 0;)
        key = (key << 8) | record.ReadOrZero<std::uint8_t>(i);
    return key;
}

void CWalk::CheckKey(std::uint64_t key, std::uint32_t hid)
{
    // Longer keys do not fit the number; nothing documented has them.
    if (m_hasLast && key <= m_lastKey && m_shape.keySize <= 8 && !m_isOrderNoted) {
        m_node.Note(rules::kBthOrder, HidName(hid), Hex(key) + " after " + Hex(m_lastKey));
        m_isOrderNoted = true;
    }
    m_lastKey = key;
    m_hasLast = true;
}

void CWalk::VisitArray(std::uint32_t hid, unsigned level, const std::uint64_t* separator)
{
    if (!m_visited.insert(hid).second) {
        m_node.NoteAstray(rules::kBthRepeated, HidName(hid));
        return;
    }
    const auto array = m_node.TakeItem(hid);
    const std::size_t recordSize = m_shape.keySize + (level > 0 ? kHidSize : m_shape.dataSize);
    if (!array) {
        m_node.NoteAstray(rules::kBthArray, HidName(hid));
        return;
    }
    if (array->view.Size() == 0 || array->view.Size() % recordSize != 0)
        m_node.Note(rules::kBthArray, HidName(hid), std::to_string(array->view.Size()) + " bytes");
    const std::size_t count = array->view.Size() / recordSize;
    for (std::size_t i = 0; i < count; ++i) {
        const auto record = array->view.Sub(i * recordSize, recordSize).value_or(format::CByteView());
        const std::uint64_t key = KeyOf(record);
        if (i == 0 && separator != nullptr && *separator != key)
            m_node.Note(rules::kBthSeparator, HidName(hid), Instead(*separator, key));
        if (level > 0) {
            VisitArray(record.ReadOrZero<std::uint32_t>(m_shape.keySize), level - 1, &key);
            continue;
        }
        CheckKey(key, hid);
        m_visit({key, record.Sub(m_shape.keySize, m_shape.dataSize).value_or(format::CByteView())});
    }
}

}  // namespace

void CheckBth(CHeapNode& node, std::uint32_t hidHeader, const std::function<bool(const BthShape&)>& shape,
              const std::function<void(const LtpRecord&)>& visit)
{
    const auto header = node.TakeItem(hidHeader);
    const format::CByteView bytes = header ? header->view : format::CByteView();
    const BthShape found{bytes.ReadOrZero<std::uint8_t>(1), bytes.ReadOrZero<std::uint8_t>(2)};
    const unsigned levels = bytes.ReadOrZero<std::uint8_t>(3);
    const std::size_t key = found.keySize;
    const bool isSound = bytes.Size() == kHeaderSize &&
                         bytes.ReadOrZero<std::uint8_t>(0) == format::kBthType &&
                         (key == 2 || key == 4 || key == 8 || key == 16) && found.dataSize >= 1 &&
                         found.dataSize <= 32 && levels <= kMostLevels;
    if (!isSound) {
        node.NoteAstray(rules::kBthHeader, HidName(hidHeader));
        return;
    }
    const auto root = bytes.ReadOrZero<std::uint32_t>(4);
    if (shape(found) && root != 0)
        CWalk(node, found, visit).VisitArray(root, levels, nullptr);
}

}  // namespace pastille::check
