#include <cstddef>
#include <cstdint>

#include "recovery/RecoveryPipeline.h"
#include "store/OutLook.h"
#include "tests/support/FakeComponent.h"
#include "tests/support/FaultyFileSystem.h"

namespace {

using namespace pastille;

class CSilentFrontEnd final : public platform::IFrontEnd {
public:
    void Send(const platform::Message&) override {}
};

}  // namespace

// A whole repair into a component that takes everything: items of all families, bodies, attachments, messages
// in messages.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    tests::CMemoryFileSystem files(std::as_bytes(std::span(data, size)));
    CSilentFrontEnd frontEnd;
    tests::CFakeComponent component;
    recovery::CRecoveryPipeline recovery(component);
    platform::RunSettings settings;
    settings.sourcePath = "source.pst";
    settings.destinationFolder = "out";
    platform::RunState state;
    store::COutLook(files, frontEnd, recovery).Run(settings, state);
    return 0;
}
