#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <future>
#include <thread>
#include <utility>
#include <vector>

#include "format/Bytes.h"
#include "store/SourceFile.h"

namespace pastille::store {

/// A stretch of the source in memory, with what stands around it.
struct ScanWindow {
    /// Bytes before the stretch that can be seen: more than the largest block with its padding and trailer.
    static constexpr std::size_t kHistory = 0x12000;
    static constexpr std::size_t kLength = std::size_t{2} << 20;
    /// Bytes behind the stretch that can be seen.
    static constexpr std::size_t kLookAhead = 4096;

    std::uint64_t start = 0;      ///< file offset of the stretch
    std::size_t transferred = 0;  ///< bytes of the stretch that the file has
    std::uint64_t viewStart = 0;  ///< file offset of `view`, kHistory before the stretch or 0
    format::CByteView view;       ///< up to kLookAhead behind the stretch; zero where the file has ended

    /// The `length` bytes at a file offset; nothing when not all of them are in the view.
    format::CByteView At(std::uint64_t offset, std::size_t length) const
    {
        return view.Sub(offset - viewStart, length).value_or(format::CByteView());
    }
    /// Asks `proceed` with the offset behind each chunk of the stretch, until it answers false.
    bool ProceedThrough(std::size_t chunkBytes, const std::function<bool(std::uint64_t)>& proceed) const
    {
        for (std::uint64_t offset = start; offset < start + transferred; offset += chunkBytes) {
            if (!proceed(offset + chunkBytes))
                return false;
        }
        return true;
    }
};

namespace detail {

/// A window that is being examined. The result is waited for before the bytes go.
template <class Result>
struct PendingWindow {
    std::vector<std::byte> bytes;
    ScanWindow window;
    std::future<Result> result;
};

inline void ReadWindow(CSourceFile& source, std::uint64_t start, std::vector<std::byte>& bytes,
                       ScanWindow& window)
{
    window.start = start;
    window.viewStart = start - std::min<std::uint64_t>(start, ScanWindow::kHistory);
    const auto history = static_cast<std::size_t>(start - window.viewStart);
    // Of a small file no more than there is, but whole pages and chunks.
    constexpr std::uint64_t kUnit = 0x10000;
    const std::uint64_t left = source.Size() > start ? source.Size() - start : 0;
    const auto length = static_cast<std::size_t>(
        std::min<std::uint64_t>(ScanWindow::kLength, (left + kUnit - 1) / kUnit * kUnit));
    bytes.resize(history + length + ScanWindow::kLookAhead);
    const std::size_t got = source.Read(window.viewStart, bytes);
    window.transferred = got > history ? std::min(got - history, length) : 0;
    window.view = format::CByteView(bytes);
}

}  // namespace detail

/// Reads the source front to back from `start` on, once, and has each window examined, several at a time on
/// threads of their own; the results are taken one by one in the order of the file. Examining must not touch
/// the source. `take(result, window)` answers false to end the scan; its window's bytes may be gone by then.
/// Returns false when it was ended so. Raises what examining and taking raise.
template <class Examine, class Take>
bool ScanWindows(CSourceFile& source, std::uint64_t start, const Examine& examine, const Take& take)
{
    using Result = decltype(examine(std::declval<const ScanWindow&>()));
    const std::size_t atOnce = std::clamp(std::thread::hardware_concurrency(), 1u, 8u);
    // Without the choice a host that can start no more threads would end the scan.
    const auto policy = atOnce == 1 ? std::launch::deferred : std::launch::async | std::launch::deferred;
    std::deque<detail::PendingWindow<Result>> pending;
    std::vector<std::vector<std::byte>> spare;
    for (bool ended = false;;) {
        while (!ended && pending.size() < atOnce) {
            auto& next = pending.emplace_back();
            if (!spare.empty()) {
                next.bytes = std::move(spare.back());
                spare.pop_back();
            }
            detail::ReadWindow(source, start, next.bytes, next.window);
            ended = next.window.transferred == 0;
            if (ended) {
                pending.pop_back();
                break;
            }
            next.result = std::async(policy, [&examine, &window = next.window] { return examine(window); });
            start += ScanWindow::kLength;
        }
        if (pending.empty())
            return true;
        Result result = pending.front().result.get();
        const ScanWindow window = pending.front().window;
        spare.push_back(std::move(pending.front().bytes));
        pending.pop_front();
        if (!take(std::move(result), window))
            return false;
    }
}

}  // namespace pastille::store
