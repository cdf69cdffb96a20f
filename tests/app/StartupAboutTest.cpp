#include <QFile>
#include <QMap>
#include <QScreen>
#include <QWidget>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <set>
#include <string>

#include "tests/app/Desktop.h"

namespace pastille::tests {
namespace {

namespace fs = std::filesystem;

using Keys = QMap<QString, QString>;

const QStringList kLanguages = {QStringLiteral("English"), QStringLiteral("French"), QStringLiteral("German"),
                                QStringLiteral("Italian"), QStringLiteral("Spanish")};

fs::path FileOf(CDesktop& desktop, const QString& language)
{
    return desktop.Host().installationFolder / "Lang" / (language.toStdString() + ".ini");
}

QString TextOf(const fs::path& path)
{
    QFile file(QString::fromStdString(path.string()));
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

Keys KeysOf(const fs::path& path)
{
    Keys keys;
    for (const QString& line : TextOf(path).split(QLatin1Char('\n'))) {
        const qsizetype separator = line.indexOf(QLatin1Char('='));
        if (separator > 0 && !line.startsWith(QLatin1Char(';')))
            keys[line.left(separator)] = line.mid(separator + 1);
    }
    return keys;
}

/// The about box of the program in a language, opened from the menu.
class StartupAbout : public testing::Test {
protected:
    void OpensIn(const QString& language)
    {
        std::ofstream(m_desktop.Host().installationFolder / "settings.ini")
            << "[Pastille]\nIDS_LANGUAGE=" << language.toStdString() << "\n";
        m_desktop.StartsAtTheFrame();
        m_person.PicksFromMenu(QStringLiteral("&Help"), QStringLiteral("About Us"));
        ASSERT_TRUE(CPerson::WaitUntil([] {
            const QWidget* window = CPerson::Window();
            return window != nullptr && window->objectName() == QLatin1String("CAboutDlg");
        }));
        m_desktop.Host().TakeStarted();
    }
    CDesktop m_desktop;
    CPerson m_person;
};

TEST_F(StartupAbout, SpeaksEachLanguage)
{
    const QStringList titles = {QStringLiteral("About Pastille"), QStringLiteral("À propos de Pastille"),
                                QStringLiteral("Über Pastille"), QStringLiteral("Informazioni su Pastille"),
                                QStringLiteral("Acerca de Pastille")};
    std::set<QString> allAddresses;
    std::set<QString> allTexts;
    for (qsizetype n = 0; n < kLanguages.size(); ++n) {
        SCOPED_TRACE(kLanguages[n].toStdString());
        OpensIn(kLanguages[n]);
        const Keys keys = KeysOf(FileOf(m_desktop, kLanguages[n]));
        m_person.SeesWindow(titles[n]);
        m_person.Sees(keys[QStringLiteral("IDS_VERSION_TEXT")] + QLatin1Char(' ') +
                      QStringLiteral(PASTILLE_VERSION ".0"));
        const std::pair<const char*, const char*> links[] = {{"IDS_URL_ABOUT", "IDS_URL_ABOUT"},
                                                             {"IDS_UNINSTALL_URL_TXT", "IDS_UNINSTALL_URL"},
                                                             {"IDS_LICENSE_URL_TXT", "IDS_LICENSE_URL"},
                                                             {"IDS_POLICY_URL_TXT", "IDS_POLICY_URL"}};
        for (const auto& [textKey, addressKey] : links) {
            const QString address = keys[QLatin1String(addressKey)];
            m_person.Clicks(keys[QLatin1String(textKey)]);
            CPerson::OnUi([] {});
            EXPECT_EQ(m_desktop.Host().TakeOpened(), QStringList{address});
            allAddresses.insert(address);
            allTexts.insert(keys[QLatin1String(textKey)]);
        }
        m_person.Clicks(keys[QStringLiteral("IDS_OK")]);
        m_person.IsAtTheFrame();
        for (int digit = 0; digit < 5; ++digit) {
            EXPECT_EQ(keys[QStringLiteral("IDS_LANGUAGE_ABR_%1").arg(digit)],
                      QStringList({QStringLiteral("EN"), QStringLiteral("FR"), QStringLiteral("DE"),
                                   QStringLiteral("IT"), QStringLiteral("ES")})[digit]);
            EXPECT_FALSE(keys[QStringLiteral("IDS_LANGUAGE_%1").arg(digit)].isEmpty());
        }
        EXPECT_FALSE(keys[QStringLiteral("IDS_ERROR")].isEmpty());
        m_desktop.Ends();
    }
    // Every language has its own texts, and none is left out.
    EXPECT_EQ(allAddresses.size(), 20u);
    EXPECT_EQ(allTexts.size(), 20u);
    EXPECT_FALSE(allTexts.contains(QString()));
}

TEST_F(StartupAbout, LinksThatFailSayWhy)
{
    OpensIn(QStringLiteral("German"));
    const QString link = QStringLiteral("Lizenzvertrag");
    const QString address =
        KeysOf(FileOf(m_desktop, QStringLiteral("German")))[QStringLiteral("IDS_LICENSE_URL")];
    const QMap<int, const char*> texts = {
        {3, "The specified path was not found."},
        {5, "The operating system denied access to the specified file."},
        {8, "There was not enough memory to complete the operation."},
        {11, "The file is invalid (it's a non-Win32 file)."},
        {26, "A sharing violation occurred."},
        {27, "The file name association is incomplete or invalid."},
        {28, "The DDE transaction could not be completed because the request timed out."},
        {29, "The DDE transaction failed."},
        {30,
         "The DDE transaction could not be completed because other DDE transactions were being processed."},
        {32, "The specified DLL was not found."}};
    const QString browser = QStringLiteral("iexplore.exe ") + address;
    for (int result = 0; result <= 33; ++result) {
        SCOPED_TRACE(result);
        m_desktop.Host().openResult = result;
        m_person.Clicks(link);
        if (texts.contains(result)) {
            m_person.SeesWindow(QStringLiteral("Fehler"));
            m_person.Sees(QString::fromUtf8(texts[result]));
            m_person.ClosesWindow();
        }
        m_person.SeesWindow(QStringLiteral("Über Pastille"));
        CPerson::OnUi([] {});
        const bool fallsBack = result == 0 || result == 2 || result == 31;
        EXPECT_EQ(m_desktop.Host().TakeStarted(), fallsBack ? QStringList{browser} : QStringList());
    }
}

TEST_F(StartupAbout, KeyboardReachesTheLinks)
{
    OpensIn(QStringLiteral("Spanish"));
    const Keys keys = KeysOf(FileOf(m_desktop, QStringLiteral("Spanish")));
    m_desktop.Host().TakeOpened();
    for (const char* key : {"IDS_URL_ABOUT", "IDS_UNINSTALL_URL", "IDS_LICENSE_URL", "IDS_POLICY_URL"}) {
        m_person.Presses(Qt::Key_Tab);
        m_person.Presses(Qt::Key_Space);
        CPerson::OnUi([] {});
        EXPECT_TRUE(m_desktop.Host().TakeOpened() == QStringList{keys[QLatin1String(key)]}) << key;
    }
    m_person.Presses(Qt::Key_Return);  // the default button
    m_person.IsAtTheFrame();
}

TEST_F(StartupAbout, FilesOfEveryEncodingAreRead)
{
    const fs::path file = FileOf(m_desktop, QStringLiteral("French"));
    const QString text = TextOf(file).replace(QLatin1Char('\n'), QLatin1String("\r\n"));
    const QByteArray utf8 = text.toUtf8();
    QByteArray utf16 = QByteArray("\xFF\xFE", 2);
    for (const QChar c : text)
        utf16.append(static_cast<char>(c.unicode() & 0xFF)).append(static_cast<char>(c.unicode() >> 8));
    for (const QByteArray& bytes : {QByteArray("\xEF\xBB\xBF") + utf8, utf16, text.toLatin1()}) {
        std::ofstream(file, std::ios::binary) << bytes.toStdString();
        OpensIn(QStringLiteral("French"));
        m_person.SeesWindow(QStringLiteral("À propos de Pastille"));
        m_person.Sees(QStringLiteral("Comment désinstaller Pastille"));
        m_desktop.Ends();
    }
}

TEST_F(StartupAbout, DamagedFilesShowWhatTheyHave)
{
    const fs::path file = FileOf(m_desktop, QStringLiteral("Italian"));
    const auto opensWith = [&](const std::string& bytes) {
        m_desktop.Ends();
        std::ofstream(file, std::ios::binary) << bytes;
        OpensIn(QStringLiteral("Italian"));
    };
    // Keys that are missing are empty.
    opensWith("[Pastille]\nIDS_LICENSE_URL_TXT=<b>Licenza</b>\n");
    m_person.SeesWindow(QStringLiteral(" "));
    m_person.Sees(QStringLiteral("<b>Licenza</b>"));
    m_person.Clicks(QStringLiteral("<b>Licenza</b>"));
    CPerson::OnUi([] {});
    EXPECT_EQ(m_desktop.Host().TakeOpened(), QStringList{QString()});

    // Texts that are too long are cut and do not leave the screen.
    opensWith("[Pastille]\nIDS_ABOUT=" + std::string(3000, 'a') +
              "\nIDS_POLICY_URL_TXT=" + std::string(3000, 'p') + "\nIDS_OK=OK\n");
    m_person.Sees(QString(2000, QLatin1Char('p')));
    EXPECT_TRUE(CPerson::OnUi([] {
        return CPerson::Window()->screen()->availableGeometry().contains(CPerson::Window()->geometry());
    }));
    m_person.Clicks(QStringLiteral("OK"));

    // No text at all.
    std::string noise(100'000, '\0');
    for (std::size_t i = 0; i < noise.size(); ++i)
        noise[i] = static_cast<char>(i * 2654435761u >> 13);
    opensWith(noise);
    m_person.Presses(Qt::Key_Escape);
    m_person.IsAtTheFrame();
}

}  // namespace
}  // namespace pastille::tests
