#pragma once

#include <cstddef>
#include <span>

#include "format/Layout.h"
#include "platform/RunState.h"
#include "store/OutLook.h"
#include "tests/support/StoreMemory.h"

namespace pastille::fuzz {

/// Writes nothing; for runs that only scan.
class CNoRecovery : public store::IRecovery {
public:
    void SetUpOutput(store::RunContext&) override {}
    void WriteLog(std::u16string_view) override {}
    void CollectFolders(store::RunContext&) override {}
    void RecoverItems(store::RunContext&) override {}
    void CloseOutput(store::RunContext&) override {}
};

/// One run over a file, from opening it to closing it, with nobody watching.
void RunOver(std::span<const std::byte> file, store::IRecovery& recovery, bool smartScan,
             platform::RunSettings settings = {});

/// The same over a whole file that chooses the scan method by its own last byte.
void RunOver(std::span<const std::byte> file, store::IRecovery& recovery,
             platform::RunSettings settings = {});

/// The beginning of a file that every run takes for a store of that variant: a header and the first page of a
/// node tree. Scans meet what is put behind it.
tests::Bytes StoreBeginning(const format::VariantLayout& layout);

}  // namespace pastille::fuzz
