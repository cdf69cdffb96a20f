#include "tests/support/Samples.h"

#include <algorithm>
#include <cstdlib>

namespace pastille::tests {

std::filesystem::path SampleFolder()
{
    const char* const chosen = std::getenv("PASTILLE_SAMPLES");
    return chosen != nullptr ? chosen : PASTILLE_SAMPLES_DEFAULT;
}

std::optional<CBuiltStore> SampleCopy(const std::string& name)
{
    const auto source = platform::HostFileSystem().OpenSource(SampleFolder() / name);
    if (!source)
        return std::nullopt;
    Bytes content(source->Size());
    source->ReadAt(0, content);
    return CBuiltStore(std::move(content));
}

std::vector<std::filesystem::path> Samples()
{
    std::vector<std::filesystem::path> samples;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(SampleFolder(), error)) {
        if (entry.path().extension() == ".pst" || entry.path().extension() == ".ost")
            samples.push_back(entry.path());
    }
    std::sort(samples.begin(), samples.end());
    return samples;
}

std::string CodePageOf(const std::filesystem::path& sample)
{
    return sample.filename() == "contacts-ansi.pst" ? "windows-932" : "windows-1252";
}

}  // namespace pastille::tests
