#include "component/ItemFamily.h"

#include <algorithm>
#include <array>

#include "format/PropertyIds.h"

namespace pastille::component {
namespace {

struct ClassEntry {
    std::u16string_view name;  ///< without the "IPM." or "IPF." that both lead to the family
    ItemFamily family;
};

constexpr std::array kClasses{
    ClassEntry{u"Contact", ItemFamily::Contact},
    ClassEntry{u"DistList", ItemFamily::Contact},
    ClassEntry{u"Journal", ItemFamily::Journal},
    ClassEntry{u"Activity", ItemFamily::Journal},
    ClassEntry{u"Task", ItemFamily::Task},
    ClassEntry{u"TaskRequest", ItemFamily::Task},
    ClassEntry{u"TaskRequest.Update", ItemFamily::Task},
    ClassEntry{u"TaskRequest.Decline", ItemFamily::Task},
    ClassEntry{u"StickyNote", ItemFamily::Note},
    ClassEntry{u"Appointment", ItemFamily::Appointment},
    ClassEntry{u"Schedule.Meeting.Canceled", ItemFamily::Meeting},
    ClassEntry{u"Schedule.Meeting.Request", ItemFamily::Meeting},
    ClassEntry{u"Schedule.Meeting.Resp.Neg", ItemFamily::Meeting},
    ClassEntry{u"Schedule.Meeting.Resp.Pos", ItemFamily::Meeting},
    ClassEntry{u"Schedule.Meeting.Resp.Tent", ItemFamily::Meeting},
};

}  // namespace

ItemFamily FamilyOf(std::u16string_view messageClass)
{
    if (!messageClass.starts_with(u"IPM.") && !messageClass.starts_with(u"IPF."))
        return ItemFamily::Mail;
    const auto entry = std::find_if(kClasses.begin(), kClasses.end(), [&](const ClassEntry& candidate) {
        return candidate.name == messageClass.substr(4);
    });
    return entry == kClasses.end() ? ItemFamily::Mail : entry->family;
}

std::uint32_t FirstFlagsOf(ItemFamily family)
{
    return family == ItemFamily::Mail ? format::messageflag::kUnsent : format::messageflag::kRead;
}

}  // namespace pastille::component
