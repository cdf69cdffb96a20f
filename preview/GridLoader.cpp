#include "preview/GridLoader.h"

#include <QString>

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
/// UTF-16 units of a value, and of it once the grid has grown beyond all use.
constexpr std::size_t kLongestValue = 32'768;
constexpr std::size_t kLongestOfMany = 256;
constexpr std::size_t kManyTexts = 64u << 20;

class CGridLoader {
public:
    CGridLoader(CUPJob& job, const GridTable& table, CPreviewStore& store, const GridDelivery& deliver)
        : m_job(job), m_table(table), m_store(store), m_deliver(deliver)
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
    std::size_t Longest() const { return m_textSize < kManyTexts ? kLongestValue : kLongestOfMany; }
    void Deliver();
    void ShowProgress(std::int32_t done);

    CUPJob& m_job;
    const GridTable& m_table;
    CPreviewStore& m_store;
    const GridDelivery& m_deliver;
    CRef<writer::IItemList> m_items;
    std::int32_t m_count = 0;
    std::vector<CGridItem> m_read;  ///< since the last delivery
    std::size_t m_textSize = 0;     ///< of all that was read
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
        m_read.push_back(Read(done + 1));
        m_read.back().ShrinkToFit();
        m_textSize += m_read.back().TextSize();
        ++done;
        if (std::chrono::steady_clock::now() - delivered >= kDeliveryTime) {
            Deliver();
            delivered = std::chrono::steady_clock::now();
        }
        ShowProgress(done);
    }
    Deliver();
    return !m_job.IsCancelled();
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

/// The text of a property; "" when it cannot be read.
std::u16string TextOf(IMessageItem& item, const ItemProperty* property)
{
    try {
        return property != nullptr ? item.GetText(*property) : std::u16string();
    } catch (const writer::_com_error&) {
        return {};
    }
}

/// A value that cannot be read is empty, as a received time it is left out.
std::optional<std::u16string> ValueOf(IMessageItem& item, const GridRow& row)
{
    try {
        return GridValueText(item, row);
    } catch (const writer::_com_error&) {
        return row.value == GridValue::ReceivedTime ? std::nullopt : std::optional<std::u16string>(u"");
    }
}

constexpr std::u16string_view kUnknown = u"UnKnown";

CGridItem CGridLoader::Read(IMessageItem& item) const
{
    std::u16string name = TextOf(item, m_table.name);
    if (name.empty())
        name = TextOf(item, m_table.otherName);
    CGridItem read(name.empty() ? kUnknown : std::u16string_view(name), kLongestOfMany);
    for (const GridRow& row : m_table.rows) {
        if (const auto value = ValueOf(item, row))
            read.Add(*value, Longest());
        else
            read.LeaveOut();
    }
    return read;
}

CGridItem CGridLoader::Unreadable() const
{
    CGridItem item(kUnknown, kLongestOfMany);
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
                              std::u16string folderKey, GridDelivery deliver)
{
    return [&table = GridTableOf(family), store = std::move(store), key = std::move(folderKey),
            deliver = std::move(deliver)](CUPJob& job) {
        CGridLoader loader(job, table, *store, deliver);
        return loader.Open(key) && loader.Load();
    };
}

}  // namespace pastille::preview
