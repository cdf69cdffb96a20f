#include "preview/BodyImages.h"

#include <algorithm>
#include <array>
#include <utility>

#include "platform/Text.h"
#include "writer/ComError.h"

namespace pastille::preview {
namespace {

using namespace std::string_view_literals;

constexpr std::int32_t kMostAttachments = 1000;

struct Mark {
    std::size_t at;
    std::string_view bytes;
    std::string_view type;
};

constexpr auto kMarks = std::to_array<Mark>({{0, "\x89PNG\r\n\x1A\n"sv, "image/png"},
                                             {0, "\xFF\xD8\xFF"sv, "image/jpeg"},
                                             {0, "GIF87a"sv, "image/gif"},
                                             {0, "GIF89a"sv, "image/gif"},
                                             {0, "BM"sv, "image/bmp"},
                                             {8, "WEBP"sv, "image/webp"}});

std::u16string_view WithoutBrackets(std::u16string_view id)
{
    if (id.size() >= 2 && id.front() == u'<' && id.back() == u'>')
        id = id.substr(1, id.size() - 2);
    return id;
}

}  // namespace

std::string_view ImageTypeOf(std::span<const std::byte> bytes)
{
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    for (const Mark& mark : kMarks)
        if (text.size() > mark.at && text.substr(mark.at).starts_with(mark.bytes))
            return mark.type;
    return {};
}

CBodyImages::CBodyImages(writer::CRef<writer::IMessageItem> item) : m_attachments(item->GetAttachments())
{
    m_count = std::min(m_attachments->GetCount(), kMostAttachments);
}

bool CBodyImages::LearnNext()
{
    if (std::cmp_greater_equal(m_names.size(), m_count))
        return false;
    Name name;
    try {
        if (const auto attachment =
                m_attachments->GetAttachment(static_cast<std::int32_t>(m_names.size() + 1)))
            name = {attachment->GetContentId(), attachment->GetFileName()};
    } catch (const writer::_com_error&) {
        name = {};  // one that cannot be read is none that is shown
    }
    m_names.push_back(std::move(name));
    return true;
}

std::int32_t CBodyImages::Find(std::u16string_view contentId) const
{
    const auto numberOf = [&](auto&& isIt) {
        const auto found = std::ranges::find_if(m_names, isIt);
        return found == m_names.end() ? 0 : static_cast<std::int32_t>(found - m_names.begin() + 1);
    };
    if (contentId.empty())
        return 0;
    const std::int32_t number = numberOf(
        [&](const Name& name) { return WithoutBrackets(name.contentId) == WithoutBrackets(contentId); });
    const auto fileName = contentId.substr(0, contentId.find(u'@'));
    return number != 0 || fileName.empty() ? number : numberOf([&](const Name& name) {
        return name.contentId.empty() && platform::EqualsNoCase(name.fileName, fileName);
    });
}

std::unique_ptr<platform::IByteStream> CBodyImages::Open(std::int32_t number)
{
    const auto attachment = m_attachments->GetAttachment(number);
    return attachment && attachment->GetSize() <= kLargestImage ? attachment->OpenContent() : nullptr;
}

}  // namespace pastille::preview
