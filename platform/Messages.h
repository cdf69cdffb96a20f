#pragma once

#include <cstdint>
#include <string>
#include <variant>

namespace pastille::platform {

// The messages that one repair run sends to whatever shows it. Each carries the number under which windows
// know it; boxes have none.

/// A phase begins.
struct PhaseMessage {
    static constexpr unsigned number = 32800;
    unsigned phase;        ///< 1 to 8
    bool closing = false;  ///< the closing step after the last phase
};

/// How far the current phase is. Sent when the number changes.
struct PercentMessage {
    static constexpr unsigned number = 32802;
    unsigned percent;  ///< may exceed 100; receivers ignore such values
    unsigned step;     ///< 1 validation, 3 node scan, 2 block scan, 4 folder collection, 0 items
};

/// The run has ended; whatever shows its progress may close.
struct RunEndedMessage {
    static constexpr unsigned number = 32803;
};

/// An error box follows: whatever shows the progress must get out of its way.
struct CloseProgressMessage {
    static constexpr unsigned number = 32785;
};

/// A folder of the new store exists or received an item.
struct FolderMessage {
    static constexpr unsigned number = 32816;
    static constexpr std::uint32_t kLostAndFound = 4369;
    static constexpr std::uint32_t kOrphanedMails = 4386;
    std::uint32_t folderId;         ///< node id in the source, or one of the two constants
    std::u16string folderPath;      ///< below the root of the new store, "" for the root itself
    std::u16string containerClass;  ///< as the run recorded it; may be empty
};

/// One cell of the live item list.
struct ListCellMessage {
    static constexpr unsigned number = 32832;
    unsigned cell;  ///< 1 From (starts a row), 2 To, 3 Subject, 4 Date
    std::u16string text;
};

/// Empties the item list.
struct ClearListMessage {
    static constexpr unsigned number = 32833;
};

/// The row begun last is a mail that has lost its folder: it went to "Lost & Found" or "Orphaned Mails".
struct OrphanRowMessage {
    static constexpr unsigned number = 32835;
};

/// A box with one button. `Send` returns when the user has closed it.
struct BoxMessage {
    enum class Icon { Error, Information };
    std::u16string text;
    std::u16string caption;
    Icon icon;
};

/// The run ended well: show its counts.
struct CompletionMessage {};

using Message =
    std::variant<PhaseMessage, PercentMessage, RunEndedMessage, CloseProgressMessage, FolderMessage,
                 ListCellMessage, ClearListMessage, OrphanRowMessage, BoxMessage, CompletionMessage>;

/// What shows a run: windows, a progress line, a recorder in a test.
class IFrontEnd {
public:
    virtual ~IFrontEnd() = default;
    /// Returns when the receiver has handled the message. Called on the run's thread; must not throw.
    virtual void Send(const Message& message) = 0;
};

}  // namespace pastille::platform
