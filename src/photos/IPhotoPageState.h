#pragma once
// What the iPhoto page shows besides the result tree, kept by the engine so that both front ends
// show the same: the chosen library (its picture, name and location fields; the library is the
// location followed by the name), the Scan and Detailed Results buttons, the Detailed Results
// box, and the short status and result lines of the result box. And the page's fixed texts.

#include <string>

namespace tpc::photos {

struct IPhotoPageState {
    // The library whose icon is shown; empty: no picture.
    std::string iconPath;
    // textFieldSelectedLibraryName: the library's last path component, or a "!" message.
    std::string libraryName;
    // textFieldSelectedLibraryLocation: the folder holding it, ending in "/", or a hint.
    std::string libraryLocation;
    // Whether the two fields name a library (not a message).
    bool libraryShown = false;
    bool scanEnabled = false;
    bool detailedResultsEnabled = false;
    // The Detailed Results box.
    bool detailedResultsShown = false;
    // textFieldScanStatusShort and textFieldScanResultShort.
    std::string statusLine;
    std::string resultLine;
};

namespace texts {

inline constexpr const char* DefaultLibraryNotFound = "! Default Library not found.";
inline constexpr const char* LibraryNotFound =
    "! Library not found. It may have been moved or renamed.";
inline constexpr const char* ChangeLibraryHint =
    "Please click the \"Change Library\" button to browse and select the iPhoto Library you want "
    "to scan.";
inline constexpr const char* OpenPanelTitle = "Locate iPhoto Library to scan";
inline constexpr const char* OpenPanelPrompt = "Open";
inline constexpr const char* DetailedResultsTitle = "iPhoto Scan Deatiled Results";

inline constexpr const char* RunningTitle = "! iPhoto is running";
inline constexpr const char* RunningBeforeScan =
    "Please \"Quit\" iPhoto in order to scan the selected iPhoto Library. It is highly "
    "recommended that iPhoto is not running while scanning and cleaning and in-between.";
inline constexpr const char* RunningBeforeClean =
    "Please \"Quit\" iPhoto in order to scan the selected iPhoto Library. It is highly "
    "recommended that iPhoto is not running while scanning and cleaning and in-between. If "
    "iPhoto was opened after the current scan, it is highly recommended to start over again";
inline constexpr const char* CannotProceedTitle = "! Cannot Proceed";
inline constexpr const char* CannotProceed =
    "! Library not found. It may have been moved or renamed. Please click the \"Start Over\" "
    "button to again browse and select the iPhoto Library you want to scan.";

inline constexpr const char* ScanAbortedStatus = "! Scan Aborted";
inline constexpr const char* ScanAbortedResult = "The scan was aborted.";
inline constexpr const char* ScanComplete = "Scan Complete";
inline constexpr const char* ScanAborted = "Scan Aborted";
inline constexpr const char* NothingFound = "Could not find any hidden service copies of photos";
inline constexpr const char* CleanComplete = "Clean Complete";
inline constexpr const char* CleanAborted = "Clean Aborted";
inline constexpr const char* AllRemoved = "All hidden service copies of photos removed";

// "There is <size> occupied by hidden service copies of photos, ..." after a scan, "There is
// still <size> ..." after a clean.
std::string occupiedText(const std::string& size, bool still);

} // namespace texts

} // namespace tpc::photos
