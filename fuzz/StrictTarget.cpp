#include <cstddef>
#include <cstdint>
#include <exception>

#include "component/pst/messaging/PstStore.h"
#include "component/pst/ndb/NdbReader.h"
#include "tests/support/FaultyFileSystem.h"

namespace {

using namespace pastille;
using namespace pastille::component::pst;

void Visit(CPstStore& store, Folder& folder, int depth)
{
    constexpr int kDeepest = 20;
    for (const std::uint32_t message : store.MessagesOf(folder)) {
        store.ReadMessage({message});
        store.AttachmentCount({message});
    }
    for (Folder* child : store.SubfoldersOf(folder)) {
        if (depth < kDeepest)
            Visit(store, *child, depth + 1);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const auto bytes = std::as_bytes(std::span(data, size));
    tests::CMemoryFileSystem files(bytes);
    try {
        const auto store = CPstStore::Open(files, "store.pst");
        Visit(*store, store->RootFolder(), 0);
        tests::CMemorySource source(bytes);
        VerifyNodeDatabase(source);
    } catch (const std::exception&) {
        // Refusing is the right answer to nearly every input.
    }
    return 0;
}
