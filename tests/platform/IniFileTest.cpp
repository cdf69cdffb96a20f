#include "platform/IniFile.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "tests/support/FaultyFileSystem.h"

namespace pastille::platform {
namespace {

namespace fs = std::filesystem;

class IniFileTest : public testing::Test {
protected:
    void Put(const std::string& bytes) const { std::ofstream(m_path, std::ios::binary) << bytes; }
    std::string Content() const
    {
        std::ifstream file(m_path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    std::string Value(const std::string& bytes) const
    {
        Put(bytes);
        return CIniFile(m_path).Text("Section", "key").value_or("(none)");
    }

    tests::CTemporaryFolder m_folder;
    fs::path m_path = m_folder.Path() / "file.ini";
};

TEST_F(IniFileTest, ReadsAsWindowsDoes)
{
    const std::pair<const char*, const char*> values[] = {
        {"[section]\r\nKEY=value\r\n", "value"},
        {"[ Section ]\n  key \t=  two words \t", "two words"},
        {"[Section]\nkey=first\nkey=second\n", "first"},
        {"[Section]\nkey=\" in quotes \"\n", " in quotes "},
        {"[Section]\nkey='single'\n", "single"},
        {"[Section]\nkey=\"open\n", "\"open"},
        {"[Section]\nkey=a=b;c\n", "a=b;c"},
        {"[Section]\n;key=comment\n[Other]\nkey=other\n", "(none)"},
        {"key=before any section\n", "(none)"},
        {"[Section]\nkey=\n", ""},
        {"[Section]\nkey=<<<END\nmore\nEND\n", "<<<END"},
        {"[Section\nkey=open section\n", "(none)"},
    };
    for (const auto& [bytes, value] : values)
        EXPECT_EQ(Value(bytes), value);
}

TEST_F(IniFileTest, TellsTheEncodingsApart)
{
    const std::string expected = "\xC3\xA9\xE2\x82\xAC";  // e acute, euro
    EXPECT_EQ(Value("[Section]\nkey=" + expected), expected);
    EXPECT_EQ(Value("\xEF\xBB\xBF[Section]\nkey=" + expected), expected);
    EXPECT_EQ(Value("[Section]\nkey=\xE9\x80"), expected);
    std::string utf16 = "\xFF\xFE";
    for (const char c : std::string("[Section]\nkey="))
        (utf16 += c) += '\0';
    EXPECT_EQ(Value(utf16 + "\xE9" + std::string(1, '\0') + "\xAC\x20"), expected);
    EXPECT_EQ(Value(std::string("[Section]\nk\0ey=zero", 20)), "zero");
}

TEST_F(IniFileTest, CutsByCharacterUnitsAndReadsNoGiants)
{
    Put("[Section]\nkey=\xC3\xA9\xC3\xA9\xC3\xA9\n");
    EXPECT_EQ(CIniFile(m_path).Text("Section", "key", 2), u"\u00E9\u00E9");
    EXPECT_EQ(CIniFile(m_path).Text("Section", "none", 2), u"");
    Put("[Section]\nkey=value\n" + std::string(CIniFile::kLargestFile, '\n'));
    EXPECT_FALSE(CIniFile(m_path).WasRead());
    EXPECT_FALSE(CIniFile(m_folder.Path()).WasRead());
    EXPECT_FALSE(CIniFile(m_folder.Path() / "missing").WasRead());
}

TEST_F(IniFileTest, WritingKeepsTheRest)
{
    Put("; first\n\n[Other]\nX=1\n; about y\nY=2\n\n[Section]\nkey=old\nkey=shadow\n; last\n");
    CIniFile file(m_path);
    file.Set("SECTION", "Key", "new\nline");
    file.Set("Section", "blank", " x ");
    file.Set("Section", "quoted", "\"x\"");
    file.Set("Made", "Name", "\xC3\xA9");
    ASSERT_TRUE(file.Write());
    const CIniFile again(m_path);
    EXPECT_EQ(again.Text("Section", "key"), "new line");
    EXPECT_EQ(again.Text("Section", "blank"), " x ");
    EXPECT_EQ(again.Text("Section", "quoted"), "\"x\"");
    EXPECT_EQ(again.Text("Made", "Name"), "\xC3\xA9");
    EXPECT_EQ(again.Text("Other", "Y"), "2");
    for (const char* kept : {"; first\n", "X=1\n", "; about y\n", "; last"})
        EXPECT_NE(Content().find(kept), std::string::npos) << kept << "\nin\n" << Content();
    EXPECT_EQ(std::distance(fs::directory_iterator(m_folder.Path()), {}), 1) << "no temporary file stays";
    // Written again, nothing grows.
    const std::string before = Content();
    CIniFile(m_path).Write();
    EXPECT_EQ(Content(), before);
}

TEST_F(IniFileTest, ProtectedFilesStayAsTheyAre)
{
    Put("[Section]\nkey=old\n");
    fs::permissions(m_path, fs::perms::owner_read);
    CIniFile file(m_path);
    file.Set("Section", "key", "new");
    EXPECT_FALSE(CanBeWritten(m_path));
    EXPECT_FALSE(file.Write());
    EXPECT_EQ(Content(), "[Section]\nkey=old\n");
    EXPECT_FALSE(CanBeWritten(m_folder.Path()));
    EXPECT_FALSE(CanBeWritten(m_folder.Path() / "missing/file.ini"));
    EXPECT_TRUE(CanBeWritten(m_folder.Path() / "new.ini"));

    // A link keeps pointing to the file that is made anew, and the file keeps its mode.
    const auto mode = fs::perms::owner_read | fs::perms::owner_write;
    fs::permissions(m_path, mode);
    fs::create_symlink("file.ini", m_folder.Path() / "link.ini");
    CIniFile link(m_folder.Path() / "link.ini");
    link.Set("Section", "key", "new");
    EXPECT_TRUE(link.Write());
    EXPECT_TRUE(fs::is_symlink(m_folder.Path() / "link.ini"));
    EXPECT_EQ(Content(), "[Section]\nkey=new\n");
    EXPECT_EQ(fs::status(m_path).permissions(), mode);
}

TEST_F(IniFileTest, AnyBytesCanBeReadAndWritten)
{
    std::string bytes;
    unsigned state = 1;
    for (int round = 0; round < 100; ++round) {
        bytes.clear();
        for (int i = 0; i < 200; ++i) {
            state = state * 1664525 + 1013904223;
            const unsigned pick = state >> 24;
            bytes += pick < 160 ? "[]=;#\n\r\"' \tak<"[pick % 14] : static_cast<char>(pick);
        }
        Put(bytes);
        CIniFile file(m_path);
        file.Set("Section", "key", bytes);
        ASSERT_TRUE(file.Write());
        EXPECT_TRUE(CIniFile(m_path).Text("Section", "key").has_value()) << testing::PrintToString(bytes);
    }
}

}  // namespace
}  // namespace pastille::platform
