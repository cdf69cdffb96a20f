#include "app/MailMode.h"

#include "app/Host.h"
#include "app/HostPath.h"
#include "platform/Registry.h"

#include <QString>

#include <chrono>
#include <thread>

namespace pastille::app {
namespace {

constexpr char kSetupKey[] = "HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Office\\9.0\\Outlook\\Setup";
constexpr char kMailSupport[] = "MailSupport";
constexpr std::chrono::milliseconds kPause(400);

/// Both is decided from a key that can be read and set.
bool HasModeOfInternetMail(const platform::CRegistry& registry)
{
    return registry.HasWritableKey(kSetupKey) && registry.Number(kSetupKey, kMailSupport) == 0u;
}

}  // namespace

bool IsInternetMailOnly(const platform::CRegistry& registry)
{
    return HasModeOfInternetMail(registry) && registry.Text(kSetupKey, "RegisterForms").has_value();
}

void SwitchMailMode(IHost& host, platform::CRegistry& registry)
{
    if (!host.IsRunning(kMailClientProcess)) {
        const auto program = host.ProgramFilesFolder() / "Microsoft Office/Office/OUTLOOK.EXE";
        host.Open(ToText(program));
    }
    if (HasModeOfInternetMail(registry))
        registry.SetNumber(kSetupKey, kMailSupport, 1);
    std::this_thread::sleep_for(kPause);
}

}  // namespace pastille::app
