#include "preview/ItemReader.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <exception>

#include "platform/Text.h"
#include "writer/ItemProperties.h"
#include "writer/OleDate.h"

namespace pastille::preview {
namespace {

using namespace writer;
using Clock = std::chrono::steady_clock;

/// Longest use of the store in a row, and so the longest that another reader waits.
constexpr auto kTurn = std::chrono::milliseconds(10);
/// Of a text that nobody could read in a cell.
constexpr std::size_t kLongestText = 4097;

std::u16string DateText(double date)
{
    const CalendarDate day = CalendarDateOf(date);
    return platform::FromUtf8(std::to_string(day.month) + "/" + std::to_string(day.day) + "/" +
                              std::to_string(day.year));
}

CItemRow ReadRow(IItemList& items, std::int32_t number)
{
    CItemRow row;
    try {
        const auto item = items.GetItem(number);
        const ItemProperty* const texts[] = {&property::SentRepresentingName, &property::DisplayTo,
                                             &property::Subject};
        for (int column = 0; column < 3; ++column)
            row.SetText(column, item->GetText(*texts[column]).substr(0, kLongestText));
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
    }
    return row;
}

}  // namespace

void ReadItems(const ItemReading& reading, IJobOwner& owner)
{
    try {
        CRef<IItemList> items;
        std::int32_t count = 0;
        {
            CPreviewStore::CUse use(*reading.store);
            items = use.Folder(reading.folderKey)->GetItems();
            count = items->GetCount();
        }
        for (std::int32_t number = 1; number <= count && !owner.IsCancelled();) {
            std::vector<CItemRow> rows;
            {
                CPreviewStore::CUse use(*reading.store);
                const auto end = Clock::now() + kTurn;
                do {
                    rows.push_back(ReadRow(*items, number++));
                } while (number <= count && Clock::now() < end);
            }
            owner.Deliver(
                [take = reading.found, rows = std::move(rows)]() mutable { take(std::move(rows)); });
        }
        CPreviewStore::CUse use(*reading.store);
        items.Release();
    } catch (const std::exception&) {
        // A folder that cannot be read has no rows.
    }
    owner.Deliver(reading.complete);
}

}  // namespace pastille::preview
