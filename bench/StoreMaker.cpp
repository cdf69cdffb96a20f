// Makes store files for benchmarks, for trying things out, and the example.

#include <charconv>
#include <cstdio>
#include <cstring>
#include <exception>
#include <functional>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>

#include "bench/StoreHostile.h"
#include "bench/StoreItems.h"
#include "tests/support/StoreExample.h"
#include "tests/support/StoreFamilies.h"
#include "tests/support/StoreMails.h"

namespace {

using namespace pastille;
using namespace pastille::bench;
using namespace pastille::tests;

constexpr const char* kUsage =
    "usage: store_maker [options] FILE\n"
    "       store_maker --example FILE\n"
    "       store_maker --families [--variant NAME] [--ost] FILE\n"
    "                    an item of every class with everything that it can keep\n"
    "       store_maker --hostile NAME --size BYTES [--variant NAME] [--ost] FILE\n"
    "                    zeros, random, trailers, bbt-page or nbt-pages: the client's magic, a page by "
    "which\n"
    "                    the variant is recognised, and nothing but that\n"
    "  --size BYTES      about so large; K, M and G may follow\n"
    "  --mails COUNT     so many mails, or other items\n"
    "  --sparse BYTES    spread them (2000 when no number is given) over a file of that size, holes between\n"
    "  --kind NAME       mails (default), contacts, appointments or tasks\n"
    "  --attachments COUNT       on each item (0)\n"
    "  --attachment-bytes BYTES  of each (50000)\n"
    "  --body-bytes BYTES        of each item's body (about 3 KB)\n"
    "  --folders COUNT   so many folders (12)\n"
    "  --seed NUMBER     another store (1)\n"
    "  --variant NAME    ansi, unicode (default) or unicode4k\n"
    "  --crypt NAME      none, permute (default) or cyclic\n"
    "  --ost             an OST instead of a PST\n"
    "  --damage NAME     header, root, nbt-index, nbt-signatures, bbt-index, bbt-pages, trailing-half,\n"
    "                    zero-1, zero-5, zero-20 (hundredths of all sectors), zero-run (a tenth of the "
    "file),\n"
    "                    insert (512 bytes in the middle); may be given several times\n";

std::uint64_t ParseSize(const std::string& text)
{
    std::uint64_t value = 0;
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, value);
    static const std::map<std::string, std::uint64_t> units = {
        {"", 1}, {"K", 1024}, {"M", 1024 * 1024}, {"G", 1024 * 1024 * 1024}};
    const auto unit = units.find(std::string(rest, end));
    if (error != std::errc() || unit == units.end())
        throw std::invalid_argument("not a number: " + text);
    return value * unit->second;
}

template <class Value>
Value Choose(const std::map<std::string, Value>& values, const std::string& name)
{
    const auto found = values.find(name);
    if (found == values.end())
        throw std::invalid_argument("unknown: " + name);
    return found->second;
}

using DamageFunction = void (*)(CStoreDamage&, std::uint64_t size);

const std::map<std::string, DamageFunction> kDamages = {
    {"header", [](CStoreDamage& damage, std::uint64_t) { damage.ZeroHeaderButMagic(); }},
    {"root", [](CStoreDamage& damage, std::uint64_t) { damage.ZeroRoot(); }},
    {"nbt-index", [](CStoreDamage& damage, std::uint64_t) { damage.Drop(PlaceKind::NbtIndex); }},
    {"nbt-signatures",
     [](CStoreDamage& damage, std::uint64_t) { damage.BreakSignatures(PlaceKind::NbtLeaf); }},
    {"bbt-index", [](CStoreDamage& damage, std::uint64_t) { damage.Drop(PlaceKind::BbtIndex); }},
    {"bbt-pages", [](CStoreDamage& damage, std::uint64_t) { damage.Drop(PlaceKind::BbtLeaf); }},
    {"trailing-half", [](CStoreDamage& damage, std::uint64_t size) { damage.Truncate(size / 2); }},
    {"zero-1", [](CStoreDamage& damage, std::uint64_t) { damage.ZeroSectors(1, 1); }},
    {"zero-5", [](CStoreDamage& damage, std::uint64_t) { damage.ZeroSectors(5, 1); }},
    {"zero-20", [](CStoreDamage& damage, std::uint64_t) { damage.ZeroSectors(20, 1); }},
    {"zero-run", [](CStoreDamage& damage, std::uint64_t size) { damage.ZeroRun(size, 10, 1); }},
    {"insert", [](CStoreDamage& damage, std::uint64_t size) { damage.Insert(size / 1024 * 512, 512); }},
};

struct Arguments {
    MailStoreOptions options;
    ItemOptions items;
    std::vector<DamageFunction> damages;
    std::string path;
    bool example = false;
    bool families = false;
    std::optional<HostileFill> hostile{};
};

/// Takes an option that says what the store is to hold. False for another one.
bool TakeContents(const std::string& name, const std::function<std::string()>& next,
                  MailStoreOptions& options, ItemOptions& items)
{
    if (name == "--size")
        options.fileBytes = ParseSize(next());
    else if (name == "--mails")
        options.mails = ParseSize(next());
    else if (name == "--sparse")
        options.spreadBytes = ParseSize(next());
    else if (name == "--kind")
        items.kind = Choose<ItemKind>({{"mails", ItemKind::Mails},
                                       {"contacts", ItemKind::Contacts},
                                       {"appointments", ItemKind::Appointments},
                                       {"tasks", ItemKind::Tasks}},
                                      next());
    else if (name == "--attachments")
        items.attachments = ParseSize(next());
    else if (name == "--attachment-bytes")
        items.attachmentBytes = ParseSize(next());
    else if (name == "--body-bytes")
        items.bodyBytes = ParseSize(next());
    else if (name == "--folders")
        options.folders = static_cast<std::uint32_t>(ParseSize(next()));
    else if (name == "--seed")
        options.seed = static_cast<std::uint32_t>(ParseSize(next()));
    else
        return false;
    return true;
}

/// The same for how the file is laid out.
bool TakeFormat(const std::string& name, const std::function<std::string()>& next, StoreFormat& format)
{
    if (name == "--variant")
        format.variant = Choose<format::Variant>({{"ansi", format::Variant::Ansi},
                                                  {"unicode", format::Variant::Unicode},
                                                  {"unicode4k", format::Variant::Unicode4k}},
                                                 next());
    else if (name == "--crypt")
        format.crypt = Choose<format::CryptMethod>({{"none", format::CryptMethod::None},
                                                    {"permute", format::CryptMethod::Permute},
                                                    {"cyclic", format::CryptMethod::Cyclic}},
                                                   next());
    else if (name == "--ost")
        format.ost = true;
    else
        return false;
    return true;
}

Arguments Parse(int count, char** values)
{
    Arguments arguments;
    arguments.options.format.keepDirectory = false;
    for (int i = 1; i < count; ++i) {
        const std::string name = values[i];
        const auto next = [&] {
            if (++i >= count)
                throw std::invalid_argument("value missing after " + name);
            return std::string(values[i]);
        };
        if (TakeContents(name, next, arguments.options, arguments.items) ||
            TakeFormat(name, next, arguments.options.format))
            continue;
        if (name == "--damage")
            arguments.damages.push_back(Choose(kDamages, next()));
        else if (name == "--example")
            arguments.example = true;
        else if (name == "--families")
            arguments.families = true;
        else if (name == "--hostile")
            arguments.hostile = Choose<HostileFill>({{"zeros", HostileFill::Zeros},
                                                     {"random", HostileFill::Random},
                                                     {"trailers", HostileFill::Trailers},
                                                     {"bbt-page", HostileFill::BbtPage},
                                                     {"nbt-pages", HostileFill::NbtPages}},
                                                    next());
        else if (name.starts_with("-") || !arguments.path.empty())
            throw std::invalid_argument("unknown: " + name);
        else
            arguments.path = name;
    }
    if (arguments.path.empty())
        throw std::invalid_argument("no file named");
    if (arguments.options.spreadBytes != 0 && arguments.options.mails == 0)
        arguments.options.mails = 2000;
    if (!arguments.example && !arguments.families && arguments.options.mails == 0 &&
        arguments.options.fileBytes == 0)
        throw std::invalid_argument("give --size or --mails");
    return arguments;
}

void Make(const Arguments& arguments)
{
    if (arguments.example) {
        BuildDamagedExample().WriteTo(arguments.path);
        return;
    }
    if (arguments.families) {
        const StoreFormat& format = arguments.options.format;
        CBuiltStore(MakeFamilyStore(format.variant, {.isOst = format.ost}).description)
            .WriteTo(arguments.path);
        return;
    }
    const auto file = platform::HostFileSystem().Create(arguments.path);
    if (arguments.hostile) {
        WriteHostileFile(*arguments.hostile, arguments.options.format, arguments.options.fileBytes, *file);
        return;
    }
    MailStoreOptions options = arguments.options;
    options.items = MakerOf(arguments.items);
    const MailStoreFigures figures = WriteMailStore(options, *file);
    CStoreDamage damage(*file, figures.directory, arguments.options.format);
    for (const DamageFunction& apply : arguments.damages)
        apply(damage, file->Size());
    std::printf("%s: %llu items, %llu bytes\n", arguments.path.c_str(),
                static_cast<unsigned long long>(figures.mails),
                static_cast<unsigned long long>(file->Size()));
}

}  // namespace

int main(int count, char** values)
{
    try {
        Make(Parse(count, values));
        return 0;
    } catch (const std::invalid_argument& error) {
        std::fprintf(stderr, "store_maker: %s\n%s", error.what(), kUsage);
        return 2;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "store_maker: %s\n", error.what());
        return 1;
    }
}
