#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "component/pst/ltp/PropertyBag.h"
#include "component/pst/ndb/NdbWriter.h"

namespace pastille::component::pst {

/// Writes the values that no heap item can hold as data trees, so that the context can be written more than
/// once without holding or copying them.
void StoreLongValues(CNdbWriter& writer, CPropertyBag& bag);
/// Takes a value piece by piece; what no heap item can hold goes into the file as it comes.
class CLongValueWriter {
public:
    /// `writer` must outlive this object.
    explicit CLongValueWriter(CNdbWriter& writer) : m_writer(writer) {}

    /// Raises CStoreError (TooLarge) when that makes more than 2^31 - 1 bytes, which no size property can
    /// state.
    void Append(std::span<const std::byte> bytes);
    std::uint64_t Size() const { return m_tree ? m_tree->Size() : m_start.size(); }  ///< bytes so far
    /// Ends the value. Nothing may be appended afterwards.
    PropertyValue Finish(format::PropertyTag tag);

private:
    CNdbWriter& m_writer;
    std::vector<std::byte> m_start;  ///< all of the value as long as there is no tree
    std::optional<CDataTreeWriter> m_tree;
};

/// Bytes of all values given as trees.
std::uint64_t SizeOfTrees(const CPropertyBag& bag);
/// A size as PidTagMessageSize and PidTagAttachSize state it: signed, 32 bits. A message whose parts are more
/// than that together states the largest.
std::uint32_t SizeValue(std::uint64_t size);

}  // namespace pastille::component::pst
