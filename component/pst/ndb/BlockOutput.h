#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <exception>
#include <memory>
#include <mutex>
#include <span>
#include <thread>
#include <vector>

#include "format/Crypt.h"
#include "platform/FileSystem.h"

namespace pastille::component::pst {

/// Takes blocks and pages at rising offsets, gathers them into pieces of about a megabyte, and encodes, seals
/// and writes whole pieces on a thread of its own. Gaps become zeros. At most four pieces are under way; then
/// the caller waits.
///
/// A failure of the thread comes out of the next call that adds, and of every later one; nothing is written
/// after it. To be called by one thread; the file must not be used by others before Flush returns.
class CBlockOutput {
public:
    /// `file` must outlive this object.
    CBlockOutput(platform::IFile& file, format::CryptMethod method);
    ~CBlockOutput() { Stop(); }
    CBlockOutput(const CBlockOutput&) = delete;
    CBlockOutput& operator=(const CBlockOutput&) = delete;

    // REQUIRES of both: offset is not below the end of what was added before.
    /// A block: gets its trailer, and is encoded when it is a data block.
    void AddBlock(std::uint64_t offset, std::uint64_t bid, bool isInternal, std::span<const std::byte> bytes);
    /// Bytes that are complete, as those of a page.
    void AddBytes(std::uint64_t offset, std::span<const std::byte> bytes);

    /// Complete bytes at once, at a place where nothing of use stands.
    void Overwrite(std::uint64_t offset, std::span<const std::byte> bytes);
    /// The plain bytes of a block added before, wherever it is by now. False when the file does not give
    /// them.
    bool ReadBlock(std::uint64_t offset, std::uint64_t bid, bool isInternal, std::span<std::byte> into);
    /// Returns when everything added is in the file.
    void Flush();
    /// Waits for what is being written and drops what waits. Nothing may be added afterwards.
    void Stop();

private:
    /// A block of a piece.
    struct Item {
        std::uint64_t bid;
        std::uint32_t start;  ///< in the piece
        std::uint16_t size;   ///< data bytes
        bool isInternal;
    };
    struct Piece {
        std::uint64_t start = 0;  ///< file offset
        std::vector<std::byte> bytes;
        std::vector<Item> items;
        bool Holds(std::uint64_t offset) const { return offset >= start && offset - start < bytes.size(); }
    };

    std::span<std::byte> Reserve(std::uint64_t offset, std::size_t size);
    void HandOver();
    void Run();
    void Write(const Piece& piece);
    void RaiseFailure();

    platform::IFile& m_file;
    format::CryptMethod m_method;
    std::shared_ptr<Piece> m_open;    ///< being filled, by the caller alone
    std::vector<std::byte> m_sealed;  ///< of the piece being written

    std::mutex m_fileMutex;  ///< one access to the file at a time
    std::mutex m_mutex;      ///< of what follows
    std::condition_variable m_changed;
    std::deque<std::shared_ptr<const Piece>> m_waiting;  ///< the first one is being written
    std::exception_ptr m_failure;
    bool m_isEnding = false;
    std::thread m_thread;  ///< from the first piece on
};

}  // namespace pastille::component::pst
