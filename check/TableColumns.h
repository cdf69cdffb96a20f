#pragma once

#include "check/TableCheck.h"

namespace pastille::check {

/// Kinds of tables, each with a template. [MS-PST] 2.4.4 to 2.4.6, 2.7.3
enum class TableKind {
    Hierarchy,
    Contents,
    AssociatedContents,
    SearchContents,
    ReceiveFolder,
    OutgoingQueue,
    Attachments,
    Recipients,
    Changes,           ///< node 0x6B6, not in the public document
    Replication,       ///< node 0x6D7
    ReplicationTimes,  ///< node 0x6F8
};

/// What columns a table is asked for.
enum class ColumnDemand {
    Least,     ///< what no table of the kind does without: many were made from older templates
    Template,  ///< what programs ask of the template itself
};

/// Notes the first column that is missing, by weight.
void CheckColumns(CTable& table, TableKind kind, ColumnDemand demand);

}  // namespace pastille::check
