#include "tests/support/StoreFamilies.h"

#include <algorithm>
#include <ostream>

#include "platform/Text.h"

namespace pastille::tests {
namespace {

using format::Guid;
using format::PropertyType;
namespace propset = format::propset;

/// Properties come in the order of their ids, and what comes before the class reaches no item: there is none
/// yet.
constexpr std::uint32_t kMessageClass = 0x001A;

enum class Kind { Text, Texts, Date, Flag, Number, Number16 };

/// A property under its fixed id, or under a long id in a set. [MS-OXPROPS] 2
struct Place {
    std::uint32_t id;
    const Guid* set = nullptr;
};

const Guid* const kAddress = &propset::kAddress;
const Guid* const kAppointment = &propset::kAppointment;
const Guid* const kCommon = &propset::kCommon;
const Guid* const kLog = &propset::kLog;
const Guid* const kNote = &propset::kNote;
const Guid* const kTask = &propset::kTask;

struct FamilyRows {
    std::vector<Place> texts, severalTexts, dates, flags, numbers, numbers16;
};

const std::vector<Place> kSixFlags = {{0x0002}, {0x0005}, {0x0023}, {0x0029}, {0x002B}, {0x0E01}};
/// Alternate recipient, auto-forwarded and delete after submit are not kept of journal entries.
const std::vector<Place> kThreeFlags = {{0x0023}, {0x0029}, {0x002B}};

const std::vector<Place> kOriginTexts = {{0x0037}, {0x0042}, {0x0064}, {0x0065}, {0x0070},
                                         {0x0C1A}, {0x0C1E}, {0x0C1F}, {0x1000}};
const std::vector<Place> kDisplayTexts = {{0x0E02}, {0x0E03}, {0x0E04}};

template <class... Lists>
std::vector<Place> Join(const Lists&... lists)
{
    std::vector<Place> all;
    (all.insert(all.end(), lists.begin(), lists.end()), ...);
    return all;
}

using Places = std::vector<Place>;

FamilyRows ContactRows()
{
    FamilyRows rows;
    Places tags;
    for (const std::uint32_t id :
         {0x3001, 0x3A00, 0x3A02, 0x3A05, 0x3A06, 0x3A07, 0x3A08, 0x3A09, 0x3A0A, 0x3A0C, 0x3A0D, 0x3A10,
          0x3A11, 0x3A15, 0x3A16, 0x3A17, 0x3A18, 0x3A19, 0x3A1A, 0x3A1B, 0x3A1C, 0x3A1D, 0x3A1E, 0x3A1F,
          0x3A21, 0x3A23, 0x3A24, 0x3A25, 0x3A26, 0x3A27, 0x3A28, 0x3A29, 0x3A2A, 0x3A2B, 0x3A2C, 0x3A2D,
          0x3A2E, 0x3A2F, 0x3A30, 0x3A43, 0x3A44, 0x3A45, 0x3A46, 0x3A47, 0x3A48, 0x3A49, 0x3A4A, 0x3A4B,
          0x3A4C, 0x3A4E, 0x3A4F, 0x3A50, 0x3A51, 0x3A57, 0x3A59, 0x3A5A, 0x3A5B, 0x3A5C, 0x3A5D, 0x3A5E,
          0x3A5F, 0x3A60, 0x3A61, 0x3A62, 0x3A63, 0x3A64, 0x6849})
        tags.push_back({id});
    Places named;
    for (const std::uint32_t lid :
         {0x801Au, 0x801Bu, 0x801Cu, 0x802Cu, 0x802Du, 0x802Eu, 0x804Fu, 0x8050u, 0x8051u, 0x8052u,
          0x8062u, 0x8080u, 0x8082u, 0x8083u, 0x8090u, 0x8092u, 0x8093u, 0x80A0u, 0x80A2u, 0x80A3u})
        named.push_back({lid, kAddress});
    rows.texts = Join(kOriginTexts, tags, named, Places{{0x8534, kCommon}, {0x8535, kCommon}});
    rows.severalTexts = {{0x3A58}, {0x8012, kCommon}};
    rows.dates = {{0x0E06}, {0x3A41}, {0x3A42}};
    rows.flags = kSixFlags;
    rows.numbers = {{0x0017}, {0x0036}, {0x1090}};
    rows.numbers16 = {{0x3A4D}};
    return rows;
}

FamilyRows MeetingRows()
{
    FamilyRows rows;
    rows.texts = Join(kOriginTexts, kDisplayTexts, Places{{0x8530, kCommon}});
    rows.severalTexts = {{0x8012, kCommon}, {0x8539, kCommon}};
    rows.dates = {{0x0E06}, {0x8502, kCommon}};
    rows.flags = Join(kSixFlags, Places{{0x8503, kCommon}, {0x850E, kCommon}, {0x851C, kCommon}});
    rows.numbers = {{0x0017}, {0x0036}, {0x1090}};
    return rows;
}

FamilyRows AppointmentRows()
{
    FamilyRows rows = MeetingRows();
    rows.texts.push_back({0x8208, kAppointment});
    rows.dates.insert(rows.dates.end(), {{0x820D, kAppointment}, {0x820E, kAppointment}, {0x8560, kCommon}});
    rows.flags.push_back({0x8215, kAppointment});
    rows.numbers.insert(rows.numbers.end(), {{0x8205, kAppointment}, {0x8213, kAppointment}});
    return rows;
}

FamilyRows TaskRows()
{
    FamilyRows rows = MeetingRows();
    rows.texts.insert(rows.texts.end(), {{0x0026}, {0x811F, kTask}, {0x8534, kCommon}, {0x8535, kCommon}});
    rows.dates = {{0x0E06}, {0x8104, kTask}, {0x8105, kTask}, {0x810F, kTask}};
    rows.flags.insert(rows.flags.end(), {{0x8108, kTask}, {0x811C, kTask}});
    rows.numbers.push_back({0x8101, kTask});
    return rows;
}

FamilyRows JournalRows()
{
    FamilyRows rows = MeetingRows();
    rows.texts.push_back({0x8700, kLog});
    rows.dates = {{0x0E06}, {0x8706, kLog}};
    rows.flags =
        Join(kThreeFlags,
             Places{{0x8503, kCommon}, {0x870E, kLog}, {0x870F, kLog}, {0x8710, kLog}, {0x8711, kLog}});
    rows.numbers = {{0x0036}, {0x1090}, {0x8707, kLog}};
    return rows;
}

FamilyRows NoteRows()
{
    FamilyRows rows;
    rows.texts = {{0x0037}, {0x0070}, {0x1000}};
    rows.severalTexts = {{0x8012, kCommon}};
    rows.dates = {{0x0E06}};
    rows.flags = Join(kSixFlags, Places{{0x8503, kCommon}});
    rows.numbers = {{0x0036}, {0x1090}, {0x8B00, kNote}, {0x8B02, kNote}, {0x8B03, kNote}};
    return rows;
}

struct Family {
    std::u16string_view folder, folderClass;
    FamilyRows (*rows)();
    std::vector<std::u16string_view> endings;  ///< of the classes, behind "IPM." and "IPF."
};

const std::vector<Family>& Families()
{
    static const std::vector<Family> families = {
        {u"Contacts", u"IPF.Contact", ContactRows, {u"Contact", u"DistList"}},
        {u"Calendar", u"IPF.Appointment", AppointmentRows, {u"Appointment"}},
        {u"Calendar",
         u"IPF.Appointment",
         MeetingRows,
         {u"Schedule.Meeting.Canceled", u"Schedule.Meeting.Request", u"Schedule.Meeting.Resp.Neg",
          u"Schedule.Meeting.Resp.Pos", u"Schedule.Meeting.Resp.Tent"}},
        {u"Tasks",
         u"IPF.Task",
         TaskRows,
         {u"Task", u"TaskRequest", u"TaskRequest.Update", u"TaskRequest.Decline"}},
        {u"Journal", u"IPF.Journal", JournalRows, {u"Journal", u"Activity"}},
        {u"Notes", u"IPF.StickyNote", NoteRows, {u"StickyNote"}},
    };
    return families;
}

const Family& FamilyOf(std::u16string_view messageClass)
{
    for (const Family& family : Families()) {
        if (std::ranges::count(family.endings, messageClass.substr(4)) != 0)
            return family;
    }
    throw std::out_of_range("no class of a family");
}

std::u16string Hexadecimal(std::uint32_t value)
{
    std::u16string text;
    for (int shift = 12; shift >= 0; shift -= 4)
        text.push_back(u"0123456789ABCDEF"[value >> shift & 15]);
    return text;
}

StoreProperty MakeValue(Kind kind, const Place& place, std::size_t number)
{
    const std::u16string text = (place.set != nullptr ? u"n" : u"t") + Hexadecimal(place.id);
    // Numbers stay small: what a value word would point to as a heap identifier must lie in the block.
    const auto small = static_cast<std::uint32_t>(20 + number % 40);
    switch (kind) {
        case Kind::Text:
            return Text(0, text);
        case Kind::Texts:
            return Texts(0, {text, u"b\u00E9", u"c"});
        case Kind::Date:
            return Time(0, FileTime(2003, 2, 1, 5, 45) + number * 864'000'000'000);
        case Kind::Flag:
            return Flag(0, true);
        case Kind::Number16:
            return Number16(0, 2);
        case Kind::Number:
            break;
    }
    if (place.set == nullptr && (place.id == 0x0017 || place.id == 0x1090))
        return Number(0, 2);
    return Number(0, place.set == nullptr ? 3 : small);
}

/// A value of a type that no row of the id takes.
StoreProperty MakeWrongValue(Kind kind, std::size_t number)
{
    if (kind == Kind::Flag || kind == Kind::Number16)
        return Number(0, 1);
    if (kind == Kind::Number)
        return number % 2 == 0 ? Text(0, u"wrong") : Number16(0, 7);
    return number % 2 == 0 ? Number(0, 9) : Binary(0, "12345678");
}

/// Joined with ";" by the writer and split again by the store.
ExpectedValue KeptAs(const Place& place, StoreProperty property)
{
    ExpectedValue kept;
    kept.type = property.type;
    kept.value = std::move(property.value);
    if (place.set != nullptr && place.id == 0x8012)
        kept.name = {propset::kPublicStrings, 0, u"Keywords"};
    else if (place.set != nullptr)
        kept.name = {*place.set, place.id, {}};
    else
        kept.id = static_cast<std::uint16_t>(place.id);
    return kept;
}

class CSampleMaker {
public:
    CSampleMaker(FamilySample& sample, const FamilyOptions& options) : m_sample(sample), m_options(options) {}

    void Add(Kind kind, const std::vector<Place>& places)
    {
        for (const Place& place : places)
            Add(kind, place);
    }

private:
    void Add(Kind kind, const Place& place)
    {
        // The location comes before the office location, and both are kept as the latter.
        const bool isRival = place.set == nullptr && (place.id == 0x3A0D || place.id == 0x1000);
        if (isRival && m_options.withoutRivals)
            return;
        const bool isEssential = place.set == nullptr && (place.id == 0x0037 || place.id == 0x3A0D);
        const std::size_t number = m_number++;
        StoreProperty good = MakeValue(kind, place, number);
        const bool isWrong = !isEssential && m_options.isWrong && m_options.isWrong(number);
        ExpectedValue expected = KeptAs(place, good);
        expected.isLost = isWrong;
        if (place.set == nullptr && place.id == 0x3A0D)
            expected.id = 0x3A19;
        const bool isKept = place.id > kMessageClass && (place.id != 0x3A19 || m_options.withoutRivals);
        if (place.set != nullptr || isKept)
            m_sample.expected.push_back(std::move(expected));
        StoreProperty given =
            isWrong && !m_options.wrongHnid ? MakeWrongValue(kind, number) : std::move(good);
        if (isWrong)
            given.hnid = m_options.wrongHnid;
        given.id = static_cast<std::uint16_t>(place.id);
        if (place.set != nullptr)
            m_sample.message.named.push_back({{*place.set, place.id, {}}, std::move(given)});
        else
            m_sample.message.properties.push_back(std::move(given));
    }

    FamilySample& m_sample;
    const FamilyOptions& m_options;
    std::size_t m_number = 0;
};

ExpectedValue At(std::uint16_t id, StoreProperty property)
{
    return KeptAs({id}, std::move(property));
}

}  // namespace

void PrintTo(const ExpectedValue& value, std::ostream* out)
{
    *out << std::hex << "0x" << (value.id != 0 ? value.id : value.name.lid) << " "
         << platform::ToUtf8(value.name.name) << (value.id != 0 ? "" : " (named)") << " of type 0x"
         << static_cast<unsigned>(value.type) << (value.isLost ? ", lost" : "") << std::dec;
}

std::vector<std::u16string_view> FamilyClasses()
{
    static const std::vector<std::u16string> names = [] {
        std::vector<std::u16string> all;
        for (const Family& family : Families()) {
            for (const std::u16string_view ending : family.endings) {
                all.push_back(u"IPM." + std::u16string(ending));
                all.push_back(u"IPF." + std::u16string(ending));
            }
        }
        return all;
    }();
    return {names.begin(), names.end()};
}

std::u16string FamilyFolder(std::u16string_view messageClass)
{
    return std::u16string(FamilyOf(messageClass).folder);
}

FamilySample MakeFamilySample(std::u16string_view messageClass, const FamilyOptions& options)
{
    FamilySample sample;
    sample.message.messageClass = messageClass;
    sample.message.label = platform::ToUtf8(messageClass);
    const FamilyRows rows = FamilyOf(messageClass).rows();
    CSampleMaker maker(sample, options);
    maker.Add(Kind::Text, rows.texts);
    maker.Add(Kind::Texts, rows.severalTexts);
    maker.Add(Kind::Date, rows.dates);
    maker.Add(Kind::Flag, rows.flags);
    maker.Add(Kind::Number, rows.numbers);
    maker.Add(Kind::Number16, rows.numbers16);
    sample.expected.push_back(At(0x001A, Text(0, messageClass)));
    if (options.withoutRivals && messageClass.ends_with(u"Contact")) {
        // An OST keeps the text of a contact's notes under another id.
        sample.message.properties.push_back(Text(0x6619, u"t6619"));
        ExpectedValue body = At(0x1000, Text(0, u"t6619"));
        body.isLost = !options.isOst;
        sample.expected.push_back(std::move(body));
    }
    return sample;
}

FamilySample MakeMailSample(bool replied)
{
    FamilySample sample;
    sample.message.label = replied ? "replied mail" : "forwarded mail";
    sample.message.flags = replied ? 0x01 : 0x00;
    const std::uint64_t time = FileTime(2004, 7, 5, 3, 21);
    sample.message.properties = {Number(0x0017, 2),      Flag(0x0023, true),
                                 Flag(0x0029, true),     Number(0x0036, 2),
                                 Text(0x0037, u"t0037"), Time(0x0039, time),
                                 Text(0x0042, u"t0042"), Text(0x0070, u"t0070"),
                                 Flag(0x0E01, true),     Text(0x0E03, u"t0E03"),
                                 Text(0x0E04, u"t0E04"), Time(0x0E06, time + 600'000'000),
                                 Text(0x1000, u"t1000"), Number(0x1080, replied ? 0x105u : 0x106u),
                                 Number(0x1095, 6)};
    sample.message.named = {{{propset::kTask, 0x8101, {}}, Number(0, 2)},
                            {{propset::kTask, 0x8105, {}}, Time(0, time + 6'000'000'000)},
                            {{propset::kCommon, 0x8503, {}}, Flag(0, true)}};
    for (const StoreProperty& property : sample.message.properties) {
        // The conversation's topic only stands for a missing subject.
        if (property.id > kMessageClass && property.id != 0x0070)
            sample.expected.push_back(At(property.id, property));
    }
    // The name of the one a mail was sent for counts as its sender's too.
    sample.expected.push_back(At(0x0C1A, Text(0, u"t0042")));
    sample.expected.push_back(At(0x001A, Text(0, sample.message.messageClass)));
    // Last verb: replied to the sender, forwarded. [MS-OXOMSG] 2.2.1.6
    sample.expected.push_back(At(0x1081, Number(0, replied ? 102u : 104u)));
    sample.expected.push_back(At(0x1090, Number(0, 2)));
    sample.expected.push_back(KeptAs({0x8105, kTask}, sample.message.named[1].property));
    sample.expected.push_back(KeptAs({0x8503, kCommon}, sample.message.named[2].property));
    sample.expected.push_back(At(0x0E07, Number(0, replied ? 0x01u : 0x00u)));
    return sample;
}

FamilyStore MakeFamilyStore(format::Variant variant, const FamilyOptions& options)
{
    FamilyStore store;
    store.description.format = FormatOf(variant, options.isOst);
    StoreFolder inbox{.name = u"Inbox", .containerClass = u"IPF.Note"};
    for (const bool replied : {true, false}) {
        store.samples.push_back(MakeMailSample(replied));
        inbox.messages.push_back(store.samples.back().message);
    }
    store.description.folders = {inbox};
    for (const std::u16string_view messageClass : FamilyClasses()) {
        store.samples.push_back(MakeFamilySample(messageClass, options));
        const Family& family = FamilyOf(messageClass);
        auto folder = std::ranges::find(store.description.folders, family.folder, &StoreFolder::name);
        if (folder == store.description.folders.end()) {
            store.description.folders.push_back({.name = std::u16string(family.folder),
                                                 .containerClass = std::u16string(family.folderClass)});
            folder = store.description.folders.end() - 1;
        }
        folder->messages.push_back(store.samples.back().message);
    }
    return store;
}

}  // namespace pastille::tests
