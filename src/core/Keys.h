#pragma once
// Every dictionary key the engine reads or writes, in one place.

namespace tpc::core::keys {

// Item records of the check-box lists.
inline constexpr const char* DescriptionDictionary = "Description Dictionary";
inline constexpr const char* Description = "Description";
inline constexpr const char* Path = "Path";
inline constexpr const char* Icon = "Icon";
inline constexpr const char* Mark = "Mark";
inline constexpr const char* Size = "Size";
inline constexpr const char* SizeFormattedString = "Size Formatted String";
inline constexpr const char* IsRootItem = "Is Root Item";
inline constexpr const char* SubListArray = "Sub List Array";
inline constexpr const char* Parent = "Parent";
inline constexpr const char* ValueForDefaultSort = "Value For Default Sort";
inline constexpr const char* SortedByItem = "Sorted By Item";
inline constexpr const char* SortedInDirection = "Sorted In Direction";
inline constexpr const char* Count = "Count";

// Sort state values.
inline constexpr const char* DefaultSort = "Default Sort";
inline constexpr const char* SortByName = "Sort by Name";
inline constexpr const char* SortBySize = "Sort by Size";
inline constexpr const char* SortedAscending = "Sorted Ascending";
inline constexpr const char* SortedDescending = "Sorted Descending";

// Settings dictionaries.
inline constexpr const char* PresetName = "presetName";
inline constexpr const char* PresetIndex = "presetIndex";
inline constexpr const char* FileDeletionOption = "File Deletion Option";
inline constexpr const char* PreventNormalSleep = "Prevent Normal Sleep";
inline constexpr const char* PreventForcedSleep = "Prevent Forced Sleep";
inline constexpr const char* PromptForEnablingSystemUIElements =
    "Prompt For Enabling System UI Elements";
inline constexpr const char* EnableSchedule = "enableSchedule";
inline constexpr const char* FirstRunDone = "First Run Done";
inline constexpr const char* ArrayOfPresets = "Array Of Presets";
// A preset's optional schedule entries, one key per weekday, in the order they are visited.
inline constexpr const char* Weekdays[] = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                           "Thursday", "Friday", "Saturday"};

// Settings file names ("presetName" values).
inline constexpr const char* GeneralName = "General";
inline constexpr const char* PresetsName = "Presets";
inline constexpr const char* CookiesName = "Cookies";
inline constexpr const char* RecentsName = "Recents";
inline constexpr const char* FileEraserName = "File Eraser";

// Progress messages, in the order they are applied.
inline constexpr const char* HideUnhideProgressIndicator = "Hide/Unhide Progress Indicator";
inline constexpr const char* ProgressIndicatorType = "Progress Indicator Type";
inline constexpr const char* StartStopProgressIndicatorAnimation =
    "Start/Stop Progress Indicator Animation";
inline constexpr const char* ProgressStatus = "Progress Status";
inline constexpr const char* ProgressIndicatorIncrement = "Progress Indicator Increment";
inline constexpr const char* ProgressIndicatorMinValue = "Progress Indicator Min Value";
inline constexpr const char* ProgressIndicatorMaxValue = "Progress Indicator Max Value";
inline constexpr const char* ProgressIndicatorDoubleValue = "Progress Indicator Double Value";

// Alert requests: the panel dialect and the message dialect.
inline constexpr const char* AlertTitle1 = "title";
inline constexpr const char* AlertBody1 = "body";
inline constexpr const char* AlertDefault1 = "defaultButton";
inline constexpr const char* AlertAlternate1 = "alternateButton";
inline constexpr const char* AlertOther1 = "otherButton";
inline constexpr const char* AlertTitle2 = "Alert Title";
inline constexpr const char* AlertMessage2 = "Alert Message";
inline constexpr const char* AlertDefault2 = "Alert Default Button";
inline constexpr const char* AlertAlternate2 = "Alert Alternate Button";
inline constexpr const char* AlertOther2 = "Alert Other Button";

// Button updates.
inline constexpr const char* Button = "button";
inline constexpr const char* SetEnabled = "setEnabled";
inline constexpr const char* SetHidden = "setHidden";
inline constexpr const char* SetTitle = "setTitle";
inline constexpr const char* SetImage = "setImage";

} // namespace tpc::core::keys
