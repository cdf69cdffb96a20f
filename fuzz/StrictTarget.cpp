#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "component/BuiltInComponent.h"
#include "tests/support/FaultyFileSystem.h"

namespace {

using namespace pastille;
using namespace pastille::writer;

constexpr std::int32_t kMostItems = 50;

/// Refusing is the right answer to much of every input; nothing but these errors may come out.
template <class Work>
void Attempt(Work&& work)
{
    try {
        work();
    } catch (const _com_error&) {
        return;
    }
}

void ReadAttachment(IAttachment& attachment)
{
    std::array<std::byte, 4096> piece;
    attachment.GetFileName();
    attachment.GetSize();
    if (const auto content = attachment.OpenContent())
        content->Read(piece);
}

void ReadItem(IMessageItem& item, int depth)
{
    constexpr int kDeepest = 5;
    for (const ItemProperty* text : {&property::Subject, &property::Body, &property::HtmlBody,
                                     &property::RtfBody, &property::NamedText8012})
        Attempt([&] { item.GetText(*text); });
    Attempt([&] { item.GetDate(property::DeliveryTime); });
    const auto attachments = item.GetAttachments();
    const std::int32_t count = std::min(attachments->GetCount(), kMostItems);
    for (std::int32_t i = 1; i <= count; ++i)
        Attempt([&] {
            const auto attachment = attachments->GetAttachment(i);
            ReadAttachment(*attachment);
            if (const auto embedded = attachment->GetItem(); embedded && depth < kDeepest)
                ReadItem(*embedded, depth + 1);
        });
}

void Visit(IStoreFolder& folder, int depth)
{
    constexpr int kDeepest = 20;
    Attempt([&] {
        folder.GetUnreadCount();
        const auto items = folder.GetItems();
        const std::int32_t count = std::min(items->GetCount(), kMostItems);
        for (std::int32_t i = 1; i <= count; ++i)
            Attempt([&] { ReadItem(*items->GetItem(i), 0); });
    });
    Attempt([&] {
        const auto folders = folder.GetFolders();
        const std::int32_t count = std::min(folders->GetCount(), kMostItems);
        for (std::int32_t i = 1; i <= count && depth < kDeepest; ++i)
            Visit(*folders->GetFolder(i), depth + 1);
    });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const auto bytes = std::as_bytes(std::span(data, size));
    tests::CMemoryFileSystem files(bytes);
    component::CBuiltInComponent component(files, "profiles");
    Attempt([&] {
        const auto store = component.CreateSession()->GetStores()->OpenPstStore("store.pst", Missing{});
        Visit(*store->GetRootFolder(), 0);
    });
    return 0;
}
