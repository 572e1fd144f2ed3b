#pragma once

#include <windows.h>

#include <cstdint>
#include <fstream>
#include <string>

#include "core/UTtabEntry.h"
#include "framework/File.h"

// Writes the parts map file of one run. Reports failures by return values and shows no messages.
class CMapFileWriter
{
public:
    CMapFileWriter() = default;
    CMapFileWriter(const CMapFileWriter&) = delete;
    CMapFileWriter& operator=(const CMapFileWriter&) = delete;

    // Tries once more to remove a partial record; failures are not reported.
    ~CMapFileWriter();

    // Creates the file or truncates the existing one. Returns false when it cannot be opened for writing, for
    // example because the path has a character that the code page cannot represent.
    [[nodiscard]] bool Open(const std::wstring& path);

    // Append the four lines at the top of the file, or one record. The text is flushed to the system at once,
    // so it survives a crash of the program. Return false on failure.
    //
    // A failed call removes its partial record. If that fails, each later call tries again and appends
    // nothing until the removal succeeds: otherwise two records would be read as one.
    [[nodiscard]] bool AppendHeader();
    [[nodiscard]] bool Append(const UTtab_entry& record);

    // Flushes the file to disk, as far as its file system and the sharing modes of other programs allow, and
    // closes it. Returns false when the flush or the closing failed: appended records may then be missing
    // from the disk. Does nothing, and returns true, when no file is open.
    [[nodiscard]] bool Close();

private:
    bool AppendText(const std::string& text);
    bool RemovePartialRecord();
    void RemovePartialRecordBeforeClosing();

    std::wstring m_path;  // empty when no file is open
    UINT m_codePage = CP_ACP;
    std::ofstream m_stream;
    CFile m_flushHandle;                // of the same file: a stream cannot be flushed to disk
    std::uintmax_t m_completeSize = 0;  // up to the end of the last whole record, in bytes
    bool m_hasPartialRecord = false;
};
