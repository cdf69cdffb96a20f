#pragma once

#include <string_view>

namespace pastille::recovery {

// Names that recovery gives to what it makes, and the messages that it shows.

inline constexpr std::u16string_view kLostAndFound = u"Lost & Found";
inline constexpr std::u16string_view kOrphanedMails = u"Orphaned Mails";
/// Class of a mail, and of an item whose own class is lost.
inline constexpr std::u16string_view kMailClass = u"IPM.Note";
inline constexpr std::u16string_view kPlaceholderSubject = u"UnKnown";
/// Of the placeholder mail; a domain that never exists.
inline constexpr std::u16string_view kPlaceholderAddress = u"unknown@recovered.invalid";
inline constexpr std::string_view kStoreNameSuffix = " Recovered";
inline constexpr std::string_view kProfileBaseName = "Pastille";
inline constexpr std::string_view kLogFileName = "LogInformation.log";

namespace text {
/// In the log, right behind its first line.
inline constexpr std::u16string_view kCompleteRecovery = u"\r\nComplete recovery";
inline constexpr std::u16string_view kError = u"Error";
inline constexpr std::u16string_view kInformation = u"Information";
inline constexpr std::u16string_view kComponentNotRegistered =
    u"Some component is missing.Please reinstall the application.";
inline constexpr std::u16string_view kComponentFailed =
    u"Some component is missing.Please reinstall the application. ";
inline constexpr std::u16string_view kRegistering =
    u"Application is registering dll files.Please relaunch the application to recover your .pst file. ";
inline constexpr std::u16string_view kFolderNotCreated =
    u"Unable to create folder to save recovered .pst file.\n"
    u"Please select another location to save recovered .pst file.";
// A run that ended early: what happened, and then, with the output path, what there is.
inline constexpr std::u16string_view kNoRoom = u"There is no room left for the new .pst file.";
inline constexpr std::u16string_view kWriteFailed = u"The new .pst file could not be written any further.";
inline constexpr std::u16string_view kNotCompleted = u"The new .pst file could not be completed.";
inline constexpr std::u16string_view kEndedEarly = u" The recovery ended early.\n";
inline constexpr std::u16string_view kKept = u"What was saved until then is kept at:";
inline constexpr std::u16string_view kNothingKept = u"Nothing could be saved at:";
}  // namespace text

}  // namespace pastille::recovery
