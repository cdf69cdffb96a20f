#pragma once

#include <map>
#include <string>
#include <vector>

#include "platform/Messages.h"
#include "tests/support/FakeComponent.h"
#include "writer/PropertySource.h"

namespace pastille::tests {

inline constexpr std::uint16_t kShort = 0x0002;
inline constexpr std::uint16_t kLong = 0x0003;
inline constexpr std::uint16_t kBoolean = 0x000B;
inline constexpr std::uint16_t kString = 0x001F;
inline constexpr std::uint16_t kTime = 0x0040;
inline constexpr std::uint16_t kBinary = 0x0102;

/// A source item whose values are given by their HNIDs.
class CValueSource final : public writer::IPropertySource {
public:
    bool PassesBoundsTest(std::uint32_t value) const override { return values.contains(value); }
    std::optional<format::CByteView> Allocation(std::uint32_t hid) const override
    {
        const auto found = values.find(hid);
        return found == values.end()
                   ? std::nullopt
                   : std::optional(format::CByteView(std::as_bytes(std::span(found->second))));
    }
    std::optional<format::CByteView> Value(std::uint32_t hid) const override { return Allocation(hid); }
    std::u16string StringValue(std::uint16_t, std::uint32_t hnid) override { return texts[hnid]; }
    const format::CNamedPropertyMap& NamedProperties() const override { return names; }
    const platform::CCodePage& CodePage() const override { return m_codePage; }
    bool IsOst() const override { return isOst; }
    std::u16string TargetFolderName() override { return folderName; }

    /// Adds a value and returns its HNID.
    std::uint32_t Add(std::string bytes)
    {
        const auto hid = static_cast<std::uint32_t>((values.size() + 1) << 5);
        values.emplace(hid, std::move(bytes));
        return hid;
    }

    std::map<std::uint32_t, std::string> values;
    std::map<std::uint32_t, std::u16string> texts;
    format::CNamedPropertyMap names;
    std::u16string folderName = u"Inbox";
    bool isOst = false;

private:
    platform::CCodePage m_codePage{"windows-1252"};
};

/// A fake component with one item, and the source that it is written from.
struct WriterFixture {
    explicit WriterFixture(const char16_t* messageClass)
    {
        component.storeName = u"Store";
        const auto root = component.CreateSession()->GetFolderFromPath(u"\\\\Store");
        item = writer::QueryInterface<writer::IMessageItem>(
            root->GetItems()->AddItem(std::u16string(messageClass)));
    }
    FakeItem& Item() { return *component.root.items.front(); }

    CFakeComponent component;
    CValueSource source;
    writer::CRef<writer::IMessageItem> item;
};

/// Little-endian bytes.
template <class Integer>
std::string Packed(Integer value)
{
    std::string bytes;
    for (std::size_t i = 0; i < sizeof value; ++i)
        bytes += static_cast<char>(static_cast<std::uint64_t>(value) >> (8 * i));
    return bytes;
}

inline std::string Wide(std::u16string_view text)
{
    std::string bytes;
    for (const char16_t unit : text)
        bytes += Packed<std::uint16_t>(unit);
    return bytes;
}

}  // namespace pastille::tests
