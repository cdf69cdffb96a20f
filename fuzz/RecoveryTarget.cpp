#include <cstddef>
#include <cstdint>

#include "fuzz/Run.h"
#include "recovery/RecoveryPipeline.h"
#include "tests/support/FakeComponent.h"

// A whole repair into a component that takes everything: items of all families, bodies, attachments, messages
// in messages.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace pastille;
    tests::CFakeComponent component;
    recovery::CRecoveryPipeline recovery(component);
    platform::RunSettings settings;
    settings.sourcePath = "source.pst";
    settings.destinationFolder = "out";
    fuzz::RunOver(std::as_bytes(std::span(data, size)), recovery, settings);
    return 0;
}
