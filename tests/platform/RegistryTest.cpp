#include "platform/Registry.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "platform/InstanceLock.h"
#include "platform/Language.h"
#include "tests/support/FaultyFileSystem.h"

namespace pastille::platform {
namespace {

namespace fs = std::filesystem;

const std::string kMailClient =
    "HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Windows\\CurrentVersion\\App Paths\\OUTLOOK.EXE";

class RegistryTest : public testing::Test {
protected:
    tests::CTemporaryFolder m_folder;
    fs::path m_path = m_folder.Path() / "made" / "registry.ini";
};

TEST_F(RegistryTest, FirstOneLetsANormalUserStart)
{
    EXPECT_TRUE(CRegistry(m_path).HasWritableKey(kMailClient));
    EXPECT_TRUE(fs::exists(m_path));
    EXPECT_TRUE(CRegistry(m_path).HasKey("hkey_local_machine" + kMailClient.substr(18)));
    // An empty file counts as none; what the user takes out stays out.
    std::ofstream(m_path) << "";
    EXPECT_TRUE(CRegistry(m_path).HasKey(kMailClient));
    EXPECT_GT(fs::file_size(m_path), 0u);
    std::ofstream(m_path) << "\n";
    EXPECT_FALSE(CRegistry(m_path).HasKey(kMailClient));
    // Where nothing can be written the same values hold, but cannot be set.
    std::ofstream(m_folder.Path() / "file") << "x";
    const CRegistry unwritten(m_folder.Path() / "file/registry.ini");
    EXPECT_TRUE(unwritten.HasKey(kMailClient));
    EXPECT_FALSE(unwritten.HasWritableKey(kMailClient));
}

TEST_F(RegistryTest, ValuesKeepTheirKinds)
{
    {
        CRegistry registry(m_path);
        EXPECT_TRUE(registry.SetNumber("HKEY_CURRENT_USER\\A", "Number", 0xFFFFFFFF));
        EXPECT_TRUE(registry.SetNumber("HKEY_CURRENT_USER\\A", "Zero", 0));
        EXPECT_TRUE(registry.SetText("HKEY_CURRENT_USER\\A\\B", "Text", "a=b; \xC3\xA9 \"c\""));
    }
    std::ofstream(m_path, std::ios::app)
        << "[Odd]\nUpper=DWORD:0000002A\nShort=dword:2a\nLong=dword:000000001\n"
           "Empty=dword:\nSign=dword:-1\nRest=dword:1x\nPlain=42\n";
    const CRegistry registry(m_path);
    EXPECT_EQ(registry.Number("HKEY_CURRENT_USER\\A", "number"), 0xFFFFFFFFu);
    EXPECT_EQ(registry.Number("HKEY_CURRENT_USER\\A", "Zero"), 0u);
    EXPECT_EQ(registry.Text("HKEY_CURRENT_USER\\A\\B", "Text"), "a=b; \xC3\xA9 \"c\"");
    EXPECT_EQ(registry.Text("HKEY_CURRENT_USER\\A", "Text"), std::nullopt);
    EXPECT_EQ(registry.Number("Odd", "Upper"), 42u);
    EXPECT_EQ(registry.Number("Odd", "Short"), 42u);
    for (const char* name : {"Long", "Empty", "Sign", "Rest", "Plain", "Missing"})
        EXPECT_EQ(registry.Number("Odd", name), std::nullopt) << name;
}

TEST_F(RegistryTest, SettingAValueKeepsWhatOthersWroteMeanwhile)
{
    CRegistry registry(m_path);
    registry.SetText("Own", "First", "1");
    std::ofstream(m_path) << "[Theirs]\nName=by hand\n[Own]\nFirst=changed\n";
    EXPECT_TRUE(registry.SetText("Own", "Second", "2"));
    const CRegistry again(m_path);
    EXPECT_EQ(again.Text("Theirs", "Name"), "by hand");
    EXPECT_EQ(again.Text("Own", "First"), "changed");
    EXPECT_EQ(again.Text("Own", "Second"), "2");
    EXPECT_EQ(registry.Text("Theirs", "Name"), "by hand");
    // What could not be written holds, and is written as soon as that can be done.
    fs::permissions(m_path, fs::perms::owner_read);
    EXPECT_FALSE(registry.SetText("Own", "Third", "3"));
    EXPECT_EQ(registry.Text("Own", "Third"), "3");
    fs::permissions(m_path, fs::perms::owner_all);
    EXPECT_TRUE(registry.SetText("Own", "Fourth", "4"));
    EXPECT_EQ(CRegistry(m_path).Text("Own", "Third"), "3");
}

TEST_F(RegistryTest, LockIsHeldOnce)
{
    const fs::path file = m_folder.Path() / "new" / "lock";
    {
        const CInstanceLock first(file);
        EXPECT_EQ(first.Result(), CInstanceLock::State::Held);
        EXPECT_EQ(CInstanceLock(file).Result(), CInstanceLock::State::HeldByOther);
    }
    EXPECT_EQ(CInstanceLock(file).Result(), CInstanceLock::State::Held);
    EXPECT_EQ(CInstanceLock(file / "below a file").Result(), CInstanceLock::State::Failed);
    EXPECT_EQ(CInstanceLock(m_folder.Path()).Result(), CInstanceLock::State::Failed);
}

TEST(LanguageTest, LocalesBecomeWindowsIdentifiers)
{
    // The numbers are those of [MS-LCID].
    const std::map<std::uint32_t, std::vector<const char*>> locales = {
        {0x0409, {"en_US.UTF-8", "en"}},
        {0x0C0C, {"fr_CA"}},
        {0x0C07, {"de_AT@euro"}},
        {0x0810, {"it_CH.ISO-8859-1"}},
        {0x0416, {"pt_BR.UTF-8"}},
        {0x0816, {"pt_PT"}},
        {0x0C0A, {"es_ES"}},
        {0x080A, {"es_MX.UTF-8"}},
        {0x040C, {"fr", "fr_GF"}},  // of French Guiana there is none
        {0x0407, {"de", "de_NA.UTF-8"}},
        {0, {"C", "C.UTF-8", "POSIX", "", "@euro", ".UTF-8"}}};
    for (const auto& [identifier, names] : locales) {
        for (const char* name : names)
            EXPECT_EQ(LanguageIdentifier(name), identifier) << name;
    }
    EXPECT_EQ(LanguageIdentifier(std::string(5000, 'x')), 0u);
    EXPECT_EQ(LanguageAndCountry("fr_BE.UTF-8"), "fr-BE");
    EXPECT_EQ(LanguageAndCountry("sr_RS@latin"), "sr-RS");
    EXPECT_EQ(LanguageAndCountry("C"), "en-US");
}

}  // namespace
}  // namespace pastille::platform
