#include "format/Checksum.h"

#include <gtest/gtest.h>

#include "format/Crypt.h"
#include "format/NameId.h"
#include "tests/format/Hex.h"
#include "tests/format/RealBytes.h"

namespace pastille::tests {
namespace {

using namespace format;

TEST(Checksum, CrcOfRealBytes)
{
    EXPECT_EQ(ComputeCrc(FromHex("313233343536373839")), 0x2DFD2D88u);
    EXPECT_EQ(ComputeCrc(FromHex("00")), 0u) << "the register starts at 0";
    EXPECT_EQ(ComputeCrc(FromHex("ff")), 0x2D02EF8Du);
    EXPECT_EQ(ComputeCrc(FromHex(kRealBlock)), 0x1268AEC1u);
    EXPECT_EQ(ComputeCrc(FromHex(kRealSubnodeBlock)), 0x8EE25EA5u);
    EXPECT_EQ(ComputeCrc(FromHex(kRealNodeTreePage)), 0xAE5C764Eu);
}

TEST(Checksum, SignaturesOfRealPlaces)
{
    EXPECT_EQ(ComputeSignature(0x4CC0, 0x8), 0x4CC8);
    EXPECT_EQ(ComputeSignature(0x3E3200, 0x4B7D8), 0x85E2);
    EXPECT_EQ(ComputeSignature(0x3E2000, 0x4B97C), 0x9946);
    EXPECT_EQ(ComputeSignature(0x9200, 0x17D), 0x937D);
    EXPECT_EQ(ComputeSignature(0x1234567800004CC0, 0x9ABCDEF000000008), 0x4CC8) << "only the low halves";
}

TEST(Crypt, EncodesAndDecodesAsRealWritersDo)
{
    struct Case {
        CryptMethod method;
        std::uint32_t bid;
        const char* plain;
        const char* stored;
    };
    constexpr const char* kCounting = "000102030405060708090a0b0c0d0e0f101112131415161718191a1b1c1d1e1f";
    const Case cases[] = {{CryptMethod::Permute, 0x64, "3400ecbc2000000000000000b50206004000000001301f00",
                           "c841ff934c41414141414141a6136e41aa41414136238841"},
                          {CryptMethod::Cyclic, 0x104, kCounting,
                           "57c83a78f856cb4863e0af3f637b7b1df199b15f6439089241b74ead6abee6b6"},
                          {CryptMethod::Cyclic, 0x1FFFC, kCounting,
                           "9c18bde3ac28df4e6f8fcedd3088b2e24f5823661f86875525e686e9b7fafa67"},
                          {CryptMethod::None, 0x104, kCounting, kCounting}};
    for (const Case& c : cases) {
        std::vector<std::byte> bytes = FromHex(c.plain);
        EncodeBlock(c.method, c.bid, bytes);
        EXPECT_EQ(bytes, FromHex(c.stored)) << static_cast<int>(c.method);
        DecodeBlock(c.method, c.bid, bytes);
        EXPECT_EQ(bytes, FromHex(c.plain)) << static_cast<int>(c.method);
    }
}

TEST(NameId, BucketsOfRealNames)
{
    EXPECT_EQ(StringNameKey(u"Keywords"), 0x2EDA4D3Bu);
    EXPECT_EQ(StringNameKey(u"content-class"), 0xE6008F65u);
    EXPECT_EQ((NameId{0x8205, false, 3, 0}).Bucket(), 151u);
    EXPECT_EQ((NameId{0x2EDA4D3B, true, 2, 0}).Bucket(), 101u);
    EXPECT_EQ((NameId{0x8503, false, 5, 0}).Bucket(), 172u);

    const auto stream = FromHex(
        "0582000006000000"
        "3B4DDA2E05001300"
        "0102");
    const std::vector<NameId> names = DecodeNameIds(CByteView(stream));
    ASSERT_EQ(names.size(), 2u) << "the odd rest is no record";
    EXPECT_EQ(names[0], (NameId{0x8205, false, 3, 0}));
    EXPECT_EQ(names[1], (NameId{0x2EDA4D3B, true, 2, 0x13}));
    std::vector<std::byte> again(16);
    EncodeNameId(names[0], again);
    EncodeNameId(names[1], std::span(again).subspan(8));
    EXPECT_TRUE(std::equal(again.begin(), again.end(), stream.begin()));

    const auto strings = FromHex("04000000410042000600000041004200");
    EXPECT_EQ(StringNameAt(CByteView(strings), 0)->Size(), 4u);
    EXPECT_FALSE(StringNameAt(CByteView(strings), 8)) << "longer than the stream";
    EXPECT_FALSE(StringNameAt(CByteView(strings), 0xFFFFFFFE));

    const auto guid = FromHex("0220060000000000c000000000000046");
    EXPECT_EQ(DecodeGuid(CByteView(guid), 0), propset::kAppointment);
    EXPECT_FALSE(DecodeGuid(CByteView(guid), 1));
    std::vector<std::byte> encoded(kGuidSize);
    EncodeGuid(propset::kAppointment, encoded);
    EXPECT_EQ(encoded, guid);
}

}  // namespace
}  // namespace pastille::tests
