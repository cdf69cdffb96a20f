#include "cli/ListReport.h"

#include "cli/TerminalText.h"
#include "writer/OleDate.h"

#include <nlohmann/json.hpp>

#include <array>
#include <cmath>
#include <cstdio>
#include <ostream>

namespace pastille::cli {
namespace {

using Json = nlohmann::ordered_json;

/// Date and time with that between them, to the minute for people, to the second else.
std::string DateText(double date, const char* between, bool withSeconds)
{
    const writer::CalendarDate day = writer::CalendarDateOf(date);
    constexpr double kSecondsPerDay = 86'400.0;
    const auto seconds = static_cast<int>(std::fabs(date - std::trunc(date)) * kSecondsPerDay + 0.0005);
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%04d-%02d-%02d%s%02d:%02d", day.year, day.month, day.day,
                  between, seconds / 3600 % 24, seconds / 60 % 60);
    std::string whole = text.data();
    if (withSeconds) {
        std::snprintf(text.data(), text.size(), ":%02dZ", seconds % 60);
        whole += text.data();
    }
    return whole;
}

// ---- for people

constexpr std::size_t kCountWidth = 9;
constexpr std::size_t kClassWidth = 20;
constexpr std::size_t kDateWidth = 16;
constexpr std::size_t kSenderWidth = 28;

std::string Shown(const std::string& text)
{
    return Printable(text, LineBreaks::Escape);
}

/// Characters, of which UTF-8 has one byte that is not a continuation.
std::size_t LengthOf(const std::string& text)
{
    std::size_t length = 0;
    for (const char byte : text)
        length += (static_cast<unsigned char>(byte) & 0xC0) != 0x80 ? 1 : 0;
    return length;
}

std::string Left(std::string text, std::size_t width)
{
    const std::size_t length = LengthOf(text);
    return length < width ? text.append(width - length, ' ') : text;
}

std::string Right(const std::string& text, std::size_t width = kCountWidth)
{
    const std::size_t length = LengthOf(text);
    return length < width ? std::string(width - length, ' ') + text : text;
}

std::string CountText(const std::optional<std::int32_t>& count)
{
    return count ? std::to_string(*count) : "?";
}

class CListText final : public IListReport {
public:
    explicit CListText(std::ostream& out) : m_out(out) {}

    void Begin(const Store& store) override
    {
        if (!store.name)
            return;
        m_out << "Store:  " << Shown(store.path) << '\n';
        if (!store.name->empty())
            m_out << "Name:   " << Shown(*store.name) << '\n';
        if (store.folder)
            m_out << "Folder: " << Shown(*store.folder) << "\n\n"
                  << Right("Number") << "  " << Left("Date (UTC)", kDateWidth) << "  "
                  << Left("Class", kClassWidth) << "  " << Right("Attached") << "  " << Right("Size") << "  "
                  << Left("From", kSenderWidth) << "  Subject\n";
        else
            m_out << '\n'
                  << Right("Items") << "  " << Right("Unread") << "  " << Left("Class", kClassWidth)
                  << "  Folder\n";
    }
    void Add(const ListedFolder& folder) override
    {
        m_out << Right(CountText(folder.items)) << "  " << Right(CountText(folder.unread)) << "  "
              << Left(Shown(folder.containerClass), kClassWidth) << "  " << Shown(folder.path) << '\n';
    }
    void Add(const ListedItem& item) override
    {
        m_out << Right(std::to_string(item.number)) << "  ";
        if (!item.fault.empty()) {
            m_out << "(cannot be read: " << Shown(item.fault) << ")\n";
            return;
        }
        const auto& date = item.delivered ? item.delivered : item.submitted;
        m_out << Left(date ? DateText(*date, " ", false) : "", kDateWidth) << "  "
              << Left(Shown(item.messageClass), kClassWidth) << "  " << Right(CountText(item.attachments))
              << "  " << Right(std::to_string(item.size)) << "  "
              << Left(Shown(item.from.empty() ? item.sender : item.from), kSenderWidth) << "  "
              << Shown(item.subject) << '\n';
    }
    void End(const char*, const std::vector<std::string>&) override { m_out << std::flush; }

private:
    std::ostream& m_out;
};

// ---- JSON

template <class Value>
Json OrNull(const std::optional<Value>& value)
{
    return value ? Json(*value) : Json(nullptr);
}

Json DateOrNull(const std::optional<double>& date)
{
    return date ? Json(DateText(*date, "T", true)) : Json(nullptr);
}

class CListJson final : public IListReport {
public:
    explicit CListJson(std::ostream& out) : m_out(out) {}

    void Begin(const Store& store) override
    {
        m_out << "{\n";
        Field("store", store.path.empty() ? Json(nullptr) : Json(store.path));
        Field("name", OrNull(store.name));
        Field("folder", OrNull(store.folder));
        m_isOpen = store.name.has_value();
        Field(store.folder ? "folders" : "items", nullptr);
        m_out << "  \"" << (store.folder ? "items" : "folders") << "\": " << (m_isOpen ? "[" : "null");
    }
    void Add(const ListedFolder& folder) override
    {
        Element({{"path", folder.path},
                 {"name", folder.name},
                 {"class", folder.containerClass},
                 {"items", OrNull(folder.items)},
                 {"unread", OrNull(folder.unread)},
                 {"folders", OrNull(folder.folders)}});
    }
    void Add(const ListedItem& item) override
    {
        if (!item.fault.empty())
            Element({{"number", item.number}, {"fault", item.fault}});
        else
            Element({{"number", item.number},
                     {"fault", nullptr},
                     {"class", item.messageClass},
                     {"delivered", DateOrNull(item.delivered)},
                     {"submitted", DateOrNull(item.submitted)},
                     {"from", item.from},
                     {"sender", item.sender},
                     {"to", item.to},
                     {"subject", item.subject},
                     {"unread", item.unread},
                     {"attachments", OrNull(item.attachments)},
                     {"size", item.size}});
    }
    void End(const char* status, const std::vector<std::string>& messages) override
    {
        m_out << (m_isOpen ? "\n  ],\n" : ",\n");
        Field("messages", messages);
        m_out << "  \"status\": \"" << status << "\"\n}" << std::endl;
    }

private:
    static std::string Dumped(const Json& value)
    {
        return PrintableJson(value.dump(-1, ' ', false, Json::error_handler_t::replace));
    }
    void Field(const char* key, const Json& value)
    {
        m_out << "  \"" << key << "\": " << Dumped(value) << ",\n";
    }
    void Element(const Json& value)
    {
        m_out << (m_isFirst ? "\n    " : ",\n    ") << Dumped(value);
        m_isFirst = false;
    }

    std::ostream& m_out;
    bool m_isOpen = false;
    bool m_isFirst = true;
};

}  // namespace

std::unique_ptr<IListReport> MakeListText(std::ostream& out)
{
    return std::make_unique<CListText>(out);
}

std::unique_ptr<IListReport> MakeListJson(std::ostream& out)
{
    return std::make_unique<CListJson>(out);
}

void WriteListFailure(std::ostream& out, const std::string& message)
{
    CListJson report(out);
    report.Begin({});
    report.End("failed", {message});
}

}  // namespace pastille::cli
