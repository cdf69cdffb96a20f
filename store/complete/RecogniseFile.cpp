#include <array>
#include <utility>
#include <vector>

#include "format/Header.h"
#include "store/WindowScan.h"
#include "store/complete/CompleteScan.h"
#include "store/complete/WindowFinder.h"

namespace pastille::store::complete {
namespace {

using format::Variant;

constexpr std::array kVariants = {Variant::Ansi, Variant::Unicode, Variant::Unicode4k};
constexpr std::size_t kSearchedBetweenAsking = 65536;
/// A variant that fills so many bytes, and so many times more than another, needs no further proof.
constexpr std::uint64_t kEnoughBytes = std::uint64_t{4} << 20;
constexpr std::uint64_t kClearLead = 16;

/// How much of the bytes looked at has the form of each variant.
struct Shares {
    std::array<std::uint64_t, kVariants.size()> bytes{};   ///< of sound pages and blocks
    std::array<std::uint64_t, kVariants.size()> trees{};   ///< tree pages
    std::array<std::uint64_t, kVariants.size()> places{};  ///< pages and blocks

    void Add(const Shares& other)
    {
        for (std::size_t i = 0; i < kVariants.size(); ++i) {
            bytes[i] += other.bytes[i];
            trees[i] += other.trees[i];
            places[i] += other.places[i];
        }
    }
    /// A single block may be chance.
    bool HasForm(std::size_t i) const { return trees[i] != 0 || places[i] > 1; }
    std::size_t Largest() const
    {
        std::size_t best = 0;
        for (std::size_t i = 1; i < kVariants.size(); ++i) {
            if (std::pair(HasForm(i), bytes[i]) > std::pair(HasForm(best), bytes[best]))
                best = i;
        }
        return best;
    }
    bool IsClear() const
    {
        const std::size_t best = Largest();
        for (std::size_t i = 0; i < kVariants.size(); ++i) {
            if (i != best && bytes[i] * kClearLead > bytes[best])
                return false;
        }
        return HasForm(best) && bytes[best] >= kEnoughBytes;
    }
};

Shares CountPlaces(const ScanWindow& window)
{
    Shares shares;
    for (std::size_t i = 0; i < kVariants.size(); ++i) {
        std::vector<FoundPlace> settled;
        for (FoundPlace& place : FindPlaces(format::LayoutOf(kVariants[i]), window))
            AddPlace(settled, std::move(place));
        for (const FoundPlace& place : settled) {
            if (!place.isSound || (place.isPage && !place.page.isTree))
                continue;
            shares.bytes[i] += place.end - place.start;
            shares.trees[i] += place.isPage;
            ++shares.places[i];
        }
    }
    return shares;
}

bool HasPageAt(CSourceFile& source, const format::VariantLayout& layout,
               const format::BlockReference& reference)
{
    std::vector<std::byte> bytes(layout.pageSize);
    if (reference.offset == 0 || source.Read(reference.offset, bytes) != bytes.size())
        return false;
    const auto page = RecognisePage(layout, format::CByteView(bytes), reference.offset);
    return page && page->isSound && page->IsNodePage() && page->bid == reference.bid;
}

/// What a header says whose root is where it says.
std::optional<Variant> ByHeader(CSourceFile& source)
{
    for (const Variant variant : kVariants) {
        const format::VariantLayout& layout = format::LayoutOf(variant);
        std::vector<std::byte> bytes(layout.headerBytes);
        source.Read(0, bytes);
        const auto checked = format::DecodeHeader(layout, format::CByteView(bytes));
        constexpr std::uint8_t kUntrue = format::kHeaderBadPartialCrc | format::kHeaderBadFullCrc;
        if (checked && (checked->faults & kUntrue) == 0 &&
            HasPageAt(source, layout, checked->header.nodeTree))
            return variant;
    }
    return std::nullopt;
}

std::optional<Variant> ByContents(CSourceFile& source, const std::function<bool(std::uint64_t)>& proceed)
{
    Shares total;
    bool stopped = false;
    ScanWindows(source, 0, CountPlaces, [&](const Shares& shares, const ScanWindow& window) {
        total.Add(shares);
        stopped = !window.ProceedThrough(kSearchedBetweenAsking, proceed);
        return !stopped && !total.IsClear();
    });
    const std::size_t best = total.Largest();
    return stopped || !total.HasForm(best) ? std::nullopt : std::optional(kVariants[best]);
}

FileKind KindOf(CSourceFile& source, Variant variant, std::optional<platform::SourceKind> kind)
{
    std::array<std::byte, 16> head{};
    source.Read(0, head);
    const auto magic = format::CByteView(head).ReadOrZero<std::uint16_t>(8);
    if (magic == format::kClientMagicPst)
        return FileKind::Pst;
    if (magic == format::kClientMagicOst)
        return FileKind::Ost;
    if (kind)
        return *kind == platform::SourceKind::Ost ? FileKind::Ost : FileKind::Pst;
    return variant == Variant::Unicode4k ? FileKind::Ost : FileKind::Pst;
}

}  // namespace

std::optional<FileType> RecogniseFile(CSourceFile& source, std::optional<platform::SourceKind> kind,
                                      const std::function<bool(std::uint64_t)>& proceed)
{
    if (!proceed(0))
        return std::nullopt;
    auto variant = ByHeader(source);
    if (!variant)
        variant = ByContents(source, proceed);
    if (!variant)
        return std::nullopt;
    return FileType{*variant, KindOf(source, *variant, kind)};
}

}  // namespace pastille::store::complete
