// Writes small stores of every kind for the fuzz targets to start from: fuzz_seeds FOLDER

#include <cstdio>
#include <filesystem>

#include "tests/support/StoreBuilder.h"

namespace {

using namespace pastille;
using namespace pastille::tests;

StoreDescription Small(format::Variant variant, format::CryptMethod method, bool ost)
{
    StoreDescription store;
    store.format.variant = variant;
    store.format.crypt = method;
    store.format.ost = ost;
    store.format.childrenPerBlock = 3;
    StoreMessage mail = Mail(u"Subject", u"Ada Brook", u"Body", FileTime(2020, 1, 1));
    mail.named = {{{format::propset::kCommon, 0x8530}, Text(0, u"Follow up")}};
    mail.attachments = {{.fileName = u"a.bin", .data = Bytes(900, std::byte{'a'}), .leafBytes = 100}};
    store.folders = {{.name = u"Inbox", .containerClass = u"IPF.Note", .messages = {mail}}};
    return store;
}

}  // namespace

int main(int count, char** values)
{
    if (count != 2) {
        std::fprintf(stderr, "usage: fuzz_seeds FOLDER\n");
        return 2;
    }
    const std::filesystem::path root = values[1];
    for (const char* target : {"reader", "strict", "context"})
        std::filesystem::create_directories(root / target);
    int number = 0;
    for (const auto variant : {format::Variant::Ansi, format::Variant::Unicode, format::Variant::Unicode4k}) {
        for (const auto method :
             {format::CryptMethod::None, format::CryptMethod::Permute, format::CryptMethod::Cyclic}) {
            CBuiltStore store(Small(variant, method, number % 2 == 1));
            const std::string name = "store" + std::to_string(number++);
            if (variant == format::Variant::Unicode)
                store.WriteTo(root / "strict" / name);
            store.Damage().Truncate(96 * 1024);  // what is behind is empty
            store.WriteTo(root / "reader" / name);
        }
    }
    const Bytes context =
        BuildPropertyContext({{0x3001, {format::PropertyType::String, Text(0, u"Name").value, {}, false}}},
                             {}, 8176, 16)
            .Finish()
            .front();
    Bytes seed(1);
    seed.insert(seed.end(), context.begin(), context.end());
    platform::HostFileSystem().Create(root / "context" / "folder")->WriteAt(0, seed);
    return 0;
}
