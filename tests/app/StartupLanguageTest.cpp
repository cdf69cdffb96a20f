#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <vector>

#include "tests/app/Desktop.h"

namespace pastille::tests {
namespace {

namespace fs = std::filesystem;
using Lines = std::set<std::string>;

/// The lines of an initialisation file below "[Pastille]"; none when there is no file.
Lines Settings(const fs::path& path)
{
    std::ifstream file(path);
    Lines lines;
    for (std::string line; std::getline(file, line);) {
        if (!line.empty() && line != "[Pastille]")
            lines.insert(line);
    }
    return lines;
}

Lines LinesOf(const std::string& name, const std::string& abbreviation, const Lines& more = {})
{
    Lines lines{"IDS_DEFAULT_LANGUAGE=" + name, "IDS_LANGUAGE=" + name, "IDS_LANGUAGE_ABR=" + abbreviation};
    lines.insert(more.begin(), more.end());
    return lines;
}

/// A start-up that comes to the check after the languages.
class CLanguageStart {
public:
    void Starts()
    {
        desktop.Host().runningProcess = "OUTLOOK.EXE";
        desktop.Begins();
        CPerson person;
        person.SeesWindow("Warning");
        person.ClosesWindow();
        person.SeesNoWindow();
    }
    QString Text(const char* key)
    {
        return CPerson::OnUi([&] { return desktop.App().LanguageText(key); });
    }
    CDesktop desktop;
    fs::path installed = desktop.Host().installationFolder;
    fs::path settings = installed / "settings.ini";
};

TEST(StartupLanguage, FirstStartWritesTheUsersLanguage)
{
    const struct {
        const char* name;
        const char* abbreviation;
        // Of the user interface and, where that is not known, of formats.
        std::vector<std::pair<std::uint32_t, std::uint32_t>> identifiers;
    } choices[] = {
        {"Spanish", "ES", {{0x0C0A, 0x0409}, {0x040A, 0}, {0x500A, 0}}},
        {"Portuguese", "PT", {{0x0416, 0}, {0x0816, 0}}},
        {"French", "FR", {{0, 0x140C}}},
        {"German", "DE", {{0x1407, 0x0410}}},
        {"Italian", "IT", {{0x0810, 0}}},
        // The 21st country of Spanish, none of its countries, the sixth of French, and others.
        {"English", "EN", {{0x540A, 0}, {0x000A, 0}, {0x180C, 0}, {0x0409, 0x040C}, {0, 0}, {0x0411, 0}}},
    };
    unsigned osVersion = 4;
    for (const auto& choice : choices) {
        for (const auto& [userInterface, locale] : choice.identifiers) {
            SCOPED_TRACE(testing::Message() << std::hex << userInterface << " " << locale);
            CLanguageStart start;
            start.desktop.Host().userInterfaceLanguage = userInterface;
            start.desktop.Host().userLocale = locale;
            // Version 6 writes the locale as well; the one before it and those after it do not.
            start.desktop.Host().osMajorVersion = ++osVersion;
            start.Starts();
            EXPECT_EQ(Settings(start.settings),
                      LinesOf(choice.name, choice.abbreviation,
                              osVersion == 6 ? Lines{"IDS_LOCALE_NAME=en-US"} : Lines{}));
        }
    }
}

TEST(StartupLanguage, ChosenOneStaysAndAMissingFileFallsBackToEnglish)
{
    CLanguageStart chosen;
    std::ofstream(chosen.settings) << "[PASTILLE]\r\nids_language = \"German\"\r\n";
    chosen.Starts();
    EXPECT_EQ(Settings(chosen.settings).size(), 2u) << "nothing was to be written";
    EXPECT_EQ(chosen.Text("IDS_ERROR"), "Fehler");

    // The abbreviation is that of an English entry among the names, of which a missing file leaves none.
    for (const std::string& name : {std::string("Portuguese"), std::string(300, 'x'),
                                    std::string("../../../../etc/passwd"), std::string("Lang")}) {
        SCOPED_TRACE(name);
        CLanguageStart start;
        fs::create_directory(start.installed / "Lang/Lang.ini");
        fs::remove(start.installed / "Lang/Portuguese.ini");
        std::ofstream(start.settings)
            << "[Pastille]\nIDS_LANGUAGE=" << name << "\nIDS_LANGUAGE_ABR=PT\nOther=kept\n[Else]\nX=1\n";
        start.Starts();
        EXPECT_EQ(Settings(start.settings), LinesOf("English", "PT", {"Other=kept", "X=1", "[Else]"}));
        EXPECT_EQ(start.Text("IDS_ERROR"), "Error");
        EXPECT_EQ(CPerson::OnUi([&] { return start.desktop.App().LanguageNames()[4]; }), "Spanish");
    }
}

TEST(StartupLanguage, SettingsGoWhereTheyCanBeWritten)
{
    CLanguageStart start;
    const fs::path own = start.desktop.Host().configFolder / "settings.ini";
    start.desktop.Host().userInterfaceLanguage = 0x0410;
    std::ofstream(start.settings) << "[Pastille]\nIDS_LANGUAGE=French\n";
    fs::permissions(start.settings, fs::perms::owner_read);
    start.Starts();
    EXPECT_EQ(Settings(own), LinesOf("Italian", "IT"));

    // Among files of others they are not looked for, nor written.
    start.desktop.Ends();
    fs::remove(own);
    fs::permissions(start.settings, fs::perms::owner_write, fs::perm_options::add);
    start.desktop.Host().isInstallationOwn = false;
    start.Starts();
    EXPECT_EQ(Settings(own), LinesOf("Italian", "IT"));
    EXPECT_EQ(Settings(start.settings), Lines{"IDS_LANGUAGE=French"});
    start.desktop.Host().isInstallationOwn = true;
    fs::permissions(start.settings, fs::perms::owner_read);

    // Nowhere: the start goes on, and the language is chosen again at the next one.
    start.desktop.Ends();
    fs::remove(own);
    fs::create_directory(own);
    start.Starts();
    EXPECT_TRUE(fs::is_empty(own));
    EXPECT_EQ(Settings(start.settings), Lines{"IDS_LANGUAGE=French"});
}

}  // namespace
}  // namespace pastille::tests
