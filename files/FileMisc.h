#pragma once

#include <windows.h>

#include <fstream>
#include <string>
#include <string_view>
#include <vector>

#include "core/UTtabEntry.h"
#include "framework/List.h"

// A path in 8 bits together with the path itself, made by CFileMisc::PathToBytes. The bytes alone do not
// identify the file: two characters may share a byte.
struct Path8
{
    std::string bytes;  // as in the map file's text, '?' for a character without a byte
    std::wstring path;
    bool representable;  // each character has a byte
};

// The program's file operations, and the records of the parts map file that was read last. CreateFolder,
// CopyPartFile and ReadMapFile report failures in message boxes; the other functions show none.
class CFileMisc
{
public:
    // What ReadMapFile found.
    struct MapFileState
    {
        bool exists;      // a file or folder is at the path
        bool openFailed;  // it exists but cannot be opened for reading

        bool operator==(const MapFileState&) const = default;
    };

    // nLanguage: the language of ReadMapFile's messages (non-zero: German). All other messages use the
    // language of the process.
    explicit CFileMisc(int nLanguage);

    CList<UTtab_entry, UTtab_entry&> m_lstEntries;
    int m_nLanguage;

    // Creates a folder; its parent must exist. Returns 0 when the folder was created or existed already,
    // otherwise 1 after a message.
    static int CreateFolder(const std::wstring& path);

    // Copies the bytes of source, without its times and attributes, into target, which is created or
    // overwritten. Returns 0. On failure shows a message, stores its text in *message (unless null) and
    // returns 1; a partly written target stays.
    static int CopyPartFile(const std::wstring& source, const std::wstring& target,
                            std::wstring* message = nullptr);

    // Appends the names (without folder) of "*.sldprt" and then "*.prt" in the folder, in the file system's
    // order, sub-folders with such names included. On a volume with short names, "*.prt" also finds a file
    // whose short name matches, such as "a.prtx" ("FindFirstFileW function"). All names are kept, so that no
    // part is missing from the list; the user deletes the rows of other files. Shows a message if the folder
    // is there but its names cannot all be read.
    static void ScanPartFiles(const std::wstring& folder, std::vector<std::wstring>& names);

    // Sets or clears a file's read-only attribute. A change also sets the archive attribute and updates the
    // time of last modification. Returns an empty text, or the error.
    [[nodiscard]] static std::wstring SetReadOnly(const std::wstring& path);
    [[nodiscard]] static std::wstring ClearReadOnly(const std::wstring& path);

    // Returns prefix + path. If that is wider than `width` pixels in the device context's font, "..."
    // replaces the start of the path, preferably up to a backslash. If not even one character of the path
    // fits, returns the prefix and "...".
    [[nodiscard]] static std::wstring FitPathToWidth(HDC dc, const std::wstring& prefix,
                                                     const std::wstring& path, int width);

    // Reads the parts map file at the path into m_lstEntries, which is emptied first. A bad line ends reading
    // with a message. A line that is too long (see ReadMapLines) ends reading without a message. The records
    // before that line stay.
    MapFileState ReadMapFile(const std::wstring& path);

    // Returns a path in the 8-bit form that OpenInputFile and OpenOutputFile take: characters up to U+00FF by
    // their codes, others by their bytes in the code page (EncodeMapCharacter).
    [[nodiscard]] static Path8 PathToBytes(const std::wstring& path, UINT codePage);

    // Open the stream in text mode (LF in memory, CR LF in the file) or binary; an output file is created or
    // truncated. Other programs may read and write the file meanwhile. Return 0, or 1 with the stream's
    // failbit set. A path that is not representable or names only a share always fails.
    static int OpenInputFile(std::ifstream& stream, const Path8& path8, bool text);
    static int OpenOutputFile(std::ofstream& stream, const Path8& path8, bool text);

    // The name rules, see core/NameRules.h.
    static bool EnsureExtension(std::wstring& name, std::wstring_view extension);
    static int SanitizeFileName(std::wstring& name);
};
