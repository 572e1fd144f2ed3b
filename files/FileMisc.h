#pragma once

#include <windows.h>

#include <fstream>
#include <string>
#include <string_view>
#include <vector>

#include "core/UTtabEntry.h"
#include "framework/List.h"

// A path in 8 bits, made by CFileMisc::PathToBytes. It keeps the path itself, too: two characters may share a
// byte, so the bytes do not identify the file.
struct Path8
{
    std::string bytes;  // as the text of the map file has them, '?' for a character without a byte
    std::wstring path;
    bool representable;  // each character has a byte
};

// The file work of the program, and the records of the parts map file that was read last. Failures are
// reported in message boxes here; the caller gets a plain result.
class CFileMisc
{
public:
    // What ReadMapFile met.
    struct MapFileState
    {
        bool exists;      // something is at the path
        bool openFailed;  // it is there but cannot be opened for reading

        bool operator==(const MapFileState&) const = default;
    };

    // nLanguage: the language of ReadMapFile's messages (non-zero: German). All other messages come in the
    // language of the process.
    explicit CFileMisc(int nLanguage);

    CList<UTtab_entry, UTtab_entry&> m_lstEntries;
    int m_nLanguage;

    // Makes a folder whose parent exists. Returns 0 when it was made or is there already, otherwise 1 after a
    // message.
    static int CreateFolder(const std::wstring& path);

    // Copies the bytes of source into target, which is made anew or overwritten; times and attributes are not
    // carried over. Returns 0, or 1 after a message; a partly written target stays.
    static int CopyPartFile(const std::wstring& source, const std::wstring& target);

    // Appends the names (without folder) of "*.sldprt" and then of "*.prt" in the folder, as the file system
    // orders them; sub-folders with such names are listed too.
    static void ScanPartFiles(const std::wstring& folder, std::vector<std::wstring>& names);

    // Sets (clears) the read-only attribute of a file, with the archive attribute and the current time as
    // that of its last modification, unless it is set (clear) already. Returns an empty text, or what went
    // wrong.
    [[nodiscard]] static std::wstring SetReadOnly(const std::wstring& path);
    [[nodiscard]] static std::wstring ClearReadOnly(const std::wstring& path);

    // The prefix and the path, shortened at the path's beginning with "..." to at most width pixels in the
    // device context's font; preferably at a backslash. When not even one character of the path fits: the
    // prefix and "...".
    [[nodiscard]] static std::wstring FitPathToWidth(HDC dc, const std::wstring& prefix,
                                                     const std::wstring& path, int width);

    // Reads the parts map file at the path into m_lstEntries, which is emptied first. A bad line is reported
    // and ends the reading; the records before it stay.
    MapFileState ReadMapFile(const std::wstring& path);

    // Returns a path in the 8-bit form that OpenInputFile and OpenOutputFile take: a character up to U+00FF
    // by its code, another one by its byte in the code page (MapByteFor).
    [[nodiscard]] static Path8 PathToBytes(const std::wstring& path, UINT codePage);

    // Opens the stream on an 8-bit path, in text mode (LF in memory, CR LF in the file) or binary; an output
    // file is made or emptied. Others may read and write the file meanwhile. Returns 0, or 1 with the stream
    // in its failed state, as always for a path that is not representable.
    static int OpenInputFile(std::ifstream& stream, const Path8& path8, bool text);
    static int OpenOutputFile(std::ofstream& stream, const Path8& path8, bool text);

    // The name rules, see core/NameRules.h.
    static bool EnsureExtension(std::wstring& name, std::wstring_view extension);
    static int SanitizeFileName(std::wstring& name);
};
