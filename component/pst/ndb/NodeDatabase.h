#pragma once

#include <cstdint>
#include <functional>
#include <optional>

#include "format/Heap.h"
#include "format/Ids.h"
#include "format/Layout.h"

namespace pastille::component::pst {

/// A node of the store, or a node below another one (then `parent` is 0). Bid 0: it has none.
struct NodeRecord {
    format::Nid nid;
    format::Bid data;    ///< root of its data tree
    format::Bid sub;     ///< root of its subnode tree
    format::Nid parent;  ///< nidParent
};

/// What is read from a store, finished or still being written. Everything raises CFormatError when it meets a
/// structure that breaks the format. Not for use by two threads at once. [MS-PST] 2.2
class INodeDatabase {
public:
    virtual ~INodeDatabase() = default;

    virtual const format::VariantLayout& Layout() const = 0;
    /// The node of that id among the store's nodes; subnodes are not among them.
    virtual std::optional<NodeRecord> FindNode(format::Nid nid) = 0;
    /// Visits all nodes by rising NID until `visit` returns false. `visit` must not change the store.
    virtual void VisitNodes(const std::function<bool(const NodeRecord&)>& visit) = 0;
    /// The decoded bytes of a block. Never null and never empty.
    virtual format::SharedBytes ReadBlock(format::Bid bid) = 0;
};

/// The subnode of that id below a node. `sub` is the node's subnode tree (0: nothing is found).
std::optional<NodeRecord> FindSubnode(INodeDatabase& database, format::Bid sub, format::Nid nid);
/// Visits the subnodes directly below a node by rising NID until `visit` returns false.
void VisitSubnodes(INodeDatabase& database, format::Bid sub,
                   const std::function<bool(const NodeRecord&)>& visit);

}  // namespace pastille::component::pst
