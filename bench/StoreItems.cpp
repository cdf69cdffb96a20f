#include "bench/StoreItems.h"

#include <memory>

#include "format/PropertyIds.h"

namespace pastille::bench {
namespace {

using namespace tests;
namespace pid = format::pid;

constexpr std::uint64_t kMinute = 600'000'000;  // 100 ns

StoreMessage OrdinaryContact(CRandom& random, std::uint64_t number)
{
    const std::u16string name = Person(random) + u" " + Decimal(number);
    StoreMessage contact{.messageClass = u"IPM.Contact"};
    contact.properties = {Text(pid::kSubject, name), Text(pid::kDisplayName, name),
                          Text(pid::kBody, Words(random, 100 + random.Below(400)))};
    // Names, numbers and addresses. [MS-OXOCNTC] 2.2.1
    for (const int id : {0x3A06, 0x3A08, 0x3A09, 0x3A11, 0x3A16, 0x3A17, 0x3A18, 0x3A1C, 0x3A26, 0x3A27,
                         0x3A29, 0x3A2A, 0x3A44, 0x3A4F, 0x3A51, 0x3A59, 0x3A5D})
        contact.properties.push_back(
            Text(static_cast<std::uint16_t>(id), Words(random, 8 + random.Below(20))));
    contact.properties.push_back(Time(0x3A42, FileTime(1960, 1, 1) + number % 20'000 * 1440 * kMinute));
    for (const std::uint32_t lid : {0x8005u, 0x801Bu, 0x8062u, 0x8080u, 0x8082u, 0x8083u})
        contact.named.push_back({{format::propset::kAddress, lid, {}}, Text(0, Words(random, 15))});
    return contact;
}

StoreMessage OrdinaryAppointment(CRandom& random, std::uint64_t number)
{
    const std::uint64_t start = FileTime(2012, 3, 1) + number * 90 * kMinute;
    StoreMessage appointment{.messageClass = u"IPM.Appointment"};
    appointment.properties = {Text(pid::kSubject, Words(random, 12 + random.Below(30)) + Decimal(number)),
                              Text(pid::kBody, Words(random, 200 + random.Below(600)))};
    appointment.named = {
        {{format::propset::kAppointment, 0x8205, {}}, Number(0, 2)},
        {{format::propset::kAppointment, 0x8208, {}}, Text(0, Words(random, 12))},
        {{format::propset::kAppointment, 0x820D, {}}, Time(0, start)},
        {{format::propset::kAppointment, 0x820E, {}}, Time(0, start + 60 * kMinute)},
        {{format::propset::kAppointment, 0x8213, {}}, Number(0, 60)},
        {{format::propset::kAppointment, 0x8215, {}}, Flag(0, random.Below(9) == 0)},
        {{format::propset::kCommon, 0x8502, {}}, Time(0, start - 15 * kMinute)},
        {{format::propset::kCommon, 0x8503, {}}, Flag(0, true)},
    };
    return appointment;
}

StoreMessage OrdinaryTask(CRandom& random, std::uint64_t number)
{
    const std::uint64_t start = FileTime(2012, 3, 1) + number * 60 * kMinute;
    StoreMessage task{.messageClass = u"IPM.Task"};
    task.properties = {Text(pid::kSubject, Words(random, 12 + random.Below(30)) + Decimal(number)),
                       Text(pid::kBody, Words(random, 100 + random.Below(600)))};
    task.named = {{{format::propset::kTask, 0x8101, {}}, Number(0, random.Below(3))},
                  {{format::propset::kTask, 0x8104, {}}, Time(0, start)},
                  {{format::propset::kTask, 0x8105, {}}, Time(0, start + 2 * 1440 * kMinute)},
                  {{format::propset::kTask, 0x811C, {}}, Flag(0, random.Below(2) == 0)},
                  {{format::propset::kTask, 0x811F, {}}, Text(0, Person(random))},
                  {{format::propset::kCommon, 0x8503, {}}, Flag(0, false)}};
    return task;
}

/// Files that pack badly. All begin in one stretch of noise: making them costs no more than copying.
class CAttachmentMaker {
public:
    CAttachmentMaker(std::size_t count, std::size_t bytes) : m_count(count), m_bytes(bytes)
    {
        if (count == 0)
            return;
        CRandom random(99);
        m_noise.resize(bytes + kStarts);
        for (std::byte& byte : m_noise)
            byte = static_cast<std::byte>(random.Below(256));
    }

    void AddTo(StoreMessage& item, std::uint64_t number) const
    {
        for (std::size_t i = 0; i < m_count; ++i) {
            const auto begin =
                m_noise.begin() + static_cast<std::ptrdiff_t>((number * m_count + i) % kStarts);
            item.attachments.push_back({.fileName = u"file " + Decimal(i + 1) + u".bin",
                                        .data = Bytes(begin, begin + static_cast<std::ptrdiff_t>(m_bytes))});
        }
    }

private:
    static constexpr std::size_t kStarts = 1021;
    std::size_t m_count, m_bytes;
    Bytes m_noise;
};

ItemMaker MakerOfKind(ItemKind kind)
{
    switch (kind) {
        case ItemKind::Contacts:
            return {OrdinaryContact, 5000, u"IPF.Contact"};
        case ItemKind::Appointments:
            return {OrdinaryAppointment, 4000, u"IPF.Appointment"};
        case ItemKind::Tasks:
            return {OrdinaryTask, 4000, u"IPF.Task"};
        case ItemKind::Mails:
            break;
    }
    return {};
}

}  // namespace

ItemMaker MakerOf(const ItemOptions& options)
{
    ItemMaker maker = MakerOfKind(options.kind);
    const auto attachments =
        std::make_shared<const CAttachmentMaker>(options.attachments, options.attachmentBytes);
    maker.bytes += options.bodyBytes + options.attachments * (options.attachmentBytes + 1500);
    maker.make = [ordinary = maker.make, attachments, bodyBytes = options.bodyBytes](CRandom& random,
                                                                                     std::uint64_t number) {
        StoreMessage item = ordinary(random, number);
        attachments->AddTo(item, number);
        if (bodyBytes != 0)
            item.properties.push_back(InSubnode(Text(pid::kBody, Words(random, bodyBytes / 2))));
        return item;
    };
    return maker;
}

}  // namespace pastille::bench
