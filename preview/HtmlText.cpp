#include "preview/HtmlText.h"

#include <QString>
#include <QTextDocumentFragment>

#include <algorithm>
#include <array>
#include <cstdint>
#include <unordered_map>
#include <utility>

#include "platform/Text.h"

namespace pastille::preview {
namespace {

/// Of elements and of characters.
constexpr std::size_t kLongestEntity = 32;
/// Different names of characters that are looked up in one document.
constexpr std::size_t kMostEntities = 4096;

/// Elements that begin and end a line.
constexpr auto kBlocks = std::to_array<std::u16string_view>(
    {u"address", u"article", u"blockquote", u"body",   u"caption", u"center", u"dd", u"div",
     u"dl",      u"dt",      u"fieldset",   u"footer", u"form",    u"h1",     u"h2", u"h3",
     u"h4",      u"h5",      u"h6",         u"header", u"hr",      u"li",     u"ol", u"p",
     u"pre",     u"section", u"table",      u"tr",     u"ul"});
/// Elements whose contents are no text of the document, and no markup either.
constexpr auto kRawElements =
    std::to_array<std::u16string_view>({u"iframe", u"noembed", u"noframes", u"script", u"style", u"title"});

template <class Names>
bool IsOneOf(const Names& names, std::u16string_view name)
{
    return std::ranges::find(names, name) != names.end();
}

bool IsLetter(char16_t c)
{
    return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z');
}

bool IsLetterOrDigit(char16_t c)
{
    return IsLetter(c) || (c >= u'0' && c <= u'9');
}

bool IsBlank(char16_t c)
{
    return c == u' ' || c == u'\t' || c == u'\n' || c == u'\r' || c == u'\f';
}

class CHtmlReader {
public:
    explicit CHtmlReader(std::u16string_view html) : m_html(html) {}

    std::u16string Read()
    {
        while (m_at < m_html.size()) {
            const char16_t c = m_html[m_at];
            if (c == u'<' && BeginsMarkup())
                ReadMarkup();
            else if (c == u'&')
                ReadReference();
            else {
                ++m_at;
                Add(c);
            }
        }
        return std::move(m_text);
    }

private:
    char16_t At(std::size_t at) const { return at < m_html.size() ? m_html[at] : u'\0'; }

    bool BeginsMarkup() const
    {
        const char16_t next = At(m_at + 1);
        return IsLetter(next) || next == u'!' || next == u'?' || next == u'/';
    }

    void ReadMarkup()
    {
        if (m_html.substr(m_at, 4) == u"<!--") {
            SkipTo(u"-->", m_at + 4);
            return;
        }
        const bool isEnd = At(m_at + 1) == u'/';
        m_at += isEnd ? 2 : 1;
        const std::u16string name = ReadName();
        SkipTag();
        ObeyTag(name, isEnd);
    }

    std::u16string ReadName()
    {
        std::u16string name;
        while (IsLetterOrDigit(At(m_at)) && name.size() < kLongestEntity) {
            const char16_t c = At(m_at++);
            name.push_back(c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c + 0x20) : c);
        }
        return name;
    }

    void SkipTo(std::u16string_view mark, std::size_t from)
    {
        const std::size_t found = m_html.find(mark, from);
        m_at = found == std::u16string_view::npos ? m_html.size() : found + mark.size();
    }

    /// To the end of the tag, which no quoted value ends.
    void SkipTag()
    {
        char16_t quote = 0;
        while (m_at < m_html.size()) {
            const char16_t c = m_html[m_at++];
            if (quote != 0)
                quote = c == quote ? u'\0' : quote;
            else if (c == u'>')
                return;
            else if ((c == u'"' || c == u'\'') && m_html[m_at - 2] == u'=')
                quote = c;
        }
    }

    void ObeyTag(const std::u16string& name, bool isEnd)
    {
        if (IsOneOf(kBlocks, name))
            EndLine();
        if (name == u"br" && !isEnd)
            m_text.push_back(u'\n');
        else if ((name == u"td" || name == u"th") && !isEnd)
            BeginCell();
        else if (name == u"li" && !isEnd)
            m_text += u"\u2022 ";
        else if (name == u"pre")
            m_isPreformatted = !isEnd;
        else if (!isEnd && IsOneOf(kRawElements, name))
            SkipElement(name);
    }

    void SkipElement(const std::u16string& name)
    {
        while (m_at < m_html.size()) {
            SkipTo(u"</", m_at);
            if (platform::EqualsNoCase(m_html.substr(std::min(m_at, m_html.size()), name.size()), name)) {
                SkipTag();
                return;
            }
        }
    }

    void ReadReference()
    {
        std::size_t end = m_at + 1;
        const bool isNumber = At(end) == u'#';
        end += isNumber ? 1 : 0;
        while (end - m_at < kLongestEntity && IsLetterOrDigit(At(end)))
            ++end;
        const std::u16string name(m_html.substr(m_at, end - m_at));
        if (name.size() < 2 || (At(end) != u';' && !isNumber)) {
            ++m_at;
            Add(u'&');
            return;
        }
        m_at = end + (At(end) == u';' ? 1 : 0);
        AddReference(name);
    }

    void AddReference(const std::u16string& name)
    {
        auto known = m_references.find(name);
        if (known == m_references.end() && m_references.size() < kMostEntities) {
            const QString source = QString::fromStdU16String(name) + u';';
            known = m_references
                        .emplace(name, QTextDocumentFragment::fromHtml(source).toPlainText().toStdU16String())
                        .first;
        }
        for (const char16_t c : known == m_references.end() ? name : known->second)
            Add(c == u'\u00A0' ? u' ' : c, true);
    }

    void Add(char16_t c, bool isReference = false)
    {
        const bool isBlank = IsBlank(c) && !m_isPreformatted && !isReference;
        if (!isBlank) {
            if (c != u'\r')
                m_text.push_back(c);
        } else if (!m_text.empty() && !IsBlank(m_text.back())) {
            m_text.push_back(u' ');
        }
    }

    void BeginCell()
    {
        TrimLine();
        if (!m_text.empty() && m_text.back() != u'\n')
            m_text.push_back(u'\t');
    }

    void TrimLine()
    {
        while (!m_text.empty() && m_text.back() == u' ')
            m_text.pop_back();
    }

    void EndLine()
    {
        TrimLine();
        if (!m_text.empty() && m_text.back() != u'\n')
            m_text.push_back(u'\n');
    }

    std::u16string_view m_html;
    std::size_t m_at = 0;
    std::u16string m_text;
    bool m_isPreformatted = false;
    std::unordered_map<std::u16string, std::u16string> m_references;
};

}  // namespace

std::u16string HtmlToText(std::u16string_view html)
{
    return CHtmlReader(html).Read();
}

}  // namespace pastille::preview
