#include "preview/GridLoader.h"

#include <QString>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <optional>
#include <utility>

namespace pastille::preview {
namespace {

using writer::CRef;
using writer::IMessageItem;
using writer::ItemProperty;

constexpr auto kDeliveryTime = std::chrono::milliseconds(50);
/// UTF-16 units.
constexpr std::size_t kLongestValue = 32'768;
constexpr std::size_t kLongestName = 256;
/// One text takes at most this part of what is left for all.
constexpr std::size_t kShare = 1024;

constexpr std::u16string_view kUnknown = u"UnKnown";
constexpr std::u16string_view kNoMore = u"(There are more items than can be shown.)";

class CGridLoader {
public:
    CGridLoader(CUPJob& job, const GridTable& table, CPreviewStore& store, const GridDelivery& deliver,
                GridLimits limits)
        : m_job(job), m_table(table), m_store(store), m_deliver(deliver), m_left(limits)
    {
    }
    ~CGridLoader()
    {
        const CPreviewStore::CUse use(m_store);
        m_items.Release();
    }
    CGridLoader(const CGridLoader&) = delete;
    CGridLoader& operator=(const CGridLoader&) = delete;

    /// False when the folder cannot be opened.
    bool Open(std::u16string_view folderKey);
    /// False when it was cancelled.
    bool Load();

private:
    CGridItem Read(std::int32_t number);
    CGridItem Read(IMessageItem& item) const;
    CGridItem Unreadable() const;
    /// Units of a text, when its item has so many already.
    std::size_t Longest(std::size_t itemSize) const
    {
        return std::min(kLongestValue, (m_left.textUnits - std::min(itemSize, m_left.textUnits)) / kShare);
    }
    std::size_t LongestName() const { return std::min(kLongestName, Longest(0)); }
    void Keep(CGridItem item);
    void Deliver();
    void ShowProgress(std::int32_t done);

    CUPJob& m_job;
    const GridTable& m_table;
    CPreviewStore& m_store;
    const GridDelivery& m_deliver;
    CRef<writer::IItemList> m_items;
    std::int32_t m_count = 0;
    std::vector<CGridItem> m_read;  ///< since the last delivery
    GridLimits m_left;              ///< that can still be kept
    int m_percent = 0;
};

bool CGridLoader::Open(std::u16string_view folderKey)
{
    try {
        CPreviewStore::CUse use(m_store);
        m_items = use.Folder(folderKey)->GetItems();
        m_count = m_items->GetCount();
    } catch (const writer::_com_error&) {
        return false;
    }
    m_job.Post([](CUPDialog& dialog) { dialog.ShowStatus(QStringLiteral("Loading...")); });
    return true;
}

bool CGridLoader::Load()
{
    auto delivered = std::chrono::steady_clock::now();
    for (std::int32_t done = 0; done < m_count && !m_job.IsCancelled();) {
        if (m_left.values == 0) {
            m_read.emplace_back(kNoMore, kNoMore.size());
            break;
        }
        Keep(Read(++done));
        if (std::chrono::steady_clock::now() - delivered >= kDeliveryTime) {
            Deliver();
            delivered = std::chrono::steady_clock::now();
        }
        ShowProgress(done);
    }
    Deliver();
    return !m_job.IsCancelled();
}

void CGridLoader::Keep(CGridItem item)
{
    item.ShrinkToFit();
    m_left.textUnits -= std::min(m_left.textUnits, item.TextSize());
    m_left.values -= std::min(m_left.values, m_table.rows.size() + 1);
    m_read.push_back(std::move(item));
}

CGridItem CGridLoader::Read(std::int32_t number)
{
    // What was read goes before the use of the store does.
    const CPreviewStore::CUse use(m_store);
    CRef<IMessageItem> item;
    try {
        item = m_items->GetItem(number);
    } catch (const writer::_com_error&) {
        // Shown without values.
    }
    return item ? Read(*item) : Unreadable();
}

/// The beginning of a text; "" when it cannot be read.
std::u16string TextOf(IMessageItem& item, const ItemProperty* property, std::size_t longest)
{
    try {
        return property != nullptr ? GridText(item, *property, longest) : std::u16string();
    } catch (const writer::_com_error&) {
        return {};
    }
}

/// A value that cannot be read is empty, as a received time it is left out.
std::optional<std::u16string> ValueOf(IMessageItem& item, const GridRow& row, std::size_t longest)
{
    try {
        return GridValueText(item, row, longest);
    } catch (const writer::_com_error&) {
        return row.value == GridValue::ReceivedTime ? std::nullopt : std::optional<std::u16string>(u"");
    }
}

CGridItem CGridLoader::Read(IMessageItem& item) const
{
    std::u16string name = TextOf(item, m_table.name, LongestName());
    if (name.empty())
        name = TextOf(item, m_table.otherName, LongestName());
    CGridItem read(name.empty() ? kUnknown : std::u16string_view(name), LongestName());
    for (const GridRow& row : m_table.rows) {
        const std::size_t longest = Longest(read.TextSize());
        if (const auto value = ValueOf(item, row, longest))
            read.Add(*value, longest);
        else
            read.LeaveOut();
    }
    return read;
}

CGridItem CGridLoader::Unreadable() const
{
    CGridItem item(kUnknown, LongestName());
    for (const GridRow& row : m_table.rows) {
        if (row.value == GridValue::ReceivedTime)
            item.LeaveOut();
        else
            item.Add({}, 0);
    }
    return item;
}

void CGridLoader::Deliver()
{
    if (!m_read.empty())
        m_deliver(m_job, std::exchange(m_read, {}));
}

void CGridLoader::ShowProgress(std::int32_t done)
{
    const auto percent = static_cast<int>(static_cast<std::int64_t>(done) * 100 / m_count);
    if (percent == m_percent)
        return;
    m_percent = percent;
    m_job.Post([percent](CUPDialog& dialog) {
        dialog.ShowPercent(QString::number(percent) + QLatin1Char('%'));
        dialog.ShowBar(percent);
    });
}

}  // namespace

CUPDialog::Job MakeGridLoader(GridFamily family, std::shared_ptr<CPreviewStore> store,
                              std::u16string folderKey, GridDelivery deliver, GridLimits limits)
{
    return [&table = GridTableOf(family), store = std::move(store), key = std::move(folderKey),
            deliver = std::move(deliver), limits](CUPJob& job) {
        CGridLoader loader(job, table, *store, deliver, limits);
        return loader.Open(key) && loader.Load();
    };
}

}  // namespace pastille::preview
