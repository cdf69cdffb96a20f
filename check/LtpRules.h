#pragma once

#include "check/Finding.h"

/// Rules of the structures in a node's data: heaps, BTHs, property contexts, tables. [MS-PST] 2.3
namespace pastille::check::rules {

// Heap-on-node. [MS-PST] 2.3.1
inline constexpr Rule kHeapBlock{"heap-block", Severity::Error,
                                 "A block of a heap has no readable header or page map."};
inline constexpr Rule kHeapPageMap{"heap-page-map", Severity::Error,
                                   "A heap's page map does not follow its allocations, or they do not rise."};
inline constexpr Rule kHeapFreeCount{"heap-free-count", Severity::Error,
                                     "cFree is not the number of empty allocations."};
inline constexpr Rule kHeapItemSize{"heap-item-size", Severity::Error,
                                    "An allocation of a heap is longer than 3580 bytes."};
inline constexpr Rule kHeapItemCount{"heap-item-count", Severity::Error,
                                     "A heap's block has more allocations than a HID can name."};
inline constexpr Rule kHeapClient{"heap-client", Severity::Error,
                                  "A heap holds another structure than its node should have."};
inline constexpr Rule kHeapItemShared{"heap-item-shared", Severity::Error,
                                      "Two references lead to the same allocation of a heap."};
inline constexpr Rule kHeapItemUnused{"heap-item-unused", Severity::Warning,
                                      "Nothing refers to an allocation of a heap."};
inline constexpr Rule kHeapEnd{"heap-end", Severity::Warning,
                               "The last block of a heap does not end with its page map."};
inline constexpr Rule kHeapFillLevel{"heap-fill-level", Severity::Warning,
                                     "A fill level does not fit the free bytes of its block."};

// BTH. [MS-PST] 2.3.2
inline constexpr Rule kBthHeader{"bth-header", Severity::Error, "A BTH has no sound header."};
inline constexpr Rule kBthArray{"bth-array", Severity::Error,
                                "An array of a BTH is missing, empty or not a whole number of records."};
inline constexpr Rule kBthOrder{"bth-order", Severity::Error, "The keys of a BTH do not rise."};
inline constexpr Rule kBthSeparator{"bth-separator", Severity::Error,
                                    "A key above a BTH's array is not the first key of the array."};
inline constexpr Rule kBthRepeated{"bth-repeated", Severity::Error,
                                   "A BTH leads to the same array more than once."};

// Values, in property contexts and table cells. [MS-PST] 2.3.3
inline constexpr Rule kPropertyRecord{
    "property-record", Severity::Error,
    "The BTH of a property context has other key or record sizes than 2 and 6."};
inline constexpr Rule kPropertyType{"property-type", Severity::Error, "A property has no known type."};
inline constexpr Rule kPropertyInline{
    "property-inline", Severity::Warning,
    "A short value has stray bytes behind it, or a Boolean is neither 0 nor 1."};
inline constexpr Rule kPropertyName{"property-name", Severity::Warning,
                                    "A named property has no entry in the name-to-id map."};
inline constexpr Rule kValueMissing{"value-missing", Severity::Error,
                                    "The HNID of a value leads to no allocation and no subnode."};
inline constexpr Rule kValueSize{"value-size", Severity::Error, "A value has not the size of its type."};
inline constexpr Rule kValueEmpty{"value-empty", Severity::Warning,
                                  "An empty value has an allocation or subnode instead of HNID 0."};
inline constexpr Rule kValueString{"value-string", Severity::Error,
                                   "A Unicode string has an odd number of bytes."};
inline constexpr Rule kValueTerminator{"value-terminator", Severity::Warning,
                                       "A string is stored with a terminating zero."};
inline constexpr Rule kValueMultiple{"value-multiple", Severity::Error,
                                     "The elements of a multi-valued property do not fill its value."};
inline constexpr Rule kValueObject{"value-object", Severity::Error,
                                   "An object property names a subnode that is not there."};

// Tables. [MS-PST] 2.3.4
inline constexpr Rule kTableInfo{"table-info", Severity::Error,
                                 "TCINFO or a column description breaks the rules of a row's layout."};
inline constexpr Rule kTableReserved{"table-reserved", Severity::Warning,
                                     "A field of a table that carries nothing is not zero."};
inline constexpr Rule kTableMatrix{"table-matrix", Severity::Error,
                                   "A row matrix is missing or does not hold a whole number of rows."};
inline constexpr Rule kTableIndex{"table-index", Severity::Error,
                                  "A row index does not lead to every row of its table exactly once."};
inline constexpr Rule kTableRowId{"table-row-id", Severity::Error,
                                  "A row carries another id than its row index says."};
inline constexpr Rule kTableExistence{
    "table-existence", Severity::Error,
    "A row lacks its id or version, or existence bits stand for no column."};
inline constexpr Rule kTableRowVersion{"table-row-version", Severity::Warning,
                                       "A row version is not unique or not below dwUnique."};

// Subnodes.
inline constexpr Rule kSubnodeUnused{"subnode-unused", Severity::Warning, "Nothing refers to a subnode."};
inline constexpr Rule kTreeShared{"tree-shared", Severity::Warning,
                                  "Two nodes share the tree of their data or subnodes."};

}  // namespace pastille::check::rules
