// Writes what the fuzz targets start from, a folder for each: fuzz_seeds FOLDER

#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "format/Block.h"
#include "fuzz/BlockFile.h"
#include "store/NodeCollector.h"
#include "tests/support/StoreBuilder.h"
#include "tests/support/StoreFamilies.h"

namespace {

using namespace pastille;
using namespace pastille::tests;

constexpr format::Variant kVariants[] = {format::Variant::Ansi, format::Variant::Unicode,
                                         format::Variant::Unicode4k};

/// A seed as it grows.
class CSeed {
public:
    explicit CSeed(format::Variant variant)
    {
        Add(static_cast<std::uint8_t>(static_cast<unsigned>(variant) - 1));
    }
    template <std::unsigned_integral T>
    CSeed& Add(T value)
    {
        m_bytes.resize(m_bytes.size() + sizeof(T));
        format::StoreLE(std::span(m_bytes), m_bytes.size() - sizeof(T), value);
        return *this;
    }
    CSeed& Add(std::span<const std::byte> bytes)
    {
        m_bytes.insert(m_bytes.end(), bytes.begin(), bytes.end());
        return *this;
    }
    void WriteTo(const std::filesystem::path& path) const
    {
        std::filesystem::create_directories(path.parent_path());
        platform::HostFileSystem().Create(path)->WriteAt(0, m_bytes);
    }

private:
    Bytes m_bytes;
};

StoreDescription Small(format::Variant variant, format::CryptMethod method, bool ost)
{
    StoreDescription store;
    store.format.variant = variant;
    store.format.crypt = method;
    store.format.ost = ost;
    store.format.childrenPerBlock = 3;
    StoreMessage mail = Mail(u"Subject", u"Ada Brook", u"Body", FileTime(2020, 1, 1));
    mail.label = "mail";
    mail.named = {{{format::propset::kCommon, 0x8530}, Text(0, u"Follow up")},
                  {{format::propset::kPublicStrings, 0, u"Keywords"}, Text(0, u"Red")}};
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

/// A whole file up to its last page or block, and the scan method in the last byte's lowest bit.
Bytes WholeFile(const CBuiltStore& store, bool smartScan)
{
    std::uint64_t end = 0;
    for (const StorePlace& place : store.Directory().places) {
        if (place.kind != PlaceKind::AMap)
            end = std::max(end, place.offset + place.extent);
    }
    Bytes file(store.Content().begin(), store.Content().begin() + static_cast<std::ptrdiff_t>(end));
    file.push_back(smartScan ? std::byte{1} : std::byte{0});
    return file;
}

void WriteFiles(const std::filesystem::path& root)
{
    int number = 0;
    const auto write = [&](const CBuiltStore& store, bool smartScan, const char* target) {
        const auto path = root / target / ("store" + std::to_string(number++));
        std::filesystem::create_directories(path.parent_path());
        platform::HostFileSystem().Create(path)->WriteAt(0, WholeFile(store, smartScan));
    };
    for (const format::Variant variant : kVariants) {
        for (const auto method :
             {format::CryptMethod::None, format::CryptMethod::Permute, format::CryptMethod::Cyclic}) {
            const CBuiltStore store(Small(variant, method, number % 2 == 1));
            for (const bool smartScan : {false, true}) {
                write(store, smartScan, "reader");
                write(store, smartScan, "recovery");
            }
        }
        write(CBuiltStore(Families(variant)), false, "recovery");
    }
}

/// Strict readers want the file as it was built.
void WriteStrictFiles(const std::filesystem::path& root)
{
    std::filesystem::create_directories(root / "strict");
    for (const auto method :
         {format::CryptMethod::None, format::CryptMethod::Permute, format::CryptMethod::Cyclic}) {
        CBuiltStore(Small(format::Variant::Unicode, method, false))
            .WriteTo(root / "strict" / ("store" + std::to_string(static_cast<int>(method))));
    }
}

Bytes BytesAt(const CBuiltStore& store, const StorePlace& place, std::uint64_t length)
{
    const auto first = store.Content().begin() + static_cast<std::ptrdiff_t>(place.offset);
    return Bytes(first, first + static_cast<std::ptrdiff_t>(length));
}

/// Tree pages as they are, their signatures to be mended: they lie elsewhere now.
void WritePages(const std::filesystem::path& root, const CBuiltStore& store)
{
    for (const PlaceKind kind :
         {PlaceKind::NbtLeaf, PlaceKind::NbtIndex, PlaceKind::BbtLeaf, PlaceKind::BbtIndex}) {
        const auto places = store.Directory().All(kind);
        for (std::size_t i = 0; i < std::min<std::size_t>(places.size(), 2); ++i) {
            for (const std::uint8_t flags : {std::uint8_t{1}, std::uint8_t{3}}) {
                CSeed(store.Format().variant)
                    .Add(flags)
                    .Add(BytesAt(store, places[i], places[i].extent + 16))
                    .WriteTo(root / "page" /
                             (std::to_string(static_cast<int>(store.Format().variant)) + "-" +
                              std::to_string(static_cast<int>(kind)) + std::to_string(i) +
                              std::to_string(flags)));
            }
        }
    }
}

/// Instructions for blocks: apart, side by side, one in another, the same again.
void WriteTrailers(const std::filesystem::path& root, format::Variant variant)
{
    struct Instruction {
        std::uint16_t slot, size;
        std::uint32_t bid;
        std::uint8_t spoil, fill;
    };
    const std::vector<Instruction> blocks = {{4, 40, 8, 0, 1},    {8, 200, 12, 0, 2},   {40, 1000, 16, 0, 3},
                                             {44, 100, 20, 0, 4}, {200, 300, 24, 1, 5}, {240, 300, 28, 2, 6},
                                             {280, 300, 16, 8, 7}};
    for (const std::uint8_t smartScan : {std::uint8_t{0}, std::uint8_t{1}}) {
        CSeed seed(variant);
        seed.Add(static_cast<std::uint8_t>(blocks.size())).Add(smartScan);
        for (const Instruction& block : blocks)
            seed.Add(block.slot).Add(block.size).Add(block.bid).Add(block.spoil).Add(block.fill);
        seed.WriteTo(root / "trailer" /
                     (std::to_string(static_cast<int>(variant)) + std::to_string(smartScan)));
    }
}

using Choice = bool (*)(const StorePlace&);

/// The blocks of a store that `isWanted` chooses, in the order of their names, for the targets named.
void WriteBlocks(const std::filesystem::path& root, const CBuiltStore& store, const std::string& name,
                 const std::vector<const char*>& targets, Choice isWanted)
{
    std::vector<StorePlace> blocks;
    for (const StorePlace& place : store.Directory().places) {
        if (isWanted(place) && blocks.size() < fuzz::CBlockFile::kMostBlocks)
            blocks.push_back(place);
    }
    std::ranges::stable_sort(blocks, {}, &StorePlace::name);
    CSeed seed(store.Format().variant);
    seed.Add(static_cast<std::uint8_t>(blocks.size()));
    for (const StorePlace& block : blocks)
        seed.Add(static_cast<std::uint16_t>(block.bid)).Add(static_cast<std::uint16_t>(block.stored));
    for (const StorePlace& block : blocks)
        seed.Add(BytesAt(store, block, block.stored));
    for (const char* target : targets)
        seed.WriteTo(root / target / (std::to_string(static_cast<int>(store.Format().variant)) + name));
}

void WriteParts(const std::filesystem::path& root, format::Variant variant)
{
    StoreDescription description = Small(variant, format::CryptMethod::None, false);
    description.format.childrenPerPage = 3;
    description.format.nodesPerPage = 4;
    description.format.blocksPerPage = 4;
    const CBuiltStore packed(description);
    description.format.packing = Packing::None;
    description.format.spillHeaps = true;
    const CBuiltStore plain(description);
    WritePages(root, plain);
    WriteTrailers(root, variant);
    const std::vector<const char*> nodes = {"heap", "context"};
    WriteBlocks(root, plain, "names", {"names", "heap", "context"},
                [](const StorePlace& place) { return place.name.starts_with("name map/"); });
    WriteBlocks(root, plain, "mail", nodes,
                [](const StorePlace& place) { return place.name.starts_with("mail/"); });
    for (const CBuiltStore* store : {&plain, &packed}) {
        const std::string name = store == &plain ? "plain" : "packed";
        WriteBlocks(root, *store, name + "tree", {"tree"}, [](const StorePlace& place) {
            return place.kind == PlaceKind::DataTree || place.name.find("/data") != std::string::npos;
        });
        WriteBlocks(root, *store, name + "subnodes", {"subnodes", "tree"}, [](const StorePlace& place) {
            return place.kind == PlaceKind::Subnodes || place.kind == PlaceKind::Data;
        });
    }
}

/// Edits of a sound store: none, a field of the header, bytes of a few pages and blocks.
void WriteEdits(const std::filesystem::path& root, format::Variant variant)
{
    struct Edit {
        std::uint16_t place, offset;
        std::uint8_t length, value;
    };
    const std::vector<std::vector<Edit>> seeds = {{},
                                                  {{0, 0xB8, 0, 1}},
                                                  {{1, 0, 3, 0x20}, {2, 8, 0, 0x55}, {3, 2, 1, 9}},
                                                  {{5, 0, 7, 2}, {33, 4, 3, 1}}};
    for (std::size_t i = 0; i < seeds.size(); ++i) {
        CSeed seed(variant);
        for (const Edit& edit : seeds[i])
            seed.Add(edit.place)
                .Add(edit.offset)
                .Add(edit.length)
                .Add(Bytes(edit.length + std::size_t{1}, static_cast<std::byte>(edit.value)));
        seed.WriteTo(root / "check" / (std::to_string(static_cast<int>(variant)) + "-" + std::to_string(i)));
    }
}

}  // namespace

int main(int count, char** values)
{
    if (count != 2) {
        std::fprintf(stderr, "usage: fuzz_seeds FOLDER\n");
        return 2;
    }
    const std::filesystem::path root = values[1];
    WriteFiles(root);
    WriteStrictFiles(root);
    for (const format::Variant variant : kVariants) {
        WriteParts(root, variant);
        WriteEdits(root, variant);
    }
    return 0;
}
