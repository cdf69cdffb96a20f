#include "component/WholeMessage.h"

#include <cstdint>

#include "component/pst/messaging/StoreError.h"
#include "format/PropertyIds.h"

namespace pastille::component {
namespace {

using pst::CPstStore;
using pst::CStoreError;
using pst::ObjectKind;
using pst::PropertyValue;
using pst::Refusal;
using writer::CRef;
using writer::IPropertyTarget;
using writer::IWholeAttachment;
using writer::IWholeMessage;

struct AttachmentState;

/// A message that is being made. Its recipients and attachments hold it.
struct MessageState {
    std::shared_ptr<CPstStore> store;
    pst::Folder* folder = nullptr;
    bool isAssociated = false;
    std::shared_ptr<AttachmentState> owner;  ///< of a message inside another one, which then has no folder
    unsigned depth = 0;                      ///< messages around this one
    pst::MessageDraft draft;
    bool isSaved = false;
};

struct AttachmentState {
    std::shared_ptr<MessageState> message;
    pst::AttachmentDraft draft;
    bool isSaved = false;
};

/// What comes after an object was saved would be lost.
template <class State>
void RequireOpen(const State& state)
{
    if (state.isSaved)
        throw CStoreError(Refusal::BadArgument);
}

/// SetProperty of an object; what sets it is all that the kinds differ in.
template <class Interface>
class CTarget : public Interface {
public:
    bool SetProperty(format::PropertyTag tag, std::span<const std::byte> value) override
    {
        return Put(tag, value);
    }
    bool SetProperty(format::PropertyTag tag, platform::IByteStream& value) override
    {
        return Put(tag, value);
    }

protected:
    virtual CPstStore& Store() = 0;
    virtual ObjectKind Kind() const = 0;
    /// Raises what RequireOpen raises.
    virtual void RequireUnsaved() const = 0;
    virtual bool Set(PropertyValue value) = 0;

private:
    template <class Content>
    bool Put(format::PropertyTag tag, Content&& content)
    {
        Guarded<IPropertyTarget>([&] { RequireUnsaved(); });
        return SetWholeProperty(Store(), Kind(), tag, std::forward<Content>(content),
                                [&](PropertyValue value) { return Set(std::move(value)); });
    }
};

class CWholeRecipient final : public CTarget<IPropertyTarget> {
public:
    CWholeRecipient(std::shared_ptr<MessageState> message, std::size_t row)
        : m_message(std::move(message)), m_row(row)
    {
    }

protected:
    CPstStore& Store() override { return *m_message->store; }
    ObjectKind Kind() const override { return ObjectKind::Recipient; }
    void RequireUnsaved() const override { RequireOpen(*m_message); }
    bool Set(PropertyValue value) override
    {
        return m_message->draft.recipients.Set(m_row, std::move(value));
    }

private:
    std::shared_ptr<MessageState> m_message;
    std::size_t m_row;
};

class CWholeAttachment final : public CTarget<IWholeAttachment> {
public:
    explicit CWholeAttachment(std::shared_ptr<AttachmentState> state) : m_state(std::move(state)) {}

    void SetObject(platform::IByteStream& content) override
    {
        Guarded<IWholeAttachment>([&] {
            RequireUnsaved();
            m_state->draft.object = Store().AddObject(content);
        });
    }
    CRef<IWholeMessage> AddMessage() override;
    void Save() override
    {
        Guarded<IWholeAttachment>([&] {
            RequireUnsaved();
            auto& attachments = m_state->message->draft.attachments;
            attachments.push_back(
                Store().AddWholeAttachment(m_state->draft, static_cast<std::uint32_t>(attachments.size())));
            m_state->isSaved = true;
            m_state->draft = {};
        });
    }

protected:
    CPstStore& Store() override { return *m_state->message->store; }
    ObjectKind Kind() const override { return ObjectKind::Attachment; }
    void RequireUnsaved() const override
    {
        RequireOpen(*m_state);
        RequireOpen(*m_state->message);
    }
    bool Set(PropertyValue value) override
    {
        // The bytes and the object stand under one id; what comes last is what the attachment has.
        if (value.tag.id == format::pid::kAttachDataBinary)
            m_state->draft.object.reset();
        m_state->draft.properties.Set(std::move(value));
        return true;
    }

private:
    std::shared_ptr<AttachmentState> m_state;
};

class CWholeMessage final : public CTarget<IWholeMessage> {
public:
    explicit CWholeMessage(std::shared_ptr<MessageState> state) : m_state(std::move(state)) {}

    CRef<IPropertyTarget> AddRecipient() override
    {
        return Guarded<IWholeMessage>([&] {
            RequireUnsaved();
            const std::size_t row = m_state->draft.recipients.Add();
            return CRef<IPropertyTarget>(std::make_shared<CWholeRecipient>(m_state, row));
        });
    }
    CRef<IWholeAttachment> AddAttachment() override
    {
        return Guarded<IWholeMessage>([&] {
            RequireUnsaved();
            auto state = std::make_shared<AttachmentState>();
            state->message = m_state;
            return CRef<IWholeAttachment>(std::make_shared<CWholeAttachment>(std::move(state)));
        });
    }
    void Save() override
    {
        Guarded<IWholeMessage>([&] {
            RequireUnsaved();
            if (m_state->owner == nullptr) {
                Store().AddWholeMessage(*m_state->folder, m_state->isAssociated, m_state->draft);
            } else {
                RequireOpen(*m_state->owner);
                m_state->owner->draft.object = Store().AddWholeEmbedded(m_state->draft);
            }
            m_state->isSaved = true;
            m_state->draft = {};
            m_state->owner.reset();
        });
    }

protected:
    CPstStore& Store() override { return *m_state->store; }
    ObjectKind Kind() const override { return ObjectKind::Message; }
    void RequireUnsaved() const override { RequireOpen(*m_state); }
    bool Set(PropertyValue value) override
    {
        m_state->draft.properties.Set(std::move(value));
        return true;
    }

private:
    std::shared_ptr<MessageState> m_state;
};

CRef<IWholeMessage> CWholeAttachment::AddMessage()
{
    return Guarded<IWholeAttachment>([&] {
        RequireUnsaved();
        const MessageState& outer = *m_state->message;
        if (outer.depth == pst::kDeepestWholeNesting)
            throw CStoreError(Refusal::BadArgument);
        auto state = std::make_shared<MessageState>();
        state->store = outer.store;
        state->owner = m_state;
        state->depth = outer.depth + 1;
        return CRef<IWholeMessage>(std::make_shared<CWholeMessage>(std::move(state)));
    });
}

}  // namespace

CRef<IWholeMessage> MakeWholeMessage(std::shared_ptr<CPstStore> store, pst::Folder& folder, bool isAssociated)
{
    if (!store->IsWritable())
        throw CStoreError(Refusal::ReadOnly);
    store->CheckpointIfDue();
    auto state = std::make_shared<MessageState>();
    state->store = std::move(store);
    state->folder = &folder;
    state->isAssociated = isAssociated;
    return CRef<IWholeMessage>(std::make_shared<CWholeMessage>(std::move(state)));
}

}  // namespace pastille::component
