#pragma once

#include <windows.h>

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

/// One file or folder on disk. A folder of the destination tree owns its children.
class FSObject {
  public:
    FSObject() = default;
    /// Looks at the disk; time and size stay zero.
    explicit FSObject(const std::wstring& path);
    /// Takes everything from an enumeration record.
    FSObject(const std::wstring& path, const WIN32_FIND_DATAW& record);

    /// As the constructor from a path does; the other fields stay.
    void SetPath(const std::wstring& newPath);
    void AddChild(const std::wstring& name, std::unique_ptr<FSObject> child);
    /// Null when there is none. Names are compared without case, as the volumes do.
    FSObject* FindChild(const std::wstring& name) const;
    /// Size and last-write time, to the second.
    bool Differs(const FSObject& other) const;
    void ClearChildren();

    std::wstring path;
    DWORD isDirectory = 0;
    DWORD exists = 0;
    /// UTC.
    SYSTEMTIME lastWriteTime{};
    DWORD sizeLow = 0;
    DWORD sizeHigh = 0;
    /// Keyed by the folded entry name; `children` owns the objects.
    std::unordered_map<std::wstring, FSObject*> childrenByName;
    /// In the order of enumeration.
    std::vector<std::unique_ptr<FSObject>> children;
    /// A source entry of this name has been dealt with.
    bool synced = false;
};

/// Makes the destination folder's content equal to the source's: copies what is missing or differs
/// in size or last-write time to the second, deletes what the source lacks. A link to a folder in
/// the source is followed, so that its target's content is copied; one in the destination is
/// replaced, its target never entered. Walks eight levels, the root being the first; deeper folders
/// are created empty and keep what they hold.
///
/// 0 when the walk ended or the source does not exist; -1 when a step failed, and what was done by
/// then stays. `showErrorDialog` goes to the copies and to the removals that stand in their way
/// (RetryingOperations.h), never to the removal of what the source lacks.
int SyncDirs(const std::wstring& source, const std::wstring& destination, bool showErrorDialog);

/// Reads a folder into `object`, which is at level `depth`. 0, or -1 when a folder cannot be read.
int RecursiveSearch(const std::wstring& folder, int depth, FSObject& object);

/// Walks a source folder of level `depth` against `destination`.
int RecursiveSync(const std::wstring& sourceFolder, int depth, FSObject& destination,
                  bool showErrorDialog);

/// One entry of a folder of level `depth`.
int SyncObject(const FSObject& source, FSObject& destination, int depth, bool showErrorDialog);
