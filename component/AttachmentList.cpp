#include "component/AttachmentList.h"

#include <algorithm>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "component/Guard.h"
#include "component/Item.h"
#include "component/pst/messaging/MessagingIds.h"
#include "format/PropertyIds.h"

namespace pastille::component {
namespace {

using writer::CRef;
using writer::IAttachment;
using writer::IAttachmentList;
using writer::IMessageItem;
using writer::IStoreItem;

constexpr std::uint64_t kLargestName = 1u << 16;

/// A value that stands in a data tree.
class CTreeStream final : public platform::IByteStream {
public:
    CTreeStream(std::shared_ptr<CItemCore> item, std::unique_ptr<pst::CDataTreeReader> tree)
        : m_item(std::move(item)), m_tree(std::move(tree))
    {
    }
    std::size_t Read(std::span<std::byte> into) override
    {
        return Guarded<IAttachment>([&] {
            const std::size_t got = m_tree->Read(m_done, into);
            m_done += got;
            return got;
        });
    }

private:
    std::shared_ptr<CItemCore> m_item;  ///< keeps the store
    std::unique_ptr<pst::CDataTreeReader> m_tree;
    std::uint64_t m_done = 0;
};

/// A short value.
class CValueStream final : public platform::IByteStream {
public:
    explicit CValueStream(std::vector<std::byte> bytes) : m_bytes(std::move(bytes)) {}
    std::size_t Read(std::span<std::byte> into) override
    {
        const std::size_t count = std::min(into.size(), m_bytes.size() - m_done);
        std::ranges::copy(std::span(m_bytes).subspan(m_done, count), into.begin());
        m_done += count;
        return count;
    }

private:
    std::vector<std::byte> m_bytes;
    std::size_t m_done = 0;
};

class CAttachment final : public IAttachment {
public:
    CAttachment(std::shared_ptr<CItemCore> item, const pst::NodeRecord& node)
        : m_item(std::move(item)), m_properties(m_item->Store().OpenProperties(node))
    {
    }

    std::u16string GetFileName() override
    {
        return Guarded<IAttachment>([&] {
            for (const std::uint16_t id :
                 {format::pid::kAttachLongFilename, format::pid::kAttachFilename, format::pid::kDisplayName})
                if (const auto value = m_properties->Read(id, kLargestName))
                    if (auto name = m_item->TextOf(*value); !name.empty())
                        return name;
            return std::u16string();
        });
    }
    std::u16string GetContentId() override
    {
        return Guarded<IAttachment>([&] {
            const auto value = m_properties->Read(format::pid::kAttachContentId, kLargestName);
            return value ? m_item->TextOf(*value) : std::u16string();
        });
    }
    std::int32_t GetMethod() override
    {
        return Guarded<IAttachment>(
            [&] { return static_cast<std::int32_t>(Number(format::pid::kAttachMethod)); });
    }
    std::int64_t GetSize() override
    {
        return Guarded<IAttachment>([&]() -> std::int64_t {
            if (HasContent())
                return static_cast<std::int64_t>(
                    m_properties->SizeOf(format::pid::kAttachDataBinary).value_or(0));
            return Number(format::pid::kAttachSize);
        });
    }
    std::unique_ptr<platform::IByteStream> OpenContent() override
    {
        return Guarded<IAttachment>([&]() -> std::unique_ptr<platform::IByteStream> {
            if (!HasContent())
                return nullptr;
            if (auto tree = m_properties->Open(format::pid::kAttachDataBinary))
                return std::make_unique<CTreeStream>(m_item, std::move(tree));
            auto value = m_properties->Read(format::pid::kAttachDataBinary);
            return std::make_unique<CValueStream>(value ? std::move(value->bytes) : std::vector<std::byte>());
        });
    }
    CRef<IMessageItem> GetItem() override
    {
        return Guarded<IAttachment>([&] {
            const auto message = Number(format::pid::kAttachMethod) == pst::attachmethod::kEmbeddedMessage
                                     ? m_properties->OpenObject(pst::pid::kAttachDataObject)
                                     : std::nullopt;
            return message ? CRef<IMessageItem>(MakeItem(std::make_shared<CItemCore>(*m_item, *message)))
                           : CRef<IMessageItem>();
        });
    }

private:
    std::uint32_t Number(std::uint16_t id)
    {
        const auto value = m_properties->Read(id);
        return value ? pst::AsInteger32(*value).value_or(0) : 0;
    }
    bool HasContent() const
    {
        return m_properties->TypeOf(format::pid::kAttachDataBinary) == format::PropertyType::Binary;
    }

    std::shared_ptr<CItemCore> m_item;
    std::unique_ptr<pst::CPropertyReader> m_properties;
};

class CAttachmentList final : public IAttachmentList {
public:
    explicit CAttachmentList(std::shared_ptr<CItemCore> core) : m_core(std::move(core)) {}

    void AddAttachment(platform::IByteStream& content, std::u16string_view fileName,
                       std::u16string_view displayName) override
    {
        Guarded<IAttachmentList>([&] { m_core->AddFile(content, fileName, displayName); });
    }
    void AddAttachment(const CRef<IStoreItem>& item, std::u16string_view displayName) override
    {
        if (!item)
            throw writer::_com_error(writer::E_POINTER, kInterfaceId);
        const auto object = std::dynamic_pointer_cast<IItemObject>(item.Shared());
        if (!object)
            throw writer::_com_error(writer::E_INVALIDARG, kInterfaceId);
        Guarded<IAttachmentList>([&] { m_core->AddItem(object->Core(), displayName); });
    }
    std::int32_t GetCount() override
    {
        return Guarded<IAttachmentList>([&] { return static_cast<std::int32_t>(m_core->AttachmentCount()); });
    }
    CRef<IAttachment> GetAttachment(std::int32_t number) override
    {
        return Guarded<IAttachmentList>([&] {
            if (number < 1 || static_cast<std::size_t>(number) > m_core->AttachmentCount())
                return CRef<IAttachment>();
            const auto node = m_core->AttachmentNode(static_cast<std::size_t>(number) - 1);
            return CRef<IAttachment>(std::make_shared<CAttachment>(m_core, node));
        });
    }

private:
    std::shared_ptr<CItemCore> m_core;
};

}  // namespace

CRef<IAttachmentList> MakeAttachmentList(std::shared_ptr<CItemCore> item)
{
    return CRef<IAttachmentList>(std::make_shared<CAttachmentList>(std::move(item)));
}

}  // namespace pastille::component
