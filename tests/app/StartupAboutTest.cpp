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

/// The about box of the program in a language, opened from the menu.
class StartupAbout : public testing::Test {
protected:
    std::filesystem::path File(const std::string& language)
    {
        return m_desktop.Host().installationFolder / "Lang" / (language + ".ini");
    }
    QString FileText(const std::string& language)
    {
        QFile file(Shown(File(language)));
        return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
    }
    void OpensIn(const std::string& language)
    {
        m_desktop.Ends();
        std::ofstream(m_desktop.Host().installationFolder / "settings.ini")
            << "[Pastille]\nIDS_LANGUAGE=" << language << "\n";
        m_desktop.StartsAtTheFrame();
        m_person.PicksFromMenu("&Help", "About Us");
        m_person.SeesDialog("CAboutDlg");
        m_desktop.Host().TakeStarted();
        m_keys.clear();
        for (const QString& line : FileText(language).split('\n')) {
            if (!line.startsWith(';'))
                m_keys[line.section('=', 0, 0)] = line.section('=', 1);
        }
    }
    void OpensWith(const std::string& bytes)
    {
        std::ofstream(File("French"), std::ios::binary) << bytes;
        OpensIn("French");
    }
    QStringList Opened()
    {
        CPerson::Settle();
        return m_desktop.Host().TakeOpened();
    }
    CDesktop m_desktop;
    CPerson m_person;
    QMap<QString, QString> m_keys;
};

TEST_F(StartupAbout, SpeaksEachLanguage)
{
    const QStringList links{"IDS_URL_ABOUT", "IDS_UNINSTALL_URL", "IDS_LICENSE_URL", "IDS_POLICY_URL"};
    std::set<QString> addresses, texts;
    for (const auto& [language, title] : {std::pair("English", "About Pastille"),
                                          {"French", "À propos de Pastille"},
                                          {"German", "Über Pastille"},
                                          {"Italian", "Informazioni su Pastille"},
                                          {"Spanish", "Acerca de Pastille"}}) {
        SCOPED_TRACE(language);
        OpensIn(language);
        m_person.SeesWindow(title);
        m_person.Sees(m_keys["IDS_VERSION_TEXT"] + " " PASTILLE_VERSION ".0");
        for (const QString& link : links) {
            const QString text = m_keys[link == links[0] ? link : link + "_TXT"];
            m_person.Clicks(text);
            EXPECT_EQ(Opened(), QStringList{m_keys[link]});
            addresses.insert(m_keys[link]);
            texts.insert(text);
        }
        // The first of them has the focus again.
        m_person.Presses(Qt::Key_Tab);
        for (qsizetype next = 0; next < links.size(); ++next) {
            m_person.Presses(Qt::Key_Tab);
            m_person.Presses(next % 2 == 0 ? Qt::Key_Space : Qt::Key_Return);
            EXPECT_EQ(Opened(), QStringList{m_keys[links[next]]});
        }
        m_person.Clicks(m_keys["IDS_OK"]);
        m_person.IsAtTheFrame();
        const QStringList abbreviations{"EN", "FR", "DE", "IT", "ES"};
        for (int digit = 0; digit < 5; ++digit) {
            EXPECT_EQ(m_keys[QString("IDS_LANGUAGE_ABR_%1").arg(digit)], abbreviations[digit]);
            EXPECT_FALSE(m_keys[QString("IDS_LANGUAGE_%1").arg(digit)].isEmpty());
        }
        EXPECT_FALSE(m_keys["IDS_ERROR"].isEmpty());
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
    const QString address = " " + m_keys["IDS_LICENSE_URL"];
    for (int result = 0; result <= 33; ++result) {
        SCOPED_TRACE(result);
        m_desktop.Host().openResult = result;
        if (result == 31)
            m_desktop.Host().missingProgram = "iexplore.exe";
        m_person.Clicks("Lizenzvertrag");
        if (texts.contains(result))
            m_person.Answers("Fehler", texts[result], "OK");
        m_person.SeesWindow("Über Pastille");
        CPerson::Settle();
        QStringList started;
        if (result == 0 || result == 2 || result == 31)
            started.append("iexplore.exe" + address);
        if (result == 31)
            started.append("xdg-open" + address);
        EXPECT_EQ(m_desktop.Host().TakeStarted(), started);
    }
}

TEST_F(StartupAbout, FilesOfEveryEncodingAreReadAndDamagedOnesShowWhatTheyHave)
{
    const QString text = FileText("French").replace("\n", "\r\n");
    const QByteArray utf16(reinterpret_cast<const char*>(text.utf16()), 2 * text.size());
    for (const QByteArray& bytes :
         {QByteArray("\xEF\xBB\xBF") + text.toUtf8(), QByteArray("\xFF\xFE") + utf16, text.toLatin1()}) {
        OpensWith(bytes.toStdString());
        m_person.SeesWindow("À propos de Pastille");
        m_person.Sees("Comment désinstaller Pastille");
    }
    // Keys that are missing are empty.
    OpensWith("[Pastille]\nIDS_LICENSE_URL_TXT=<b>Licenza</b>\n");
    m_person.SeesWindow(" ");
    m_person.Clicks("<b>Licenza</b>");
    EXPECT_EQ(Opened(), QStringList{QString()});

    // Texts that are too long are cut and do not leave the screen.
    const std::string longText(3000, 'p');
    OpensWith("[Pastille]\nIDS_ABOUT=" + longText + "\nIDS_POLICY_URL_TXT=" + longText + "\nIDS_OK=OK\n");
    m_person.Sees(QString(2000, 'p'));
    EXPECT_TRUE(CPerson::OnUi([] {
        return CPerson::Window()->screen()->availableGeometry().contains(CPerson::Window()->geometry());
    }));
    m_person.Clicks("OK");

    // No text at all.
    std::string noise(100'000, '\0');
    for (std::size_t i = 0; i < noise.size(); ++i)
        noise[i] = static_cast<char>(i * 2654435761u >> 13);
    OpensWith(noise);
    m_person.Presses(Qt::Key_Escape);
    m_person.IsAtTheFrame();
}

}  // namespace
}  // namespace pastille::tests
