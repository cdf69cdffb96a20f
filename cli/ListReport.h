#pragma once

#include <cstdint>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace pastille::cli {

/// One folder of a store as it is listed. Texts are UTF-8. What could not be read is not there.
struct ListedFolder {
    std::string path;  ///< "\" and each name behind a "\"; "\" alone is the top
    std::string name;
    std::string containerClass;
    std::optional<std::int32_t> items;
    std::optional<std::int32_t> unread;
    std::optional<std::int32_t> folders;  ///< directly below
};

/// One item of a folder as it is listed.
struct ListedItem {
    std::int32_t number = 0;  ///< in the folder, from 1
    std::string fault;        ///< why it cannot be read; all else is empty then
    std::string messageClass;
    std::optional<double> delivered, submitted;  ///< OLE automation dates, UTC
    std::string from, sender, to, subject;
    bool unread = false;
    std::optional<std::int32_t> attachments;
    std::int32_t size = 0;  ///< bytes, as the item states it
};

/// Where a listing goes, piece by piece: nothing of it is kept. First Begin, then folders or items, then End.
class IListReport {
public:
    struct Store {
        std::string path{};                   ///< of the file, if one was given
        std::optional<std::string> name{};    ///< unless it could not be opened
        std::optional<std::string> folder{};  ///< whose items are listed; none: the folders are
    };
    virtual ~IListReport() = default;
    virtual void Begin(const Store& store) = 0;
    virtual void Add(const ListedFolder& folder) = 0;
    virtual void Add(const ListedItem& item) = 0;
    /// `messages`: what could not be read.
    virtual void End(const char* status, const std::vector<std::string>& messages) = 0;
};

/// For people: a line for each folder or item. Control characters do not come through.
std::unique_ptr<IListReport> MakeListText(std::ostream& out);
/// One JSON object in UTF-8.
std::unique_ptr<IListReport> MakeListJson(std::ostream& out);
/// The JSON of a listing that never began.
void WriteListFailure(std::ostream& out, const std::string& message);

}  // namespace pastille::cli
