#include "component/Item.h"

#include <utility>

#include "component/AttachmentList.h"
#include "component/Guard.h"
#include "component/ItemFamily.h"

namespace pastille::component {
namespace {

using writer::CRef;
using writer::IAttachmentList;
using writer::IMessageItem;
using writer::IObject;
using writer::IStoreItem;
using writer::ItemProperty;

/// What Reply and Forward return: the answer itself is never made.
class CAnswer final : public IObject {};

/// An item of one family. All families behave alike but for their interfaces and the picture of a contact.
template <class Interface>
class CItem : public Interface, public IItemObject {
public:
    explicit CItem(std::shared_ptr<CItemCore> core) : m_core(std::move(core)) {}

    CItemCore& Core() override { return *m_core; }

    void Save() override
    {
        Guarded<IStoreItem>([&] { m_core->Save(); });
    }
    std::u16string GetMessageClass() override
    {
        return Guarded<IMessageItem>([&] { return m_core->Class(); });
    }
    std::u16string GetText(const ItemProperty& property) override
    {
        return Guarded<IMessageItem>([&] { return m_core->Text(property); });
    }
    writer::TextStart GetTextStart(const ItemProperty& property, std::uint32_t mostBytes) override
    {
        return Guarded<IMessageItem>([&] { return m_core->TextStart(property, mostBytes); });
    }
    void SetText(const ItemProperty& property, std::u16string_view value) override
    {
        Guarded<IMessageItem>([&] { m_core->SetText(property, value); });
    }
    double GetDate(const ItemProperty& property) override
    {
        return Guarded<IMessageItem>([&] { return m_core->Date(property); });
    }
    void SetDate(const ItemProperty& property, double value) override
    {
        Guarded<IMessageItem>([&] { m_core->SetDate(property, value); });
    }
    std::int16_t GetFlag(const ItemProperty& property) override
    {
        return Guarded<IMessageItem>([&]() -> std::int16_t { return m_core->Number(property) != 0 ? 1 : 0; });
    }
    void SetFlag(const ItemProperty& property, std::int16_t value) override
    {
        Guarded<IMessageItem>([&] { m_core->SetNumber(property, value != 0 ? 1 : 0); });
    }
    std::int32_t GetNumber(const ItemProperty& property) override
    {
        return Guarded<IMessageItem>([&] { return m_core->Number(property); });
    }
    void SetNumber(const ItemProperty& property, std::int32_t value) override
    {
        Guarded<IMessageItem>([&] { m_core->SetNumber(property, value); });
    }
    CRef<IAttachmentList> GetAttachments() override { return MakeAttachmentList(m_core); }
    CRef<IObject> Reply() override
    {
        Guarded<IMessageItem>([&] { m_core->SetReplied(); });
        return CRef<IObject>(std::make_shared<CAnswer>());
    }
    CRef<IObject> Forward() override
    {
        Guarded<IMessageItem>([&] { m_core->SetForwarded(); });
        return CRef<IObject>(std::make_shared<CAnswer>());
    }

private:
    std::shared_ptr<CItemCore> m_core;
};

class CContact final : public CItem<writer::IContactItem> {
public:
    using CItem::CItem;
    void AddPicture(platform::IByteStream& content, std::u16string_view fileName) override
    {
        Guarded<IContactItem>([&] { Core().AddPicture(content, fileName); });
    }
};

}  // namespace

std::shared_ptr<IMessageItem> MakeItem(std::shared_ptr<CItemCore> core)
{
    switch (FamilyOf(core->Class())) {
        case ItemFamily::Contact:
            return std::make_shared<CContact>(std::move(core));
        case ItemFamily::Task:
            return std::make_shared<CItem<writer::ITaskItem>>(std::move(core));
        case ItemFamily::Appointment:
            return std::make_shared<CItem<writer::IAppointmentItem>>(std::move(core));
        case ItemFamily::Meeting:
            return std::make_shared<CItem<writer::IMeetingItem>>(std::move(core));
        case ItemFamily::Journal:
            return std::make_shared<CItem<writer::IJournalItem>>(std::move(core));
        case ItemFamily::Note:
            return std::make_shared<CItem<writer::INoteItem>>(std::move(core));
        case ItemFamily::Mail:
            break;
    }
    return std::make_shared<CItem<IMessageItem>>(std::move(core));
}

}  // namespace pastille::component
