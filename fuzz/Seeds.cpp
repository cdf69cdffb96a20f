// Writes small stores of every kind for the fuzz targets to start from: fuzz_seeds FOLDER

#include <cstdio>
#include <filesystem>

#include "tests/support/StoreBuilder.h"
#include "tests/support/StoreFamilies.h"

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
    mail.attachments.push_back({.fileName = u"b.bin", .data = Bytes(60, std::byte{'b'})});
    StoreMessage inner = Mail(u"Inner", u"Ada Brook", u"Body", FileTime(2020, 1, 1));
    inner.attachments = {{.fileName = u"c.bin", .data = Bytes(400, std::byte{'c'}), .inSubnode = true}};
    mail.attachments.push_back({.method = 5, .embedded = std::make_shared<StoreMessage>(inner)});
    mail.attachments.back().properties = {Text(format::pid::kDisplayName, u"Inner")};
    mail.attachments.back().omitted = {format::pid::kAttachFilename, format::pid::kAttachLongFilename};
    mail.properties.back() = InSubnode(mail.properties.back());
    mail.properties.push_back(InSubnode(Binary(format::pid::kHtml, "<p>Body</p>"), 4));
    mail.properties.push_back(Number(format::pid::kInternetCodepage, 65001));
    store.folders = {{.name = u"Inbox", .containerClass = u"IPF.Note", .messages = {mail}}};
    return store;
}

/// One item of every family, with everything in it.
StoreDescription Families(format::Variant variant)
{
    StoreDescription store;
    store.format.variant = variant;
    store.format.crypt = format::CryptMethod::None;
    store.folders = {{.name = u"Items"}};
    for (const char16_t* messageClass :
         {u"IPM.Contact", u"IPM.Appointment", u"IPM.Task", u"IPM.Activity", u"IPM.StickyNote"})
        store.folders[0].messages.push_back(MakeFamilySample(messageClass).message);
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
    for (const char* target : {"reader", "recovery", "strict", "context"})
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
            store.WriteTo(root / "recovery" / name);
        }
        CBuiltStore families(Families(variant));
        families.Damage().Truncate(96 * 1024);
        families.WriteTo(root / "recovery" / ("families" + std::to_string(number)));
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
