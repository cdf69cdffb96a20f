#include "tests/app/TestHost.h"

namespace pastille::tests {

CTestHost::CTestHost(const std::filesystem::path& folder)
    : installationFolder(folder / "installed"),
      configFolder(folder / "config"),
      dataFolder(folder / "data"),
      runtimeFolder(folder / "runtime")
{
    std::filesystem::create_directories(installationFolder / "bin");
    const std::filesystem::path source = PASTILLE_SOURCE_FOLDER;
    std::filesystem::copy(source / "Lang", installationFolder / "Lang");
    std::filesystem::create_directories(installationFolder / "docs");
    std::filesystem::copy(PASTILLE_MANUAL_FOLDER, installationFolder / "docs/manual",
                          std::filesystem::copy_options::recursive);
}

bool CTestHost::StartProgram(const std::filesystem::path& program, const QStringList& arguments)
{
    std::scoped_lock lock(m_mutex);
    m_started.append(
        (QStringList{QString::fromStdString(program.string())} + arguments).join(QLatin1Char(' ')));
    return QString::fromStdString(program.string()) != missingProgram;
}

int CTestHost::Open(const QString& address)
{
    std::scoped_lock lock(m_mutex);
    m_opened.append(address);
    return openResult;
}

QStringList CTestHost::TakeStarted()
{
    std::scoped_lock lock(m_mutex);
    return std::exchange(m_started, {});
}

QStringList CTestHost::TakeOpened()
{
    std::scoped_lock lock(m_mutex);
    return std::exchange(m_opened, {});
}

}  // namespace pastille::tests
