#include "app/StoreFiles.h"

#include <algorithm>

namespace pastille::app {
namespace {

char Upper(char c)
{
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

bool SortsBefore(const std::string& left, const std::string& right)
{
    const auto [l, r] = std::ranges::mismatch(left, right, {}, Upper, Upper);
    if (l == left.end() && r == right.end())
        return left < right;
    if (l == left.end() || r == right.end())
        return l == left.end();
    return static_cast<unsigned char>(Upper(*l)) < static_cast<unsigned char>(Upper(*r));
}

}  // namespace

bool HasExtension(std::string_view name, std::string_view extension)
{
    if (name.size() <= extension.size() || name[name.size() - extension.size() - 1] != '.')
        return false;
    return std::ranges::equal(name.substr(name.size() - extension.size()), extension, {}, Upper, Upper);
}

FolderContents ReadContents(const platform::CFolderCursor& folder)
{
    FolderContents contents;
    folder.List([&](std::string_view name, platform::EntryKind kind) {
        if (kind == platform::EntryKind::Folder) {
            contents.folders.emplace_back(name);
            return;
        }
        auto* matches = HasExtension(name, "pst")   ? &contents.psts
                        : HasExtension(name, "ost") ? &contents.osts
                                                    : nullptr;
        if (matches == nullptr)
            return;
        if (kind == platform::EntryKind::File || !folder.LeadsToFolder(std::string(name)))
            matches->emplace_back(name);
    });
    for (auto* names : {&contents.psts, &contents.osts, &contents.folders})
        std::ranges::sort(*names, SortsBefore);
    return contents;
}

std::vector<std::filesystem::path> FindStores(const std::filesystem::path& folder)
{
    std::vector<std::filesystem::path> files;
    platform::CFolderCursor cursor;
    if (folder.empty() || !cursor.Open(folder))
        return files;
    const FolderContents contents = ReadContents(cursor);
    for (const auto* names : {&contents.psts, &contents.osts}) {
        for (const std::string& name : *names)
            files.push_back(std::filesystem::path(cursor.Path()) / name);
    }
    return files;
}

}  // namespace pastille::app
