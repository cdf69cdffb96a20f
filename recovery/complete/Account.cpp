#include "recovery/complete/Account.h"

#include <utility>

namespace pastille::recovery::complete {

void ItemCounts::Add(const ItemCounts& other)
{
    expected += other.expected;
    found += other.found;
    written += other.written;
    partial += other.partial;
    lost += other.lost;
}

std::size_t CAccount::AddFolder(std::u16string_view path, std::uint32_t node)
{
    m_folders.push_back({std::u16string(path), node, {}, {}, std::nullopt});
    return m_folders.size() - 1;
}

void CAccount::CountItem(std::size_t folder, bool isAssociated, Outcome outcome, bool isFound)
{
    FolderAccount& account = m_folders[folder];
    ItemCounts& counts = isAssociated ? account.associated : account.items;
    ++counts.expected;
    counts.found += isFound ? 1 : 0;
    counts.written += outcome != Outcome::Lost ? 1 : 0;
    counts.partial += outcome == Outcome::Partial ? 1 : 0;
    counts.lost += outcome == Outcome::Lost ? 1 : 0;
}

void CAccount::Add(Loss loss)
{
    // Texts come from the source; what a report shows of them is enough.
    constexpr std::size_t kLongestText = 250;
    for (std::u16string* const text : {&loss.item.subject, &loss.item.messageClass, &loss.name}) {
        if (text->size() > kLongestText)
            text->resize(kLongestText);
    }
    if (m_losses.size() < kMostLosses)
        m_losses.push_back(std::move(loss));
    else
        ++m_moreLosses;
}

ItemCounts CAccount::Total() const
{
    ItemCounts total;
    for (const FolderAccount& folder : m_folders) {
        total.Add(folder.items);
        total.Add(folder.associated);
    }
    return total;
}

}  // namespace pastille::recovery::complete
