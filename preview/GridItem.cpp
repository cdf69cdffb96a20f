#include "preview/GridItem.h"

namespace pastille::preview {
namespace {

std::u16string_view Cut(std::u16string_view text, std::size_t longest)
{
    text = text.substr(0, longest);
    // Not between the two halves of a character.
    if (!text.empty() && text.back() >= 0xD800 && text.back() <= 0xDBFF)
        text.remove_suffix(1);
    return text;
}

}  // namespace

void CGridItem::Add(std::u16string_view value, std::size_t longest)
{
    if (value.size() > longest && longest != 0) {
        m_text += Cut(value, longest);
        m_text += u'…';
    } else if (longest != 0) {
        m_text += value;
    }
    m_ends.push_back(static_cast<std::uint32_t>(m_text.size()));
}

void CGridItem::LeaveOut()
{
    m_leftOut = TableRowCount();
    Add({}, 0);
}

int CGridItem::RowCount() const
{
    return TableRowCount() - (m_leftOut == kNone ? 0 : 1);
}

void CGridItem::ShrinkToFit()
{
    m_text.shrink_to_fit();
    m_ends.shrink_to_fit();
}

std::u16string_view CGridItem::Part(std::size_t number) const
{
    const std::size_t begin = number == 0 ? 0 : m_ends[number - 1];
    return std::u16string_view(m_text).substr(begin, m_ends[number] - begin);
}

}  // namespace pastille::preview
