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

fs::path FileOf(CDesktop& desktop, const char* language)
{
    return desktop.Host().installationFolder / "Lang" / (std::string(language) + ".ini");
}

QString TextOf(const fs::path& path)
{
    QFile file(Shown(path));
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

/// The about box of the program in a language, opened from the menu.
class StartupAbout : public testing::Test {
protected:
    void OpensIn(const char* language)
    {
        m_desktop.Ends();
        std::ofstream(m_desktop.Host().installationFolder / "settings.ini")
            << "[Pastille]\nIDS_LANGUAGE=" << language << "\n";
        m_desktop.StartsAtTheFrame();
        m_person.PicksFromMenu(QStringLiteral("&Help"), QStringLiteral("About Us"));
        ASSERT_TRUE(CPerson::WaitUntil([] {
            const QWidget* window = CPerson::Window();
            return window != nullptr && window->objectName() == QLatin1String("CAboutDlg");
        }));
        m_desktop.Host().TakeStarted();
        m_keys.clear();
        for (const QString& line : TextOf(FileOf(m_desktop, language)).split(QLatin1Char('\n'))) {
            const qsizetype separator = line.indexOf(QLatin1Char('='));
            if (separator > 0 && !line.startsWith(QLatin1Char(';')))
                m_keys[line.left(separator)] = line.mid(separator + 1);
        }
    }
    QString Key(const char* key) const { return m_keys[QLatin1String(key)]; }
    QStringList Opened()
    {
        CPerson::OnUi([] {});
        return m_desktop.Host().TakeOpened();
    }
    CDesktop m_desktop;
    CPerson m_person;
    Keys m_keys;
};

TEST_F(StartupAbout, SpeaksEachLanguage)
{
    const std::pair<const char*, const char*> languages[] = {{"English", "About Pastille"},
                                                             {"French", "À propos de Pastille"},
                                                             {"German", "Über Pastille"},
                                                             {"Italian", "Informazioni su Pastille"},
                                                             {"Spanish", "Acerca de Pastille"}};
    const std::pair<const char*, const char*> links[] = {{"IDS_URL_ABOUT", "IDS_URL_ABOUT"},
                                                         {"IDS_UNINSTALL_URL_TXT", "IDS_UNINSTALL_URL"},
                                                         {"IDS_LICENSE_URL_TXT", "IDS_LICENSE_URL"},
                                                         {"IDS_POLICY_URL_TXT", "IDS_POLICY_URL"}};
    std::set<QString> addresses, texts;
    for (const auto& [language, title] : languages) {
        SCOPED_TRACE(language);
        OpensIn(language);
        m_person.SeesWindow(QString::fromUtf8(title));
        m_person.Sees(Key("IDS_VERSION_TEXT") + QStringLiteral(" " PASTILLE_VERSION ".0"));
        for (const auto& [textKey, addressKey] : links) {
            m_person.Clicks(Key(textKey));
            EXPECT_EQ(Opened(), QStringList{Key(addressKey)});
            addresses.insert(Key(addressKey));
            texts.insert(Key(textKey));
        }
        m_person.Clicks(Key("IDS_OK"));
        m_person.IsAtTheFrame();
        const QStringList abbreviations{"EN", "FR", "DE", "IT", "ES"};
        for (int digit = 0; digit < 5; ++digit) {
            EXPECT_EQ(m_keys[QStringLiteral("IDS_LANGUAGE_ABR_%1").arg(digit)], abbreviations[digit]);
            EXPECT_FALSE(m_keys[QStringLiteral("IDS_LANGUAGE_%1").arg(digit)].isEmpty());
        }
        EXPECT_FALSE(Key("IDS_ERROR").isEmpty());
    }
    // Every language has its own texts, and none is left out.
    EXPECT_EQ(addresses.size(), 20u);
    EXPECT_EQ(texts.size(), 20u);
    EXPECT_FALSE(texts.contains(QString()));
}

TEST_F(StartupAbout, LinksThatFailSayWhy)
{
    OpensIn("German");
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
    const QString address = QLatin1Char(' ') + Key("IDS_LICENSE_URL");
    const QString browser = QStringLiteral("iexplore.exe");
    for (int result = 0; result <= 33; ++result) {
        SCOPED_TRACE(result);
        m_desktop.Host().openResult = result;
        if (result == 31)
            m_desktop.Host().missingProgram = browser;
        m_person.Clicks(QStringLiteral("Lizenzvertrag"));
        if (texts.contains(result)) {
            m_person.SeesWindow(QStringLiteral("Fehler"));
            m_person.Sees(QString::fromUtf8(texts[result]));
            m_person.ClosesWindow();
        }
        m_person.SeesWindow(QStringLiteral("Über Pastille"));
        CPerson::OnUi([] {});
        QStringList started;
        if (result == 0 || result == 2 || result == 31)
            started.append(browser + address);
        if (result == 31)
            started.append(QStringLiteral("xdg-open") + address);
        EXPECT_EQ(m_desktop.Host().TakeStarted(), started);
    }
}

TEST_F(StartupAbout, KeyboardReachesTheLinks)
{
    OpensIn("Spanish");
    for (const char* key : {"IDS_URL_ABOUT", "IDS_UNINSTALL_URL", "IDS_LICENSE_URL", "IDS_POLICY_URL"}) {
        m_person.Presses(Qt::Key_Tab);
        for (const Qt::Key opens : {Qt::Key_Space, Qt::Key_Return}) {
            m_person.Presses(opens);
            EXPECT_EQ(Opened(), QStringList{Key(key)});
        }
    }
    m_person.Presses(Qt::Key_Tab);
    m_person.Presses(Qt::Key_Return);
    m_person.IsAtTheFrame();
}

TEST_F(StartupAbout, FilesOfEveryEncodingAreRead)
{
    const fs::path file = FileOf(m_desktop, "French");
    const QString text = TextOf(file).replace(QLatin1Char('\n'), QLatin1String("\r\n"));
    QByteArray utf16 = QByteArray("\xFF\xFE", 2);
    for (const QChar c : text)
        utf16.append(static_cast<char>(c.unicode() & 0xFF)).append(static_cast<char>(c.unicode() >> 8));
    for (const QByteArray& bytes : {QByteArray("\xEF\xBB\xBF") + text.toUtf8(), utf16, text.toLatin1()}) {
        std::ofstream(file, std::ios::binary) << bytes.toStdString();
        OpensIn("French");
        m_person.SeesWindow(QStringLiteral("À propos de Pastille"));
        m_person.Sees(QStringLiteral("Comment désinstaller Pastille"));
    }
}

TEST_F(StartupAbout, DamagedFilesShowWhatTheyHave)
{
    const auto opensWith = [&](const std::string& bytes) {
        std::ofstream(FileOf(m_desktop, "Italian"), std::ios::binary) << bytes;
        OpensIn("Italian");
    };
    // Keys that are missing are empty.
    opensWith("[Pastille]\nIDS_LICENSE_URL_TXT=<b>Licenza</b>\n");
    m_person.SeesWindow(QStringLiteral(" "));
    m_person.Clicks(QStringLiteral("<b>Licenza</b>"));
    EXPECT_EQ(Opened(), QStringList{QString()});

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
