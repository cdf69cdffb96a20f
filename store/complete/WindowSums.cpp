#include "store/complete/WindowSums.h"

#include <algorithm>
#include <array>

#include "format/Checksum.h"

namespace pastille::store::complete {
namespace {

constexpr std::uint32_t kPolynomial = 0xEDB88320;  ///< bit 31 is the coefficient of x^0
constexpr std::size_t kLongestStretch = 65536;
/// Of summing directly each byte costs far less than of the sums of all beginnings.
constexpr std::uint64_t kDirectPerByte = 8;

constexpr std::uint32_t TimesX(std::uint32_t value)
{
    return (value >> 1) ^ (kPolynomial & (0u - (value & 1)));
}

/// The product of two polynomials modulo that of the CRC.
constexpr std::uint32_t Multiply(std::uint32_t left, std::uint32_t right)
{
    std::uint32_t product = 0;
    for (unsigned bit = 0; bit < 32; ++bit) {
        product ^= right & (0u - (left >> 31));
        left <<= 1;
        right = TimesX(right);
    }
    return product;
}

/// x^(8n) for every length that a block can have: what a sum is multiplied by as n bytes follow it.
const std::vector<std::uint32_t>& Shifts()
{
    static const std::vector<std::uint32_t> shifts = [] {
        std::vector<std::uint32_t> made(kLongestStretch + 1);
        std::uint32_t power = 0x80000000;
        for (std::uint32_t& shift : made) {
            shift = power;
            for (int bit = 0; bit < 8; ++bit)
                power = TimesX(power);
        }
        return made;
    }();
    return shifts;
}

constexpr std::array<std::uint32_t, 256> kByteSums = [] {
    std::array<std::uint32_t, 256> sums{};
    for (std::uint32_t value = 0; value < sums.size(); ++value) {
        sums[value] = value;
        for (int bit = 0; bit < 8; ++bit)
            sums[value] = TimesX(sums[value]);
    }
    return sums;
}();

std::uint32_t AddByte(std::uint32_t sum, std::byte byte)
{
    return (sum >> 8) ^ kByteSums[(sum ^ std::to_integer<std::uint32_t>(byte)) & 0xFF];
}

}  // namespace

CWindowSums::CWindowSums(std::span<const std::byte> bytes)
    : m_bytes(bytes), m_directLeft(kDirectPerByte * bytes.size())
{
}

bool CWindowSums::Matches(std::size_t offset, std::size_t length, std::uint32_t crc)
{
    if (length <= m_directLeft) {
        m_directLeft -= length;
        return format::ComputeCrc(m_bytes.subspan(offset, length)) == crc;
    }
    m_directLeft = 0;
    if (m_sums.empty())
        MakeSums();
    return (m_sums[offset + length] ^ Multiply(m_sums[offset], Shifts()[length])) == crc;
}

/// Each sum waits for the one before it, so several runs of them are made side by side.
void CWindowSums::MakeSums()
{
    constexpr std::size_t kRuns = 4;
    const std::size_t length = m_bytes.size() / kRuns;
    m_sums.resize(m_bytes.size() + 1);
    std::array<std::uint32_t, kRuns> sums{};
    for (std::size_t run = 1; run < kRuns; ++run)
        sums[run] = format::ComputeCrc(m_bytes.first(run * length));
    for (std::size_t i = 0; i < length; ++i) {
        for (std::size_t run = 0; run < kRuns; ++run) {
            m_sums[run * length + i] = sums[run];
            sums[run] = AddByte(sums[run], m_bytes[run * length + i]);
        }
    }
    std::uint32_t sum = sums[kRuns - 1];
    for (std::size_t i = kRuns * length; i < m_bytes.size(); ++i) {
        m_sums[i] = sum;
        sum = AddByte(sum, m_bytes[i]);
    }
    m_sums[m_bytes.size()] = sum;
}

}  // namespace pastille::store::complete
