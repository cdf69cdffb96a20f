#include "store/complete/CryptChoice.h"

#include <array>
#include <vector>

#include "format/Ids.h"

namespace pastille::store::complete {
namespace {

/// As many blocks that begin a heap settle it.
constexpr unsigned kEnoughVotes = 128;
/// Blocks that are looked at: of attachments none begins a heap.
constexpr std::size_t kMostBlocks = 4096;

class CVotes {
public:
    CVotes(CScannedSource& source) : m_source(source) {}

    /// False when no more are wanted.
    bool Count(std::uint64_t bid, const BlockPlace& place)
    {
        if (!place.isSound || format::Bid{bid}.IsInternal())
            return true;
        std::vector<std::byte> head(std::min<std::size_t>(place.size, kProbeBytes));
        m_source.file.Read(place.offset, head);
        const std::uint8_t methods =
            HeapMethods(m_source.type.kind, m_source.Layout(), static_cast<std::uint32_t>(bid), head);
        m_total += methods != 0;
        for (std::size_t i = 0; i < m_votes.size(); ++i)
            m_votes[i] += (methods & MethodBit(format::kCryptMethods[i])) != 0;
        return ++m_looked < kMostBlocks && m_total < kEnoughVotes;
    }
    bool IsEmpty() const { return m_total == 0; }
    void StartAgain() { m_looked = 0; }

    format::CryptMethod Winner(format::CryptMethod preferred) const
    {
        auto best = static_cast<std::size_t>(preferred);
        for (std::size_t i = 0; i < m_votes.size(); ++i) {
            if (m_votes[i] > m_votes[best])
                best = i;
        }
        return format::kCryptMethods[best];
    }

private:
    CScannedSource& m_source;
    std::array<unsigned, format::kCryptMethods.size()> m_votes{};
    unsigned m_total = 0;
    std::size_t m_looked = 0;
};

}  // namespace

format::CryptMethod ChooseCryptMethod(CScannedSource& source, std::optional<format::CryptMethod> announced)
{
    CVotes votes(source);
    for (const NodeVersion& version : source.nodes.Versions()) {
        const auto place = source.blocks.Find(version.bidData, true);
        if (place && !votes.Count(version.bidData, *place))
            break;
    }
    if (votes.IsEmpty()) {
        votes.StartAgain();
        const auto records = source.blocks.Records();
        const std::size_t step = records.size() / kMostBlocks + 1;
        for (std::size_t i = 0; i < records.size(); i += step) {
            if (!votes.Count(records[i].Bid(), records[i].Place()))
                break;
        }
    }
    return votes.Winner(announced.value_or(format::CryptMethod::None));
}

}  // namespace pastille::store::complete
