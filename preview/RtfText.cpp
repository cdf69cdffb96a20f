#include "preview/RtfText.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/Text.h"

namespace pastille::preview {
namespace {

constexpr std::uint32_t kUsualCodePage = 1252;
/// Groups that keep a state of their own; deeper ones share that of the deepest.
constexpr std::size_t kMostGroups = 1000;
constexpr std::size_t kMostFonts = 4096;
/// Fallback characters after a \u that are believed.
constexpr int kMostFallbacks = 16;

/// Groups whose contents are no text of the document.
constexpr auto kHiddenGroups = std::to_array<std::string_view>(
    {"annotation", "atnauthor", "atnid",      "author",    "bkmkend",   "bkmkstart",  "colorschememapping",
     "colortbl",   "comment",   "creatim",    "datafield", "datastore", "doccomm",    "fldinst",
     "filetbl",    "fonttbl",   "footer",     "footerf",   "footerl",   "footerr",    "generator",
     "header",     "headerf",   "headerl",    "headerr",   "info",      "keywords",   "latentstyles",
     "listtable",  "mmathPr",   "nonshppict", "object",    "operator",  "pict",       "private",
     "printim",    "revtbl",    "revtim",     "rsidtbl",   "rxe",       "stylesheet", "subject",
     "tc",         "themedata", "title",      "txe",       "xe",        "xmlnstbl"});

struct WordText {
    std::string_view word;
    char16_t text;
};

constexpr auto kWordTexts = std::to_array<WordText>({{"par", u'\n'},
                                                     {"line", u'\n'},
                                                     {"row", u'\n'},
                                                     {"sect", u'\n'},
                                                     {"page", u'\n'},
                                                     {"tab", u'\t'},
                                                     {"cell", u'\t'},
                                                     {"nestcell", u'\t'},
                                                     {"nestrow", u'\n'},
                                                     {"emdash", u'\u2014'},
                                                     {"endash", u'\u2013'},
                                                     {"lquote", u'\u2018'},
                                                     {"rquote", u'\u2019'},
                                                     {"ldblquote", u'\u201C'},
                                                     {"rdblquote", u'\u201D'},
                                                     {"bullet", u'\u2022'},
                                                     {"emspace", u'\u2003'},
                                                     {"enspace", u'\u2002'}});

struct CharacterSet {
    int number;
    std::uint32_t codePage;
};

/// Of fonts that are not of the document's own code page.
constexpr auto kCharacterSets = std::to_array<CharacterSet>({{77, 10000},
                                                             {128, 932},
                                                             {129, 949},
                                                             {134, 936},
                                                             {136, 950},
                                                             {161, 1253},
                                                             {162, 1254},
                                                             {163, 1258},
                                                             {177, 1255},
                                                             {178, 1256},
                                                             {186, 1257},
                                                             {204, 1251},
                                                             {222, 874},
                                                             {238, 1250},
                                                             {254, 437},
                                                             {255, 850}});

bool IsControlLetter(char16_t c)
{
    return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z');
}

bool IsDigit(char16_t c)
{
    return c >= u'0' && c <= u'9';
}

std::optional<unsigned> HexDigit(char16_t c)
{
    if (IsDigit(c))
        return c - u'0';
    const auto lower = static_cast<char16_t>(c | 0x20);
    return lower >= u'a' && lower <= u'f' ? std::optional<unsigned>(lower - u'a' + 10u) : std::nullopt;
}

/// The usual one in place of one that is not known.
std::uint32_t KnownCodePage(int number)
{
    const auto codePage = static_cast<std::uint32_t>(std::max(number, 0));
    return platform::CodePageName(codePage).empty() ? kUsualCodePage : codePage;
}

class CRtfReader {
public:
    CRtfReader(std::u16string_view rtf, std::size_t mostUnits) : m_rtf(rtf), m_mostUnits(mostUnits) {}

    std::u16string Read()
    {
        while (m_at < m_rtf.size() && m_text.size() + m_bytes.size() < m_mostUnits)
            ReadNext();
        Flush();
        m_text.erase(m_text.find_last_not_of(u'\n') + 1);
        return std::move(m_text);
    }

private:
    struct Group {
        bool isHidden = false;
        bool isHiddenText = false;  ///< the character property, \v
        bool isFontTable = false;
        int fallbacks = 1;  ///< characters that stand after a \u for readers without Unicode
        std::optional<int> font;
    };

    Group& Now() { return m_groups.back(); }
    bool IsShown() const { return !m_groups.back().isHidden && !m_groups.back().isHiddenText; }

    void ReadNext()
    {
        const char16_t c = m_rtf[m_at++];
        switch (c) {
            case u'{':
                Open();
                break;
            case u'}':
                Close();
                break;
            case u'\\':
                ReadControl();
                break;
            case u'\r':
            case u'\n':
            case u'\0':
                break;
            default:
                AddByte(static_cast<unsigned>(c));
        }
    }

    void Open()
    {
        Flush();
        m_skip = 0;
        m_isStarred = false;
        if (m_groups.size() < kMostGroups)
            m_groups.push_back(Now());
        else
            ++m_deeper;
    }

    void Close()
    {
        Flush();
        m_skip = 0;
        m_isStarred = false;
        if (m_deeper > 0)
            --m_deeper;
        else if (m_groups.size() > 1)
            m_groups.pop_back();
    }

    void ReadControl()
    {
        if (m_at >= m_rtf.size())
            return;
        if (IsControlLetter(m_rtf[m_at])) {
            ReadWord();
            return;
        }
        const char16_t symbol = m_rtf[m_at++];
        if (symbol == u'\'') {
            ReadHexByte();
        } else if (symbol == u'*') {
            m_isStarred = true;
        } else if (symbol == u'\\' || symbol == u'{' || symbol == u'}') {
            AddByte(static_cast<unsigned>(symbol));
        } else if (symbol == u'~') {
            Add(u'\u00A0');
        } else if (symbol == u'_') {
            Add(u'\u2011');
        } else if (symbol == u'\n' || symbol == u'\r') {
            Add(u'\n');
        }
    }

    void ReadHexByte()
    {
        if (m_rtf.size() - m_at < 2)
            return;
        const auto high = HexDigit(m_rtf[m_at]);
        const auto low = HexDigit(m_rtf[m_at + 1]);
        if (!high || !low)
            return;
        m_at += 2;
        AddByte(*high * 16 + *low);
    }

    void ReadWord()
    {
        constexpr std::size_t kLongestWord = 32;
        std::string word;
        while (m_at < m_rtf.size() && IsControlLetter(m_rtf[m_at]) && word.size() < kLongestWord)
            word.push_back(static_cast<char>(m_rtf[m_at++]));
        const std::optional<int> number = ReadNumber();
        if (m_at < m_rtf.size() && m_rtf[m_at] == u' ')
            ++m_at;
        Flush();
        const bool wasStarred = std::exchange(m_isStarred, false);
        if (word == "bin") {
            m_at += std::min(m_rtf.size() - m_at, static_cast<std::size_t>(std::max(number.value_or(0), 0)));
            return;
        }
        if (m_skip > 0) {
            --m_skip;
            return;
        }
        Obey(word, number, wasStarred);
    }

    std::optional<int> ReadNumber()
    {
        constexpr std::size_t kMostDigits = 10;
        std::string digits;
        if (m_at + 1 < m_rtf.size() && m_rtf[m_at] == u'-' && IsDigit(m_rtf[m_at + 1]))
            digits.push_back(static_cast<char>(m_rtf[m_at++]));
        for (; m_at < m_rtf.size() && IsDigit(m_rtf[m_at]); ++m_at)
            if (digits.size() <= kMostDigits)
                digits.push_back(static_cast<char>(m_rtf[m_at]));
        int number = 0;
        const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
        return !digits.empty() && error == std::errc() ? std::optional(number) : std::nullopt;
    }

    void Obey(const std::string& word, std::optional<int> number, bool wasStarred)
    {
        if (word == "fonttbl")
            Now().isFontTable = true;
        if (wasStarred || std::ranges::find(kHiddenGroups, word) != kHiddenGroups.end())
            Now().isHidden = true;
        else if (word == "u")
            AddUnicode(number.value_or(u'?'));
        else if (word == "uc")
            Now().fallbacks = std::clamp(number.value_or(1), 0, kMostFallbacks);
        else if (word == "v")
            Now().isHiddenText = number.value_or(1) != 0;
        else if (word == "plain")
            Now().isHiddenText = false;
        else if (word == "ansicpg")
            m_codePage = KnownCodePage(number.value_or(0));
        else if (word == "mac")
            m_codePage = KnownCodePage(10000);
        else if (word == "f" || word == "deff")
            Now().font = number;
        else if (word == "fcharset" && Now().isFontTable && Now().font && m_fonts.size() < kMostFonts)
            m_fonts[*Now().font] = number.value_or(0);
        else if (const auto text = std::ranges::find(kWordTexts, word, &WordText::word);
                 text != kWordTexts.end())
            Add(text->text);
    }

    void AddUnicode(int number)
    {
        Add(static_cast<char16_t>(number));
        m_skip = Now().fallbacks;
    }

    void Add(char16_t unit)
    {
        Flush();
        if (m_skip > 0)
            --m_skip;
        else if (IsShown())
            m_text.push_back(unit);
    }

    /// Bytes are decoded together, so that a character of two of them is one.
    void AddByte(unsigned byte)
    {
        if (m_skip > 0)
            --m_skip;
        else if (IsShown())
            m_bytes.push_back(static_cast<std::byte>(byte));
    }

    void Flush()
    {
        if (m_bytes.empty())
            return;
        const bool isAscii = std::ranges::all_of(m_bytes, [](std::byte b) { return b < std::byte{0x80}; });
        if (isAscii)
            std::ranges::transform(m_bytes, std::back_inserter(m_text),
                                   [](std::byte b) { return static_cast<char16_t>(b); });
        else
            m_text += CodePage().ToUtf16(m_bytes);
        m_bytes.clear();
    }

    const platform::CCodePage& CodePage()
    {
        const auto font = Now().font ? m_fonts.find(*Now().font) : m_fonts.end();
        const int set = font == m_fonts.end() ? 0 : font->second;
        const auto special = std::ranges::find(kCharacterSets, set, &CharacterSet::number);
        const std::uint32_t number = special == kCharacterSets.end() ? m_codePage : special->codePage;
        const auto known = m_codePages.find(number);
        return known != m_codePages.end()
                   ? known->second
                   : m_codePages
                         .try_emplace(number, platform::CodePageName(KnownCodePage(static_cast<int>(number))))
                         .first->second;
    }

    std::u16string_view m_rtf;
    std::size_t m_mostUnits;
    std::size_t m_at = 0;
    std::u16string m_text;
    std::vector<std::byte> m_bytes;  ///< shown, not decoded yet
    std::vector<Group> m_groups{Group{}};
    std::size_t m_deeper = 0;  ///< groups open beyond those that have a state
    bool m_isStarred = false;  ///< the next word names a group that readers may not know
    int m_skip = 0;            ///< fallback characters that are still to come
    std::uint32_t m_codePage = kUsualCodePage;
    std::unordered_map<int, int> m_fonts;  ///< character set by number
    std::map<std::uint32_t, platform::CCodePage> m_codePages;
};

}  // namespace

std::u16string RtfToText(std::u16string_view rtf, std::size_t mostUnits)
{
    return CRtfReader(rtf, mostUnits).Read();
}

}  // namespace pastille::preview
