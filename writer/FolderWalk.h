#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "writer/Component.h"

namespace pastille::writer {

/// Walks the folders of a store from its top, parents before their children, in store order. Whatever the
/// store claims, the walk ends: it goes no deeper than 1,000 levels, into no path longer than 32,767
/// characters, and gives no more than 500,000 folders.
class CFolderWalk {
public:
    struct Place {
        CRef<IStoreFolder> folder;
        std::u16string path;  ///< "" is the top, else "\" before each name
        std::size_t level;    ///< 0 is the top; a folder is below the last one before it of a lower level
        std::optional<std::int32_t>
            folders;  ///< directly below; none when they were not wanted or cannot be read
    };

    /// `tell` is called with a sentence (UTF-8) for each thing that cannot be read, and for a limit that ends
    /// the walk.
    CFolderWalk(CRef<IStoreFolder> top, std::function<void(const std::string&)> tell);

    /// The next folder; nothing at the end. `enters`: whether the folders below one of that path are wanted.
    std::optional<Place> Next(const std::function<bool(const std::u16string&)>& enters);

private:
    struct Level {
        CRef<IFolderList> folders;
        std::int32_t count;
        std::int32_t next;
        std::u16string path;
    };
    void Enter(Place& place);
    std::optional<Place> NextChild();

    std::function<void(const std::string&)> m_tell;
    std::optional<CRef<IStoreFolder>> m_top;  ///< until it was given
    std::vector<Level> m_levels;
    std::size_t m_given = 0;
    bool m_toldTooDeep = false;
};

/// A folder's path as it is shown: "\" for the top.
std::string PathText(const std::u16string& path);

}  // namespace pastille::writer
