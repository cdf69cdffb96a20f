#pragma once

#include "check/Finding.h"

/// Rules of the messaging layer: store, name-to-id map, folders, messages, attachments. [MS-PST] 2.4
namespace pastille::check::rules {

// Mandatory nodes and templates. [MS-PST] 2.7
inline constexpr Rule kNodeMissing{"node-missing", Severity::Error,
                                   "A node that every store has is missing."};
inline constexpr Rule kNodeMissingLately{"node-missing-lately", Severity::Warning,
                                         "A node that stores of today have is missing."};
inline constexpr Rule kNodeParent{"node-parent", Severity::Warning,
                                  "A node has a parent that only folders and messages have."};
inline constexpr Rule kNodeOrphan{"node-orphan", Severity::Warning, "A folder's table has no folder."};
inline constexpr Rule kTableColumn{"table-column", Severity::Error,
                                   "A table lacks a column that its kind of table needs."};
inline constexpr Rule kTableColumnLately{"table-column-lately", Severity::Warning,
                                         "A template lacks a column that stores of today have."};
inline constexpr Rule kTemplateRows{"template-rows", Severity::Error, "A template table has rows."};
inline constexpr Rule kReceiveFolder{
    "receive-folder", Severity::Error,
    "The receive folder table has no row for the empty class, or leads to no folder."};
inline constexpr Rule kSearchList{"search-list", Severity::Warning,
                                  "A list of searched folders or of search folders names something else."};

// Message store. [MS-PST] 2.4.3
inline constexpr Rule kStoreProperty{"store-property", Severity::Error,
                                     "The message store lacks a property that it needs."};
inline constexpr Rule kStoreEntryId{
    "store-entry-id", Severity::Error,
    "An entry id of the message store does not lead to a folder of this store."};
inline constexpr Rule kStorePassword{"store-password", Severity::Warning, "The store asks for a password."};

// Name-to-id map. [MS-PST] 2.4.7
inline constexpr Rule kNameStream{
    "name-stream", Severity::Error,
    "A stream of the name-to-id map is missing or not a whole number of records."};
inline constexpr Rule kNameBucketCount{"name-bucket-count", Severity::Error,
                                       "The name-to-id map has not 251 buckets."};
inline constexpr Rule kNameEntry{
    "name-entry", Severity::Error,
    "An entry of the name-to-id map is out of order, or its GUID or name is not there."};
inline constexpr Rule kNameBucketMissing{"name-bucket-missing", Severity::Error,
                                         "An entry of the name-to-id map is not in its hash bucket."};
inline constexpr Rule kNameBucketStray{"name-bucket-stray", Severity::Error,
                                       "A hash bucket holds a record that does not belong there."};

// Folders. [MS-PST] 2.4.4
inline constexpr Rule kFolderNode{"folder-node", Severity::Error,
                                  "A folder lacks one of its tables or nodes."};
inline constexpr Rule kFolderParent{"folder-parent", Severity::Error, "A folder's parent is not a folder."};
inline constexpr Rule kFolderCycle{"folder-cycle", Severity::Error, "A folder is its own ancestor."};
inline constexpr Rule kFolderProperty{"folder-property", Severity::Error,
                                      "A folder lacks a property that it needs."};
inline constexpr Rule kFolderCount{
    "folder-count", Severity::Error,
    "A folder's count of messages or unread messages is not that of its table."};
inline constexpr Rule kFolderSubfolders{"folder-subfolders", Severity::Error,
                                        "PidTagSubfolders does not say whether the folder has sub-folders."};
inline constexpr Rule kFolderRowMissing{"folder-row-missing", Severity::Error,
                                        "A folder has no row in its parent's hierarchy table."};
inline constexpr Rule kFolderRowStray{"folder-row-stray", Severity::Error,
                                      "A row of a hierarchy table stands for no child of the folder."};
inline constexpr Rule kFolderRowDifferent{"folder-row-different", Severity::Error,
                                          "A row of a hierarchy table differs from its folder."};
inline constexpr Rule kFolderRowStale{
    "folder-row-stale", Severity::Warning,
    "A row of a hierarchy table has other cells than its folder has properties."};
inline constexpr Rule kSearchCount{"search-count", Severity::Warning,
                                   "A search folder's count of messages is not that of its table."};
inline constexpr Rule kSearchRowStray{"search-row-stray", Severity::Warning,
                                      "A row of a search folder stands for no message."};

// Messages. [MS-PST] 2.4.5
inline constexpr Rule kMessageParent{"message-parent", Severity::Error,
                                     "A message's parent is not a folder."};
inline constexpr Rule kMessageRowMissing{"message-row-missing", Severity::Error,
                                         "A message has no row in its folder's table."};
inline constexpr Rule kMessageRowStray{"message-row-stray", Severity::Error,
                                       "A row of a contents table stands for no message of the folder."};
inline constexpr Rule kMessageRowDifferent{"message-row-different", Severity::Error,
                                           "A row of a contents table differs from its message."};
inline constexpr Rule kMessageRowStale{
    "message-row-stale", Severity::Warning,
    "A computed cell or one that clients fill later differs from the message."};
inline constexpr Rule kMessageProperty{"message-property", Severity::Error,
                                       "A message lacks its class, flags, size or a time."};
inline constexpr Rule kMessageSearchKey{"message-search-key", Severity::Warning,
                                        "A message has no search key of 16 bytes."};
inline constexpr Rule kMessageAssociated{"message-associated", Severity::Error,
                                         "The associated flag of a message does not fit its node type."};
inline constexpr Rule kMessageAttachFlag{
    "message-attach-flag", Severity::Error,
    "The attachment flag of a message does not say whether it has attachments."};
inline constexpr Rule kMessageRtf{"message-rtf", Severity::Warning,
                                  "The header of a compressed RTF body does not fit its bytes."};
inline constexpr Rule kValuesShared{"values-shared", Severity::Warning,
                                    "Values are shared so often that not all could be looked at."};
inline constexpr Rule kMessageNesting{"message-nesting", Severity::Warning,
                                      "Embedded messages are nested deeper than is checked."};
inline constexpr Rule kRecipientTable{"recipient-table", Severity::Warning,
                                      "A message has no recipient table."};
inline constexpr Rule kRecipientType{"recipient-type", Severity::Error, "A recipient has no type."};

// Attachments. [MS-PST] 2.4.6
inline constexpr Rule kAttachmentRowMissing{"attachment-row-missing", Severity::Error,
                                            "An attachment has no row in the attachment table."};
inline constexpr Rule kAttachmentRowStray{"attachment-row-stray", Severity::Error,
                                          "A row of an attachment table stands for no attachment."};
inline constexpr Rule kAttachmentRowDifferent{"attachment-row-different", Severity::Error,
                                              "A row of an attachment table differs from its attachment."};
inline constexpr Rule kAttachmentProperty{"attachment-property", Severity::Error,
                                          "An attachment lacks its size, method or rendering position."};
inline constexpr Rule kAttachmentData{"attachment-data", Severity::Error,
                                      "An attachment does not hold what its method says."};
inline constexpr Rule kAttachmentSize{"attachment-size", Severity::Warning,
                                      "PidTagAttachSize is not the sum of the attachment's values."};
inline constexpr Rule kEmbeddedSize{"embedded-size", Severity::Warning,
                                    "The size of an embedded message is not what its attachment says."};

}  // namespace pastille::check::rules
