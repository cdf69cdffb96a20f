#include "preview/ItemReader.h"

#include <chrono>
#include <cstdint>
#include <exception>

#include "preview/DateText.h"
#include "preview/ShownText.h"
#include "writer/ItemProperties.h"
#include "writer/OleDate.h"

namespace pastille::preview {
namespace {

using namespace writer;
using Clock = std::chrono::steady_clock;

/// UTF-16 units of a cell, and those of all rows from which on a cell keeps fewer, and none: the texts of a
/// hostile store are as many as it likes.
constexpr std::size_t kLongestOfMany = 64;
constexpr std::size_t kManyTexts = 64u << 20;
constexpr std::size_t kMostTexts = 128u << 20;

/// Reads rows, and lets go of the folder below a use of the store whatever happens.
class CRows {
public:
    CRows(CPreviewStore& store, const std::u16string& folderKey) : m_store(store)
    {
        CPreviewStore::CUse use(m_store);
        m_items = use.Folder(folderKey)->GetItems();
    }
    ~CRows()
    {
        const CPreviewStore::CUse use(m_store);
        m_items.Release();
    }
    CRows(const CRows&) = delete;
    CRows& operator=(const CRows&) = delete;

    std::int32_t Count()
    {
        const CPreviewStore::CUse use(m_store);
        return m_items->GetCount();
    }
    /// The rows from that number on that can be read in one turn.
    std::vector<CItemRow> ReadSome(std::int32_t number, std::int32_t count)
    {
        std::vector<CItemRow> rows;
        const CPreviewStore::CUse use(m_store);
        const auto end = Clock::now() + CPreviewStore::CUse::kTurn;
        do {
            rows.push_back(Read(number++));
            rows.back().ShrinkToFit();
            m_textSize += rows.back().TextSize();
        } while (number <= count && Clock::now() < end);
        return rows;
    }

private:
    std::size_t Longest() const
    {
        if (m_textSize < kManyTexts)
            return kLongestLine + 1;
        return m_textSize < kMostTexts ? kLongestOfMany : 0;
    }

    CItemRow Read(std::int32_t number)
    {
        constexpr std::uint32_t kMostBytes = 4 * kLongestLine;
        CItemRow row;
        try {
            const auto item = m_items->GetItem(number);
            const ItemProperty* const texts[] = {&property::SentRepresentingName, &property::DisplayTo,
                                                 &property::Subject};
            for (int column = 0; column < 3; ++column)
                row.SetText(column, item->GetTextStart(*texts[column], kMostBytes).text.substr(0, Longest()));
            for (const ItemProperty* const which : {&property::DeliveryTime, &property::SubmitTime}) {
                const double date = item->GetDate(*which);
                if (date == kNoDate)
                    continue;
                row.date = date;
                row.SetText(3, DateText(date));
                break;
            }
        } catch (const std::exception&) {
            // What was read of it stands.
            row.SetText(2, u"(This item cannot be read.)");
        }
        return row;
    }

    CPreviewStore& m_store;
    CRef<IItemList> m_items;
    std::size_t m_textSize = 0;
};

}  // namespace

void ReadItems(const ItemReading& reading, IJobOwner& owner)
{
    try {
        CRows source(*reading.store, reading.folderKey);
        const std::int32_t count = source.Count();
        for (std::int32_t number = 1; number <= count && !owner.IsCancelled();) {
            auto rows = source.ReadSome(number, count);
            number += static_cast<std::int32_t>(rows.size());
            owner.Deliver(
                [take = reading.found, rows = std::move(rows)]() mutable { take(std::move(rows)); });
        }
    } catch (const std::exception&) {
        // A folder that cannot be read has no rows.
    }
    owner.Deliver(reading.complete);
}

}  // namespace pastille::preview
