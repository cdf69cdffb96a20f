#include "tests/check/HeapPatch.h"

#include <stdexcept>

namespace pastille::tests {

CHeapPatch::CHeapPatch(std::span<std::byte> block) : m_block(block)
{
    const auto heap = format::CHeapBlockView::Parse(format::CByteView(block), 0);
    if (!heap)
        throw std::out_of_range("no heap");
    m_heap = *heap;
}

std::span<std::byte> CHeapPatch::Item(std::uint32_t hid) const
{
    const auto item = m_heap.Item(hid >> 5);
    if (!format::IsHeapId(hid) || !item)
        throw std::out_of_range("no item " + std::to_string(hid));
    const auto offset = static_cast<std::size_t>(item->Bytes().data() - m_block.data());
    return m_block.subspan(offset, item->Size());
}

std::span<std::byte> CHeapPatch::Records() const
{
    return Item(format::LoadLE<std::uint32_t>(BthHeader(), 4));
}

std::span<std::byte> CHeapPatch::Record(std::uint16_t id) const
{
    const auto records = Records();
    for (std::size_t at = 0; at + 8 <= records.size(); at += 8)
        if (format::LoadLE<std::uint16_t>(records, at) == id)
            return records.subspan(at, 8);
    throw std::out_of_range("no property " + std::to_string(id));
}

std::span<std::byte> CHeapPatch::Value(std::uint16_t id) const
{
    return Item(format::LoadLE<std::uint32_t>(Record(id), 4));
}

format::TableInfo CHeapPatch::ReadInfo() const
{
    const auto info = format::DecodeTableInfo(format::CByteView(Info()));
    if (!info)
        throw std::out_of_range("no table");
    return *info;
}

std::span<std::byte> CHeapPatch::Column(std::uint16_t id) const
{
    const format::TableInfo info = ReadInfo();
    for (std::size_t i = 0; i < info.columns.size(); ++i)
        if (info.columns[i].tag.id == id)
            return Info().subspan(format::kTableInfoSize + i * format::kTableColumnSize,
                                  format::kTableColumnSize);
    throw std::out_of_range("no column " + std::to_string(id));
}

std::span<std::byte> CHeapPatch::Row(std::size_t number) const
{
    const format::TableInfo info = ReadInfo();
    return Item(info.rows).subspan(number * info.rowSize, info.rowSize);
}

std::span<std::byte> CHeapPatch::Cell(std::size_t row, std::uint16_t id) const
{
    const format::TableInfo info = ReadInfo();
    const format::TableColumn* const column = info.FindId(id);
    if (column == nullptr)
        throw std::out_of_range("no column " + std::to_string(id));
    return Row(row).subspan(column->offset, column->size);
}

std::span<std::byte> CHeapPatch::RowIndex() const
{
    const auto header = Item(ReadInfo().rowIndex);
    return Item(format::LoadLE<std::uint32_t>(header, 4));
}

std::span<std::byte> CHeapPatch::Existence(std::size_t row) const
{
    return Row(row).subspan(ReadInfo().end1);
}

void EditHeap(CStorePatch& patch, std::uint32_t nid, const std::function<void(const CHeapPatch&)>& edit)
{
    patch.EditBlock(patch.Node(nid).bidData, [&](std::span<std::byte> block) { edit(CHeapPatch(block)); });
}

void EditHeap(CStorePatch& patch, std::uint32_t nid, std::uint32_t subnode,
              const std::function<void(const CHeapPatch&)>& edit)
{
    const auto entry = patch.Subnode(patch.Node(nid).bidSub, subnode);
    patch.EditBlock(entry.bidData, [&](std::span<std::byte> block) { edit(CHeapPatch(block)); });
}

}  // namespace pastille::tests
