#include "recovery/RecoveryRun.h"

namespace pastille::recovery {

std::u16string StorePath(std::u16string_view storeName, std::u16string_view folderPath)
{
    std::u16string path = u"\\\\";
    path += storeName;
    path += folderPath;
    return path;
}

writer::CRef<writer::IStoreFolder> OutputStore::Open(std::u16string_view folderPath) const
{
    const auto folder = session->GetFolderFromPath(StorePath(storeName, folderPath));
    if (!folder)
        throw writer::_com_error(writer::E_NOT_FOUND, writer::IStoreSession::kInterfaceId);
    return folder;
}

writer::CRef<writer::IStoreFolder> OutputStore::Resolve(std::u16string_view folderPath) const
{
    try {
        return session->GetFolderFromPath(StorePath(storeName, folderPath));
    } catch (const writer::_com_error& error) {
        if (error.IsStorageFailure())
            throw;
        return nullptr;
    }
}

void OutputStore::Release()
{
    session.Release();
    profiles.Release();
    store.Release();
    target.Release();
    auxiliary.Release();
}

}  // namespace pastille::recovery
