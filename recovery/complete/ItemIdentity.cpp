#include "recovery/complete/ItemIdentity.h"

#include <array>
#include <span>
#include <string>
#include <vector>

#include "format/Ids.h"
#include "format/PropertyIds.h"
#include "recovery/complete/FoundText.h"

namespace pastille::recovery::complete {
namespace {

using store::complete::CFoundObject;
using store::complete::CFoundTable;
using store::complete::FoundRow;

/// FNV-1a, over everything that is put in.
class CHash {
public:
    void Put(std::span<const std::byte> bytes)
    {
        for (const std::byte byte : bytes)
            Mix(std::to_integer<std::uint8_t>(byte));
        Mix(0xFF);
    }
    void Put(std::u16string_view text) { Put(StoredText(text)); }
    std::uint64_t Value() const { return m_value; }

private:
    void Mix(std::uint8_t byte) { m_value = (m_value ^ byte) * 0x100000001B3; }
    std::uint64_t m_value = 0xCBF29CE484222325;
};

constexpr std::array kTimeIds{format::pid::kMessageDeliveryTime, format::pid::kClientSubmitTime};

std::vector<std::byte> SearchKeyOf(CFoundObject& message)
{
    constexpr std::size_t kLongestKey = 1024;
    return message.Bytes(format::pid::kSearchKey, kLongestKey);
}

/// Of a row and of a message alike; 0 when there is too little to tell it by.
template <class Time, class Text>
std::uint64_t RowKey(const Time& timeOf, const Text& textOf, bool isAssociated)
{
    CHash hash;
    bool isTimed = false;
    for (const std::uint16_t id : kTimeIds) {
        const std::vector<std::byte> time = isAssociated ? std::vector<std::byte>() : timeOf(id);
        isTimed = isTimed || !time.empty();
        hash.Put(time);
    }
    const std::u16string subject = textOf(format::pid::kSubject);
    hash.Put(subject);
    hash.Put(textOf(format::pid::kMessageClass));
    hash.Put(isAssociated ? u"associated" : u"");
    return (isTimed || isAssociated) && !subject.empty() ? hash.Value() : 0;
}

}  // namespace

std::uint64_t IdentityOf(CFoundObject& message, const CItemText& text)
{
    CHash hash;
    bool isKnown = false;
    // A mail sent to oneself lies there twice, with one search key.
    for (const std::uint16_t id : kTimeIds) {
        const auto time = message.Bytes(id, sizeof(std::uint64_t));
        isKnown = isKnown || !time.empty();
        hash.Put(time);
    }
    if (const auto key = SearchKeyOf(message); !key.empty()) {
        hash.Put(key);
        return hash.Value();
    }
    hash.Put(TextOf(message, format::pid::kSubject, text));
    hash.Put(TextOf(message, format::pid::kSenderName, text));
    hash.Put(message.Bytes(format::pid::kMessageSize));
    return isKnown ? hash.Value() : 0;
}

bool IsSameMessage(CFoundObject& newer, CFoundObject& older, const CItemText& text, bool isOneStore)
{
    const auto newerKey = SearchKeyOf(newer);
    const auto olderKey = SearchKeyOf(older);
    // In a damaged heap the key may be another one than the message had.
    if (!newer.Fault() && !older.Fault() && !newerKey.empty() && !olderKey.empty())
        return newerKey == olderKey;
    return isOneStore || IdentityOf(newer, text) == IdentityOf(older, text);
}

bool IsFlaggedAssociated(const CFoundObject& message)
{
    const std::uint32_t flags = message.Number(format::pid::kMessageFlags).value_or(0);
    return (flags & format::messageflag::kAssociated) != 0;
}

void CLostRows::Add(CFoundTable& table, std::uint32_t folder, const std::unordered_set<std::uint32_t>& lost,
                    const CItemText& text)
{
    table.ForEachRow([&](const FoundRow& row) {
        if (!lost.contains(row.id))
            return true;
        const auto time = [&](std::uint16_t id) {
            const auto* const column = table.Info().FindId(id);
            return column == nullptr ? std::vector<std::byte>() : table.Cell(row, *column).bytes;
        };
        const bool isAssociated = (folder & ListedItem::kAssociated) != 0;
        const auto key = RowKey(
            time, [&](std::uint16_t id) { return TextOf(table, row, id, text); }, isAssociated);
        if (key == 0)
            return true;
        const auto [at, isNew] = m_rows.try_emplace(key, ListedItem{row.id, folder});
        if (!isNew)
            at->second.reset();
        return true;
    });
}

std::optional<ListedItem> CLostRows::Take(CFoundObject& message, const CItemText& text)
{
    const auto time = [&](std::uint16_t id) { return message.Bytes(id, sizeof(std::uint64_t)); };
    const bool isAssociated = IsFlaggedAssociated(message);
    const auto key = RowKey(
        time, [&](std::uint16_t id) { return TextOf(message, id, text); }, isAssociated);
    const auto at = m_rows.find(key);
    if (key == 0 || at == m_rows.end() || !at->second)
        return std::nullopt;
    const auto row = at->second;
    m_rows.erase(at);
    return row;
}

}  // namespace pastille::recovery::complete
