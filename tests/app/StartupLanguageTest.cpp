#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "tests/app/Desktop.h"

namespace pastille::tests {
namespace {

namespace fs = std::filesystem;
using Lines = std::vector<std::string>;

/// The lines of an initialisation file below "[Pastille]", sorted; empty when there is no file.
Lines Settings(const fs::path& path)
{
    std::ifstream file(path);
    Lines lines;
    std::string line;
    while (std::getline(file, line)) {
        if (!line.empty() && line != "[Pastille]")
            lines.push_back(line);
    }
    std::sort(lines.begin(), lines.end());
    return lines;
}

Lines LinesOf(const std::string& defaultName, const std::string& abbreviation)
{
    return {"IDS_DEFAULT_LANGUAGE=" + defaultName, "IDS_LANGUAGE=" + defaultName,
            "IDS_LANGUAGE_ABR=" + abbreviation};
}

/// Lets start-up come to the check after the languages.
void Start(CDesktop& desktop)
{
    desktop.Host().runningProcess = "OUTLOOK.EXE";
    desktop.Begins();
    CPerson person;
    person.SeesWindow(QStringLiteral("Warning"));
    person.ClosesWindow();
    person.SeesNoWindow();
}

TEST(StartupLanguage, FirstStartWritesTheUsersLanguage)
{
    struct Choice {
        const char* name;
        const char* abbreviation;
        // Of the user interface and, where that is not known, of formats.
        std::vector<std::pair<std::uint32_t, std::uint32_t>> identifiers;
    };
    const Choice choices[] = {
        {"Spanish", "ES", {{0x0C0A, 0x0409}, {0x040A, 0}, {0x500A, 0}}},
        {"Portuguese", "PT", {{0x0416, 0}, {0x0816, 0}}},
        {"French", "FR", {{0, 0x140C}}},
        {"German", "DE", {{0x1407, 0x0410}}},
        {"Italian", "IT", {{0x0810, 0}}},
        // The 21st country of Spanish, none of its countries, the sixth of French, and others.
        {"English", "EN", {{0x540A, 0}, {0x000A, 0}, {0x180C, 0}, {0x0409, 0x040C}, {0, 0}, {0x0411, 0}}},
    };
    for (const Choice& choice : choices) {
        for (const auto& [userInterface, locale] : choice.identifiers) {
            SCOPED_TRACE(testing::Message() << std::hex << userInterface << " " << locale);
            CDesktop desktop;
            const fs::path installed = desktop.Host().installationFolder;
            std::ofstream(installed / "Lang/Portuguese.ini") << "[Pastille]\nIDS_OK=OK\n";
            desktop.Host().userInterfaceLanguage = userInterface;
            desktop.Host().userLocale = locale;
            Start(desktop);
            EXPECT_EQ(Settings(installed / "settings.ini"), LinesOf(choice.name, choice.abbreviation));
        }
    }
}

TEST(StartupLanguage, VersionSixAlsoWritesTheLocale)
{
    CDesktop desktop;
    desktop.Host().osMajorVersion = 6;
    Start(desktop);
    Lines expected = LinesOf("English", "EN");
    expected.push_back("IDS_LOCALE_NAME=en-US");
    EXPECT_EQ(Settings(desktop.Host().installationFolder / "settings.ini"), expected);
}

TEST(StartupLanguage, ChosenLanguageStays)
{
    CDesktop desktop;
    const fs::path settings = desktop.Host().installationFolder / "settings.ini";
    std::ofstream(settings) << "[PASTILLE]\r\nids_language = \"German\"\r\n";
    Start(desktop);
    EXPECT_EQ(Settings(settings).size(), 2u) << "nothing was to be written";
    EXPECT_EQ(CPerson::OnUi([&] { return desktop.App().LanguageText("IDS_ERROR"); }),
              QStringLiteral("Fehler"));
}

TEST(StartupLanguage, MissingFileFallsBackToEnglish)
{
    // The abbreviation is that of an English entry among the names, of which a missing file leaves none.
    const std::string long300(300, 'x');
    for (const std::string& name : {std::string("Portuguese"), std::string("Klingon"), long300,
                                    std::string("../../../../etc/passwd"), std::string("Lang")}) {
        SCOPED_TRACE(name);
        CDesktop desktop;
        const fs::path settings = desktop.Host().installationFolder / "settings.ini";
        fs::create_directory(desktop.Host().installationFolder / "Lang/Lang.ini");
        std::ofstream(settings) << "[Pastille]\nIDS_LANGUAGE=" << name
                                << "\nIDS_LANGUAGE_ABR=PT\nOther=kept\n[Else]\nX=1\n";
        Start(desktop);
        Lines expected = LinesOf("English", "PT");
        expected.insert(expected.end(), {"Other=kept", "X=1", "[Else]"});
        EXPECT_EQ(Settings(settings), expected);
        EXPECT_EQ(CPerson::OnUi([&] { return desktop.App().LanguageText("IDS_ERROR"); }),
                  QStringLiteral("Error"));
        EXPECT_EQ(CPerson::OnUi([&] { return desktop.App().LanguageNames()[4]; }), QStringLiteral("Spanish"));
    }
}

TEST(StartupLanguage, SettingsGoWhereTheyCanBeWritten)
{
    CDesktop desktop;
    const fs::path installed = desktop.Host().installationFolder / "settings.ini";
    const fs::path own = desktop.Host().configFolder / "settings.ini";
    desktop.Host().userInterfaceLanguage = 0x0410;
    std::ofstream(installed) << "[Pastille]\nIDS_LANGUAGE=French\n";
    fs::permissions(installed, fs::perms::owner_read);
    Start(desktop);
    EXPECT_EQ(Settings(own), LinesOf("Italian", "IT"));
    EXPECT_EQ(Settings(installed), Lines{"IDS_LANGUAGE=French"});

    // Nowhere: the start goes on, and the language is chosen again at the next one.
    desktop.Ends();
    fs::remove(own);
    fs::create_directory(own);
    Start(desktop);
    EXPECT_TRUE(fs::is_empty(own));
    EXPECT_EQ(Settings(installed), Lines{"IDS_LANGUAGE=French"});
}

}  // namespace
}  // namespace pastille::tests
