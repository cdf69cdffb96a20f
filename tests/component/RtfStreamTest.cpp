#include "component/pst/messaging/RtfStream.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "format/Bytes.h"
#include "format/Checksum.h"

namespace pastille::tests {
namespace {

using namespace component::pst;

std::vector<std::byte> BytesOf(const std::string& text)
{
    const auto bytes = std::as_bytes(std::span(text));
    return {bytes.begin(), bytes.end()};
}

std::string TextOf(const std::vector<std::byte>& bytes)
{
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

std::vector<std::byte> FromHex(const std::string& hex)
{
    std::vector<std::byte> bytes;
    for (std::size_t i = 0; i + 1 < hex.size(); i += 3)
        bytes.push_back(static_cast<std::byte>(std::stoi(hex.substr(i, 2), nullptr, 16)));
    return bytes;
}

/// A stream with a right header around any contents.
std::vector<std::byte> Stream(const std::string& type, const std::vector<std::byte>& contents,
                              std::uint32_t rawSize)
{
    std::vector<std::byte> bytes(16);
    format::StoreLE(bytes, 0, static_cast<std::uint32_t>(contents.size() + 12));
    format::StoreLE(bytes, 4, rawSize);
    std::ranges::copy(BytesOf(type), bytes.begin() + 8);
    format::StoreLE(bytes, 12, type == "LZFu" ? format::ComputeCrc(contents) : 0);
    bytes.insert(bytes.end(), contents.begin(), contents.end());
    return bytes;
}

// The published examples. [MS-OXRTFCP] 4
const std::string kPlain = "{\\rtf1\\ansi\\ansicpg1252\\pard hello world}\r\n";
const std::string kPlainStream =
    "2d 00 00 00 2b 00 00 00 4c 5a 46 75 f1 c5 c7 a7 03 00 0a 00 72 63 70 67 31 32 35 42 32 0a f3 20 68 65 "
    "6c 09 00 20 62 77 05 b0 6c 64 7d 0a 80 0f a0";
const std::string kCrossing = "{\\rtf1 WXYZWXYZWXYZWXYZWXYZ}";
const std::string kCrossingStream =
    "1a 00 00 00 1c 00 00 00 4c 5a 46 75 e2 d4 4b 51 41 00 04 20 57 58 59 5a 0d 6e 7d 01 0e b0";

TEST(RtfStream, PublishedExamplesBothWays)
{
    for (const auto& [text, stream] : {std::pair{kPlain, kPlainStream}, {kCrossing, kCrossingStream}}) {
        EXPECT_EQ(CompressRtf(BytesOf(text)), FromHex(stream));
        EXPECT_EQ(TextOf(DecompressRtf(FromHex(stream))), text);
        EXPECT_TRUE(IsRtfStream(FromHex(stream)));
    }
}

TEST(RtfStream, AnyBytesComeBack)
{
    unsigned seed = 1;
    for (const unsigned letters : {1u, 2u, 16u, 256u})
        for (const std::size_t size : {1u, 2u, 3u, 8u, 17u, 18u, 3889u, 3890u, 4096u, 4097u, 50'000u}) {
            std::string text;
            while (text.size() < size)
                text.push_back(static_cast<char>(((seed = seed * 1103515245 + 12345) >> 16) % letters));
            const auto stream = CompressRtf(BytesOf(text));
            EXPECT_TRUE(IsRtfStream(stream));
            EXPECT_TRUE(TextOf(DecompressRtf(stream)) == text) << letters << " " << size;
        }
    std::string periodic;  // with a period of just under, at and over the ring
    for (const std::size_t period : {4094u, 4095u, 4096u, 4097u}) {
        periodic.clear();
        for (std::size_t i = 0; i < 5 * period; ++i)
            periodic.push_back(static_cast<char>((i % period) * (i % period) >> 3));
        EXPECT_TRUE(TextOf(DecompressRtf(CompressRtf(BytesOf(periodic)))) == periodic) << period;
    }
}

TEST(RtfStream, CompressingTakesTimeInProportion)
{
    // Every place of such a text has thousands of earlier ones that begin alike.
    std::string text;
    for (unsigned seed = 1; text.size() < 2'000'000;)
        text += ((seed = seed * 1103515245 + 12345) >> 20) % 2 ? "aaaaaaab" : "aaaaaaac";
    const auto start = std::chrono::steady_clock::now();
    const auto stream = CompressRtf(BytesOf(text));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
    EXPECT_LT(stream.size(), text.size() / 2);
}

TEST(RtfStream, DamagedOnesGiveWhatTheyHold)
{
    auto stored = Stream("MELA", BytesOf("{\\rtf1 x}"), 9);
    EXPECT_TRUE(IsRtfStream(stored));
    EXPECT_EQ(TextOf(DecompressRtf(stored)), "{\\rtf1 x}");
    format::StoreLE(stored, 4, 0xFFFFFFFFu);
    EXPECT_FALSE(IsRtfStream(stored));
    EXPECT_EQ(TextOf(DecompressRtf(stored)), "{\\rtf1 x}");

    const auto sound = CompressRtf(BytesOf(kPlain));
    for (std::size_t size = 0; size < sound.size(); ++size) {
        const auto cut = std::vector(sound.begin(), sound.begin() + static_cast<std::ptrdiff_t>(size));
        EXPECT_FALSE(IsRtfStream(cut));
        if (size >= 16) {
            EXPECT_TRUE(kPlain.starts_with(TextOf(DecompressRtf(cut)))) << size;
        }
    }
    for (std::size_t at = 0; at < sound.size(); ++at) {
        auto broken = sound;
        broken[at] ^= std::byte{0x40};
        EXPECT_FALSE(IsRtfStream(broken) && at != 4 && at != 5 && at != 6 && at != 7) << at;
        EXPECT_LE(DecompressRtf(broken).size(), 9 * broken.size());
    }
    // No end marker, and sizes that promise more than there is.
    auto lying = Stream("LZFu", std::vector<std::byte>(9 * 1000, std::byte{0xFF}), 0xFFFFFFFF);
    format::StoreLE(lying, 0, 0xFFFFFFFFu);
    EXPECT_FALSE(IsRtfStream(lying));
    EXPECT_LE(DecompressRtf(lying).size(), 9 * lying.size());
    EXPECT_EQ(TextOf(DecompressRtf(BytesOf("{\\rtf1 no stream at all}"))), "{\\rtf1 no stream at all}");
}

}  // namespace
}  // namespace pastille::tests
