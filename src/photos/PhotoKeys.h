#pragma once
// The keys of an iPhoto library's files and of the photo records this subsystem reads and writes.

namespace tpc::photos::keys {

// Files inside a library, relative to its folder.
inline constexpr const char* AlbumDataFile = "AlbumData.xml";
inline constexpr const char* InfoFile = "Info.plist";
inline constexpr const char* DatabaseLink = "Database/Library.apdb";
inline constexpr const char* DatabaseFileName = "Library.apdb";

// "Info.plist".
inline constexpr const char* ShortVersion = "CFBundleShortVersionString";

// "AlbumData.xml".
inline constexpr const char* ListOfAlbums = "List of Albums";
inline constexpr const char* MasterImageList = "Master Image List";
inline constexpr const char* AlbumType = "Album Type";
inline constexpr const char* AlbumName = "AlbumName";
inline constexpr const char* PhotoCount = "PhotoCount";
inline constexpr const char* KeyList = "KeyList";
inline constexpr const char* EventAlbum = "Event";

// A photo record of "Master Image List".
inline constexpr const char* ImagePath = "ImagePath";
inline constexpr const char* OriginalPath = "OriginalPath";
inline constexpr const char* Guid = "GUID";
inline constexpr const char* Caption = "Caption";
// Added to a node's copy of the record: the record's key in "Master Image List".
inline constexpr const char* ImageKey = "ImageKey";
// Added to a node's copy once the photo's files were replaced by the clean.
inline constexpr const char* Remove = "Remove";

} // namespace tpc::photos::keys
