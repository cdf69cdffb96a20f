#include "preview/BodyDocument.h"

#include <QColor>

#include <algorithm>
#include <array>

namespace pastille::preview {
namespace {

/// Bytes that no character stands for come as these units from the store's code pages.
constexpr char16_t kFirstCarriedByte = 0xF700;
constexpr char16_t kLastCarriedByte = 0xF7FF;

/// Stands before any byte of the mail, so nothing in the mail can widen it. The mark of UTF-8 wins over every
/// character set that the mail states.
constexpr char kHead[] =
    "\xEF\xBB\xBF<!DOCTYPE html><meta charset=\"utf-8\">"
    "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; img-src cid: data:; "
    "style-src 'unsafe-inline'; form-action 'none'; base-uri 'none'\">"
    "<meta name=\"referrer\" content=\"no-referrer\">";

struct Replacement {
    std::u16string_view element;
    QLatin1StringView instead;
};

/// Elements that fetch, lead elsewhere or hold documents of their own. Those without contents become one
/// that is known to have none, so that what follows does not become their contents; it does nothing.
constexpr auto kReplacements = std::to_array<Replacement>({{u"link", QLatin1StringView("bgsound")},
                                                           {u"meta", QLatin1StringView("bgsound")},
                                                           {u"base", QLatin1StringView("bgsound")},
                                                           {u"embed", QLatin1StringView("bgsound")},
                                                           {u"frame", QLatin1StringView("bgsound")},
                                                           {u"frameset", QLatin1StringView("x-frameset")},
                                                           {u"iframe", QLatin1StringView("x-iframe")},
                                                           {u"object", QLatin1StringView("x-object")},
                                                           {u"applet", QLatin1StringView("x-applet")},
                                                           {u"portal", QLatin1StringView("x-portal")},
                                                           {u"fencedframe", QLatin1StringView("x-frame")}});

char16_t LowerCase(char16_t c)
{
    return c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c + 0x20) : c;
}

bool IsNameUnit(char16_t c)
{
    return (c >= u'a' && c <= u'z') || (c >= u'0' && c <= u'9') || c == u'-';
}

/// True when the text begins with the name, whatever its case, and the name ends there.
bool BeginsWith(std::u16string_view text, std::u16string_view name)
{
    if (text.size() < name.size() || !std::equal(name.begin(), name.end(), text.begin(),
                                                 [](char16_t a, char16_t b) { return a == LowerCase(b); }))
        return false;
    return text.size() == name.size() || !IsNameUnit(LowerCase(text[name.size()]));
}

/// The HTML without the elements that are replaced. A name is replaced wherever it follows "<", also where it
/// is no tag there: so there is no question of how a parser sees it. What is put in makes no new one.
QString Disarmed(std::u16string_view html)
{
    QString text;
    text.reserve(static_cast<qsizetype>(html.size()));
    for (std::size_t at = 0; at < html.size();) {
        const char16_t c = html[at++];
        text.append(c >= kFirstCarriedByte && c <= kLastCarriedByte ? QChar(QChar::ReplacementCharacter)
                                                                    : QChar(c));
        if (c != u'<')
            continue;
        const auto rest = html.substr(at);
        const auto found = std::ranges::find_if(
            kReplacements, [&](const Replacement& entry) { return BeginsWith(rest, entry.element); });
        if (found != kReplacements.end()) {
            text.append(found->instead);
            at += found->element.size();
        }
    }
    return text;
}

/// Both the engine and text widgets lay out a line at once, and take very long for one of millions of units.
/// A line is broken at a blank, or anywhere when there is none.
QString WithShortLines(const QString& text)
{
    constexpr qsizetype kShort = 8'000;
    constexpr qsizetype kLongest = 10'000;
    QString broken;
    broken.reserve(text.size() + text.size() / kShort);
    qsizetype length = 0;
    for (const QChar c : text) {
        const bool isEnd = c == u'\n' || c == u'\r';
        const bool isTooLong = length >= kLongest && !c.isLowSurrogate();
        if (!isEnd && (isTooLong || (length >= kShort && c == u' '))) {
            broken += u'\n';
            length = 0;
        }
        length = isEnd ? 0 : length + 1;
        broken += c;
    }
    return broken;
}

QString ColourRule(const QPalette& palette)
{
    const QColor base = palette.color(QPalette::Base);
    const QColor text = palette.color(QPalette::Text);
    // So that the scroll bars are dark as well.
    const bool isDark = base.lightness() < text.lightness();
    return QStringLiteral("background:%1;color:%2;color-scheme:%3;")
        .arg(base.name(), text.name(), isDark ? QStringLiteral("dark") : QStringLiteral("light"));
}

QString FontRule(const QFont& font)
{
    QString family = font.family();
    family.removeIf([](QChar c) { return !c.isLetterOrNumber() && c != u' ' && c != u'-'; });
    const QString size = font.pointSizeF() > 0 ? QStringLiteral("%1pt").arg(font.pointSizeF())
                                               : QStringLiteral("%1px").arg(font.pixelSize());
    return QStringLiteral("font:%1 \"%2\",sans-serif;").arg(size, family);
}

QString PlainPage(const MailBody& body, const QPalette& palette, const QFont& font)
{
    QString page = QStringLiteral(
                       "<style>html{%1}body{margin:6px}pre{margin:0;white-space:pre-wrap;"
                       "overflow-wrap:anywhere;%2}hr{margin:12px 0 6px}</style><body>")
                       .arg(ColourRule(palette), FontRule(font));
    if (body.kind == BodyKind::None)
        return page;
    // A parser takes a line break right after the tag for part of it.
    page += QStringLiteral("<pre dir=\"auto\">\n") + ReadableText(body.text).toHtmlEscaped() +
            QStringLiteral("</pre>");
    if (body.isCut)
        page += QStringLiteral("<hr><pre>") + CutNotice().toHtmlEscaped() + QStringLiteral("</pre>");
    return page;
}

}  // namespace

QByteArray MakeBodyDocument(const MailBody& body, const QPalette& palette, const QFont& font)
{
    QByteArray document(kHead);
    if (body.kind == BodyKind::Html)
        document += Disarmed(body.text).toUtf8();
    else
        document += PlainPage(body, palette, font).toUtf8();
    return document;
}

QString ReadableText(std::u16string_view text)
{
    QString readable = WithShortLines(QString::fromUtf16(text.data(), static_cast<qsizetype>(text.size()))
                                          .replace(QStringLiteral("\r\n"), QStringLiteral("\n")));
    for (QChar& c : readable) {
        const char16_t unit = c.unicode();
        if (unit == u'\r' || unit == QChar::ParagraphSeparator || unit == QChar::LineSeparator)
            c = u'\n';
        else if ((c.category() == QChar::Other_Control && unit != u'\n' && unit != u'\t') ||
                 (unit >= kFirstCarriedByte && unit <= kLastCarriedByte))
            c = QChar::ReplacementCharacter;
    }
    return readable;
}

QString CutNotice()
{
    return QStringLiteral("The text is longer. Only its beginning is shown here.");
}

}  // namespace pastille::preview
