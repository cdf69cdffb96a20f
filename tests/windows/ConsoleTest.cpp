#include "platform/Console.h"

#include <gtest/gtest.h>

#include <atomic>

#include "cli/StopSignals.h"
#include "platform/windows/Win32.h"

namespace pastille::platform {
namespace {

std::atomic<UINT> g_seen{0};

/// Stands where the system's handler is, which ends the process.
BOOL WINAPI OnLastEvent(DWORD)
{
    g_seen = ::GetConsoleOutputCP();
    return TRUE;
}

/// The code page of the console at the moment when an event would end the process; 0 when it does not come.
UINT CodePageWhenEnded()
{
    g_seen = 0;
    ::GenerateConsoleCtrlEvent(CTRL_BREAK_EVENT, 0);
    for (int i = 0; i < 50 && g_seen == 0; ++i)
        ::Sleep(20);
    return g_seen;
}

class Console : public testing::Test {
protected:
    void SetUp() override
    {
        constexpr UINT kUsual = 850;
        if (::GetConsoleOutputCP() == 0)
            m_isOurs = ::AllocConsole();
        if (!::SetConsoleOutputCP(kUsual) || (m_before = ::GetConsoleOutputCP()) != kUsual)
            GTEST_SKIP() << "there is no console";
        ::SetConsoleCtrlHandler(OnLastEvent, TRUE);
    }
    void TearDown() override
    {
        ::SetConsoleCtrlHandler(OnLastEvent, FALSE);
        if (m_isOurs)
            ::FreeConsole();
    }

    UINT m_before = 0;
    bool m_isOurs = false;
};

TEST_F(Console, IsGivenBackWhenTheProgramOrTheUserEndsIt)
{
    {
        const CConsole console;
        EXPECT_EQ(::GetConsoleOutputCP(), UINT{CP_UTF8});
    }
    EXPECT_EQ(::GetConsoleOutputCP(), m_before);
    const CConsole console;
    EXPECT_EQ(CodePageWhenEnded(), m_before);
}

TEST_F(Console, TheFirstStopDuringARunOnlySetsTheFlag)
{
    const CConsole console;
    std::atomic<bool> flag{false};
    {
        const cli::CStopSignals signals(flag);
        EXPECT_EQ(CodePageWhenEnded(), 0u);
        EXPECT_TRUE(flag);
        EXPECT_EQ(CodePageWhenEnded(), m_before);
    }
    flag = false;
    EXPECT_NE(CodePageWhenEnded(), 0u);
    EXPECT_FALSE(flag);
}

}  // namespace
}  // namespace pastille::platform
