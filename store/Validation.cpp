#include "store/Validation.h"

#include <array>

#include "format/Bytes.h"
#include "format/Checksum.h"
#include "store/WindowScan.h"

namespace pastille::store {
namespace {

using format::Variant;

constexpr std::uint64_t kProbeStart = 18432;
constexpr std::size_t kBufferBytes = 8192;
constexpr std::size_t kProbeStep = 4096;
constexpr std::size_t kSlotStep = 512;

bool IsTreePageWord(std::uint16_t word)
{
    return word == format::pageword::kBbt || word == format::pageword::kNbt;
}

std::uint16_t WordAt(format::CByteView view, std::size_t offset)
{
    return view.ReadOrZero<std::uint16_t>(offset);
}

/// The variant of the page that may start at `slot`, by a trailer that fits the place.
std::optional<Variant> BySignature(format::CByteView view, std::size_t slot, std::uint64_t fileOffset)
{
    const bool is4k = IsTreePageWord(WordAt(view, slot + format::kUnicode4kLayout.typeOffset));
    const bool isUnicode = IsTreePageWord(WordAt(view, slot + format::kUnicodeLayout.typeOffset));
    const bool isAnsi = IsTreePageWord(WordAt(view, slot + format::kAnsiLayout.typeOffset));
    if (!isUnicode && !isAnsi)
        return std::nullopt;
    const format::VariantLayout& layout = format::LayoutOf(is4k        ? Variant::Unicode4k
                                                           : isUnicode ? Variant::Unicode
                                                                       : Variant::Ansi);
    const std::uint16_t signature = WordAt(view, slot + layout.signatureOffset);
    const auto bid = view.ReadOrZero<std::uint32_t>(slot + layout.pageBidOffset);
    if (signature == 0 || signature != format::ComputeSignature(fileOffset, bid))
        return std::nullopt;
    return isAnsi ? Variant::Ansi : Variant::Unicode;
}

/// True when the slot is the last one of a 4 KB page: its maximum count and type word stand there.
bool EndsPage4k(format::CByteView view, std::size_t slot)
{
    constexpr std::size_t kLastSlot = 4096 - kSlotStep;
    constexpr std::uint16_t kMaximumCount = 169;
    const format::VariantLayout& layout = format::kUnicode4kLayout;
    return WordAt(view, slot + layout.maximumCountOffset - kLastSlot) == kMaximumCount &&
           IsTreePageWord(WordAt(view, slot + layout.typeOffset - kLastSlot));
}

std::optional<Variant> ProbeBuffer(format::CByteView view, std::uint64_t fileOffset)
{
    std::optional<Variant> found;
    for (std::size_t slot = 0; slot < kProbeStep; slot += kSlotStep) {
        if (const auto variant = BySignature(view, slot, fileOffset + slot))
            return variant;
        if (EndsPage4k(view, slot))
            found = Variant::Unicode4k;
    }
    return found;
}

/// A 4 KB page whose trailer fits its place. Only looked for because an NBT leaf shows in no other way.
bool IsSignedPage4k(format::CByteView view, std::size_t slot, std::uint64_t fileOffset)
{
    const format::VariantLayout& layout = format::kUnicode4kLayout;
    const std::uint16_t signature = WordAt(view, slot + layout.signatureOffset);
    return IsTreePageWord(WordAt(view, slot + layout.typeOffset)) && signature != 0 &&
           signature == format::ComputeSignature(fileOffset,
                                                 view.ReadOrZero<std::uint32_t>(slot + layout.pageBidOffset));
}

/// What the probe of a window has shown.
struct Probed {
    std::optional<Variant> variant;
    std::uint64_t reached = 0;  ///< file offset of the last buffer looked at
    bool hasPage4k = false;
};

Probed ProbeWindow(const ScanWindow& window)
{
    Probed probed;
    const std::uint64_t end = window.start + window.transferred;
    for (std::uint64_t offset = window.start; offset < end && !probed.variant; offset += kProbeStep) {
        const format::CByteView view = window.At(offset, kBufferBytes);
        probed.reached = offset;
        probed.variant = ProbeBuffer(view, offset);
        for (std::size_t slot = 0; slot < kProbeStep; slot += kSlotStep)
            probed.hasPage4k = probed.hasPage4k || IsSignedPage4k(view, slot, offset + slot);
    }
    return probed;
}

}  // namespace

FileKind ReadFileKind(CSourceFile& source)
{
    constexpr std::uint16_t kMagicPst = 0x4D53;
    constexpr std::uint16_t kMagicOst = 0x4F53;
    std::array<std::byte, 512> header{};
    source.Read(0, header);
    switch (WordAt(format::CByteView(header), 8)) {
        case kMagicPst:
            return FileKind::Pst;
        case kMagicOst:
            return FileKind::Ost;
        default:
            return FileKind::Unknown;
    }
}

std::optional<Variant> ProbeVariant(CSourceFile& source, const std::function<bool(std::uint64_t)>& proceed)
{
    if (!proceed(0))
        return std::nullopt;
    std::optional<Variant> found;
    bool hasPage4k = false;
    bool stopped = false;
    ScanWindows(source, kProbeStart, ProbeWindow, [&](const Probed& probed, const ScanWindow& window) {
        found = probed.variant;
        hasPage4k = hasPage4k || probed.hasPage4k;
        for (std::uint64_t offset = window.start; offset < probed.reached + (found ? 0 : kProbeStep);) {
            offset += kProbeStep;
            stopped = stopped || !proceed(offset);
        }
        return !found && !stopped;
    });
    if (stopped)
        return std::nullopt;
    if (found)
        return found;
    if (hasPage4k)
        return Variant::Unicode4k;
    return VariantFromHeader(source);
}

std::optional<Variant> VariantFromHeader(CSourceFile& source)
{
    constexpr std::size_t kHeaderBytes = 528;
    std::array<std::byte, kHeaderBytes> header{};
    source.Read(0, header);
    const format::CByteView view(header);
    // Both root pages somewhere, and at a multiple of 256 at least.
    const auto isRootPair = [&](std::size_t bbtOffset, std::size_t nbtOffset) {
        const auto bbt = view.ReadOrZero<std::uint32_t>(bbtOffset);
        const auto nbt = view.ReadOrZero<std::uint32_t>(nbtOffset);
        return bbt != 0 && nbt != 0 && (bbt & 0xFF) == 0 && (nbt & 0xFF) == 0;
    };
    if (isRootPair(196, 188))
        return Variant::Ansi;
    if (isRootPair(240, 224))
        return Variant::Unicode;
    return std::nullopt;
}

}  // namespace pastille::store
