#pragma once

#include <QString>

#include <string_view>

namespace pastille::app {

/// The texts of the windows that several of them or their tests share, with their numbers in the string table,
/// in English. "&" comes before the letter that picks a command. Texts of one window only stand in its own file.
namespace strings {
inline constexpr std::u16string_view kProduct = u"Pastille";                              // 128, 152
inline constexpr std::u16string_view kFind = u"Fin&d";                                    // 133
inline constexpr std::u16string_view kStop = u"S&top";                                    // 139
inline constexpr std::u16string_view kSmartScan = u"Smart Scan";                          // 146
inline constexpr std::u16string_view kSelectedScan = u"Selected Scan      : ";            // 150
inline constexpr std::u16string_view kDestinationPath = u"Destination Path : ";           // 151
inline constexpr std::u16string_view kOpeningSource = u"Opening source file";             // 153
inline constexpr std::u16string_view kCreatingProfile = u"Creating new profile ";         // 154
inline constexpr std::u16string_view kError = u"Error";                                   // 156
inline constexpr std::u16string_view kValidating = u"Validating pst file";                // 157
inline constexpr std::u16string_view kCollectingNodes = u"Collecting NBT entries";        // 159
inline constexpr std::u16string_view kCollectingBlocks = u"Collecting BBT entries";       // 160
inline constexpr std::u16string_view kCollectingFolders = u"Collecting folders name";     // 161
inline constexpr std::u16string_view kCreatingFolders = u"Creating folders";              // 162
inline constexpr std::u16string_view kRecoveringItems = u"Recovering Mail Items";         // 163
inline constexpr std::u16string_view kClosingFile = u"Closing file";                      // 164
inline constexpr std::u16string_view kElapsedTime = u"Elapsed Time : ";                   // 169
inline constexpr std::u16string_view kAskStop = u"Do you want to stop the process?";      // 170
inline constexpr std::u16string_view kConfirmation = u"Confirmation";                     // 171
inline constexpr std::u16string_view kAskExit = u"Do you want to exit the application?";  // 172
inline constexpr std::u16string_view kNoSpace =
    u"Not enough free disk space available to save repaired .pst file.\n"
    u"Please start the process again by selecting another destination path.";  // 173
inline constexpr std::u16string_view kInformation = u"Information";            // 174
inline constexpr std::u16string_view kRemovableDrive =
    u"This is removable drive.Please select any non removable drive.";  // 180
inline constexpr std::u16string_view kOutlookIsRunning =
    u"Pastille can not continue because Microsoft office outlook is running.\n"
    u"Please close the Microsoft office outlook.";  // 181
inline constexpr std::u16string_view kAlreadyRunning =
    u"Pastille is already running.\nPlease close the running instance to launch the application.";  // 191
inline constexpr std::u16string_view kLaunchFailed = u"Failed to launch Pastille.";                 // 192
inline constexpr std::u16string_view kNormalScan = u"Normal Scan";                                  // 193
inline constexpr std::u16string_view kImoNotSupported =
    u"Currently selected outlook mode (IMO) is not supported.Please change it to C/W mode.";  // 194
inline constexpr std::u16string_view kCompleteRecovery = u"Complete recovery";
inline constexpr std::u16string_view kWarning = u"Warning";                                   // 195
inline constexpr std::u16string_view kOutlookNotInstalled =
    u"Microsoft Office Outlook currently not installed or is not working,\n"
    u"please reinstall Microsoft Office Outlook and relaunch the application.";  // 200
inline constexpr std::u16string_view kFileName = u"File name";                   // 210
}  // namespace strings

inline QString Text(std::u16string_view text)
{
    return QString(reinterpret_cast<const QChar*>(text.data()), static_cast<qsizetype>(text.size()));
}

}  // namespace pastille::app
