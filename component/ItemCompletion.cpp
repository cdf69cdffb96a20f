#include "component/ItemCompletion.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>

#include "component/ItemFamily.h"
#include "format/PropertyIds.h"

namespace pastille::component {
namespace {

using pst::CPropertyBag;
using pst::PropertyName;
using pst::PropertyValue;

/// PidTagIconIndex of a class. [MS-OXOCNTC], [MS-OXOCAL], [MS-OXOTASK], [MS-OXOJRNL], [MS-OXONOTE]
struct ClassIcon {
    std::u16string_view name;  ///< without its "IPM." or "IPF."
    std::uint32_t icon;
};
constexpr std::array kIcons{
    ClassIcon{u"Contact", 0x200},
    ClassIcon{u"DistList", 0x202},
    ClassIcon{u"StickyNote", 0x300},
    ClassIcon{u"Appointment", 0x400},
    ClassIcon{u"Schedule.Meeting.Request", 0x404},
    ClassIcon{u"Schedule.Meeting.Resp.Pos", 0x405},
    ClassIcon{u"Schedule.Meeting.Resp.Neg", 0x406},
    ClassIcon{u"Schedule.Meeting.Resp.Tent", 0x407},
    ClassIcon{u"Schedule.Meeting.Canceled", 0x408},
    ClassIcon{u"Task", 0x500},
    ClassIcon{u"Activity", 0x601},
    ClassIcon{u"Journal", 0x601},
};
/// Colours of a note, each with an icon of its own from 0x300 on. [MS-OXONOTE]
constexpr std::uint32_t kNoteIcon = 0x300;
constexpr std::uint32_t kNoteColors = 5;

/// [MS-OXPROPS] 2
constexpr std::uint16_t kStartDate = 0x0060;
constexpr std::uint16_t kEndDate = 0x0061;
constexpr std::uint32_t kLidPercentComplete = 0x8102;
constexpr std::uint32_t kLidCommonStart = 0x8516;
constexpr std::uint32_t kLidCommonEnd = 0x8517;
constexpr std::uint32_t kTaskStatusComplete = 2;

const PropertyValue* Find(pst::CPstStore& store, const CPropertyBag& bag, const format::Guid& set,
                          std::uint32_t lid)
{
    const auto id = store.Names().Find({set, lid, {}});
    return id ? bag.Find(*id) : nullptr;
}

void SetUnder(CPropertyBag& bag, std::uint16_t id, PropertyValue value)
{
    value.tag.id = id;
    bag.Set(std::move(value));
}

void SetIcon(pst::CPstStore& store, std::u16string_view messageClass, CPropertyBag& bag)
{
    if (bag.Has(format::pid::kIconIndex) || FamilyOf(messageClass) == ItemFamily::Mail)
        return;
    const auto entry = std::ranges::find(kIcons, messageClass.substr(4), &ClassIcon::name);
    if (entry == kIcons.end())
        return;
    std::uint32_t icon = entry->icon;
    if (icon == kNoteIcon) {
        const auto* stored = Find(store, bag, format::propset::kNote, format::lid::kNoteColor);
        const auto color = stored == nullptr ? std::nullopt : pst::AsInteger32(*stored);
        icon += color && *color < kNoteColors ? *color : 0;
    }
    bag.Set(pst::Integer32Value(format::pid::kIconIndex, icon));
}

/// The times of a calendar object stand in it three times. [MS-OXOCAL] 2.2.1.18, 2.2.1.19, 2.2.1.30, 2.2.1.31
void RepeatTimes(pst::CPstStore& store, CPropertyBag& bag)
{
    struct Repeated {
        std::uint32_t lid;
        std::uint32_t commonLid;
        std::uint16_t id;
    };
    for (const Repeated& repeated :
         {Repeated{format::lid::kAppointmentStartWhole, kLidCommonStart, kStartDate},
          {format::lid::kAppointmentEndWhole, kLidCommonEnd, kEndDate}}) {
        const auto* const stored = Find(store, bag, format::propset::kAppointment, repeated.lid);
        if (stored == nullptr)
            continue;
        const PropertyValue time = *stored;
        SetUnder(bag, store.IdOfName({format::propset::kCommon, repeated.commonLid, {}}), time);
        SetUnder(bag, repeated.id, time);
    }
}

bool IsTaskComplete(pst::CPstStore& store, const CPropertyBag& bag)
{
    const auto* const complete = Find(store, bag, format::propset::kTask, format::lid::kTaskComplete);
    const auto* const status = Find(store, bag, format::propset::kTask, format::lid::kTaskStatus);
    return (complete != nullptr && pst::AsBoolean(*complete).value_or(false)) ||
           (status != nullptr && pst::AsInteger32(*status) == kTaskStatusComplete);
}

/// A task's times are not repeated: under their further names they are UTC, and the zone is not known.
/// [MS-OXOTASK]
void SetProgress(pst::CPstStore& store, CPropertyBag& bag)
{
    if (!IsTaskComplete(store, bag))
        return;
    const auto id = store.IdOfName({format::propset::kTask, kLidPercentComplete, {}});
    if (!bag.Has(id))
        bag.Set(pst::Floating64Value(id, 1.0));
}

}  // namespace

void CompleteItem(pst::CPstStore& store, std::u16string_view messageClass, CPropertyBag& bag)
{
    SetIcon(store, messageClass, bag);
    switch (FamilyOf(messageClass)) {
        case ItemFamily::Appointment:
        case ItemFamily::Meeting:
            RepeatTimes(store, bag);
            break;
        case ItemFamily::Task:
            SetProgress(store, bag);
            break;
        default:
            break;
    }
}

}  // namespace pastille::component
