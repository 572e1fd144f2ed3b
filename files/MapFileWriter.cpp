#include "files/MapFileWriter.h"

#include <exception>

#include "files/FileMisc.h"
#include "files/MapCodePage.h"
#include "files/MapLine.h"

CMapFileWriter::~CMapFileWriter()
{
    try {
        RemovePartialRecordBeforeClosing();
    } catch (const std::exception&) {
        // A destructor must not throw. Out of memory: the partial record stays.
    }
}

bool CMapFileWriter::Open(const std::wstring& path)
{
    m_codePage = MapCodePage();
    m_completeSize = 0;
    if (CFileMisc::OpenOutputFile(m_stream, CFileMisc::PathToBytes(path, m_codePage), true) != 0) {
        return false;
    }
    m_path = path;
    // A second handle for the flush in Close, opened now: the file may have been renamed or deleted by then.
    // If another program's sharing mode denies the handle, Close does not flush to disk.
    static_cast<void>(m_flushHandle.Open(path, CFile::modeWrite | CFile::shareDenyNone, nullptr));
    return true;
}

bool CMapFileWriter::AppendHeader()
{
    return AppendText(FormatMapHeader(CFileMisc::PathToBytes(m_path, m_codePage).bytes));
}

bool CMapFileWriter::Append(const UTtab_entry& record)
{
    return AppendText(FormatMapRecord(record, MapEncoderOf(m_codePage)) + '\n');
}

bool CMapFileWriter::AppendText(const std::string& text)
{
    if (m_hasPartialRecord && !RemovePartialRecord()) {
        return false;
    }
    m_stream << text << std::flush;
    if (m_stream.good()) {
        m_completeSize = static_cast<std::uintmax_t>(std::streamoff(m_stream.tellp()));
        return true;
    }
    static_cast<void>(RemovePartialRecord());
    return false;
}

// Truncates the file to its last whole record and reopens the stream. Returns false when one of these fails,
// for example while another program has the file mapped into memory. The truncation always fails once the
// file is shorter than m_completeSize.
bool CMapFileWriter::RemovePartialRecord()
{
    m_hasPartialRecord = true;
    // Closing the failed stream writes or discards its buffer; the truncation removes what was written. The
    // stream is reopened without creating the file, which may have been deleted.
    m_stream.close();
    const bool truncated = CFile::Truncate(m_path, m_completeSize);
    m_stream.clear();
    m_stream.open(m_path.c_str(), std::ios::in | std::ios::ate);
    m_hasPartialRecord = !truncated || !m_stream.is_open();
    return !m_hasPartialRecord;
}

// A last attempt. The flag is cleared in any case, so that no later call truncates the path: once the file is
// closed, another program's file may be there.
void CMapFileWriter::RemovePartialRecordBeforeClosing()
{
    if (m_hasPartialRecord) {
        static_cast<void>(RemovePartialRecord());
        m_hasPartialRecord = false;
    }
}

// On network drives, write errors may be reported only by the flush ("FlushFileBuffers function"), not when
// the stream is closed.
bool CMapFileWriter::Close()
{
    if (m_path.empty()) {
        return true;
    }
    RemovePartialRecordBeforeClosing();
    const bool flushed = m_flushHandle.Flush();
    m_flushHandle = CFile();
    m_stream.close();
    m_path.clear();
    return flushed && !m_stream.fail();
}
