#include "check/NameMapCheck.h"

#include <algorithm>
#include <vector>

#include "check/LtpRules.h"
#include "check/MessagingRules.h"
#include "check/PropertyCheck.h"
#include "format/Checksum.h"
#include "format/NameId.h"

namespace pastille::check {
namespace {

using format::NameId;

constexpr std::size_t kMostNames = 0xFFFF - format::namemap::kFirstPropertyId;
constexpr std::size_t kLongestStrings = 1u << 26;
constexpr std::size_t kLongestStream = 1u << 20;  ///< of GUIDs, entries or a bucket

class CNameMap {
public:
    CNameMap(CMessagingRun& run, const Place& place, const CDatabase::Node& node)
        : m_run(run), m_map(run, place, node.data, node.sub)
    {
    }

    void Check();

private:
    std::optional<format::HeldBytes> Stream(std::uint16_t id, std::size_t recordSize, std::size_t limit);
    void CheckEntry(const NameId& entry, std::size_t number, std::size_t guidCount,
                    format::CByteView strings);
    void CheckBucket(std::uint32_t bucket, format::CByteView records);
    void CheckBuckets();

    CMessagingRun& m_run;
    CPropertyContext m_map;
    std::vector<NameId> m_keys;  ///< as the buckets have to hold them: of strings the hash
    std::vector<bool> m_isSound;
    std::vector<bool> m_isInBucket;
};

std::optional<format::HeldBytes> CNameMap::Stream(std::uint16_t id, std::size_t recordSize, std::size_t limit)
{
    const Property* const property = m_map.Find(id);
    if (property == nullptr || property->tag.type != format::PropertyType::Binary) {
        m_map.Node().NoteMissing(rules::kNameStream, "stream " + Hex(id));
        return std::nullopt;
    }
    auto bytes = ReadStored(m_run, property->stored, limit);
    if (property->stored.isUnreadable)
        return std::nullopt;
    if (!bytes || bytes->view.Size() % recordSize != 0)
        m_map.Node().Note(rules::kNameStream, "stream " + Hex(id), std::to_string(property->size) + " bytes");
    return bytes;
}

void CNameMap::CheckEntry(const NameId& entry, std::size_t number, std::size_t guidCount,
                          format::CByteView strings)
{
    NameId key = entry;
    bool isSound = entry.index == number;
    isSound = isSound && entry.guidIndex < format::namemap::kFirstGuidIndex + guidCount;
    if (entry.isString) {
        const auto name = format::StringNameAt(strings, entry.number);
        isSound = isSound && name && name->Size() % 2 == 0 && name->Size() != 0;
        key.number = name ? format::ComputeCrc(name->Bytes()) : 0;
    }
    if (!isSound)
        m_map.Node().Note(rules::kNameEntry, "entry " + std::to_string(number));
    m_keys.push_back(key);
    m_isSound.push_back(isSound);
}

void CNameMap::CheckBucket(std::uint32_t bucket, format::CByteView records)
{
    std::size_t strays = records.Size() % NameId::kSize != 0 ? 1 : 0;
    for (const NameId& record : format::DecodeNameIds(records)) {
        const bool isKnown = record.index < m_keys.size();
        if (isKnown && !m_isSound[record.index]) {
            m_isInBucket[record.index] = true;  // the entry's fault is the only one
            continue;
        }
        const bool belongs = isKnown && m_keys[record.index] == record && record.Bucket() == bucket &&
                             !m_isInBucket[record.index];
        if (belongs)
            m_isInBucket[record.index] = true;
        else
            ++strays;
    }
    if (strays != 0)
        m_map.Node().Note(rules::kNameBucketStray, "bucket " + std::to_string(bucket),
                          std::to_string(strays) + " records");
}

void CNameMap::CheckBuckets()
{
    m_isInBucket.resize(m_keys.size());
    for (const Property& property : m_map.All()) {
        const std::uint32_t bucket = property.tag.id - std::uint32_t{format::namemap::kFirstBucketId};
        if (property.tag.id < format::namemap::kFirstBucketId || bucket >= format::namemap::kBucketCount)
            continue;
        const auto records = ReadStored(m_run, property.stored, kLongestStream);
        if (records)
            CheckBucket(bucket, records->view);
    }
    for (std::size_t i = 0; i < m_keys.size(); ++i)
        if (!m_isInBucket[i] && m_isSound[i])
            m_map.Node().Note(rules::kNameBucketMissing, "entry " + std::to_string(i),
                              "bucket " + std::to_string(m_keys[i].Bucket()));
}

void CNameMap::Check()
{
    if (!m_map.Open())
        return;
    const auto count = m_map.Number(format::namemap::kBucketCountId);
    if (count != format::namemap::kBucketCount)
        m_map.Node().Note(rules::kNameBucketCount, {}, count ? std::to_string(*count) : std::string());
    const auto guids = Stream(format::namemap::kGuidStreamId, format::kGuidSize, kLongestStream);
    const auto entries = Stream(format::namemap::kEntryStreamId, NameId::kSize, kLongestStream);
    const auto strings = Stream(format::namemap::kStringStreamId, 1, kLongestStrings);
    if (!guids || !entries || !strings)
        return;
    const auto names = format::DecodeNameIds(entries->view);
    if (names.size() > kMostNames)
        m_map.Node().Note(rules::kNameStream, "entries", std::to_string(names.size()));
    for (std::size_t i = 0; i < names.size(); ++i)
        CheckEntry(names[i], i, guids->view.Size() / format::kGuidSize, strings->view);
    CheckBuckets();
    m_map.Node().ReportUnused();
    m_run.nameCount = names.size();
}

}  // namespace

void CheckNameMap(CMessagingRun& run, const CDatabase::Node& node)
{
    const Place place{node.nid};
    CNameMap(run, place, node).Check();
}

}  // namespace pastille::check
