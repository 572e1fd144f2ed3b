#include "tests/faults/CopyFailures.h"

#include <gtest/gtest.h>
#include <windows.h>

#include "framework/Language.h"
#include "tests/support/ExpectedTexts.h"
#include "tests/support/TestLibrary.h"

namespace {

constexpr Text kNotCopiedLead{
    L"Kopieren der Normteil-Dateien fehlgeschlagen!\n\nSchreib-/Lesefehler beim Kopieren von\n\"",
    L"Filecopy failed!\n\nRead/write error while copying of\n\""};
constexpr Text kNotCopiedMiddle{L"\" nach\n\"", L"\" to\n\""};
constexpr const wchar_t* kNotCopiedEnd = L"\".\nError: *";

}  // namespace

std::wstring SourceFailure(const CFaultBench& bench, std::size_t row)
{
    return expected::kSourceNotOpenedLead.Current() + bench.Part(row) + expected::kNotOpenedMiddle.Current() +
           L"*" + expected::kNotOpenedEnd.Current();
}

// The German message names the target, the English one the source.
std::wstring TargetFailure(const CFaultBench& bench, std::size_t row)
{
    return expected::kTargetNotOpenedLead.Current() + (g_nLanguage != 0 ? bench.Copy(row) : bench.Part(row)) +
           expected::kNotOpenedMiddle.Current() + L"*" + expected::kNotOpenedEnd.Current();
}

std::wstring CopyingFailure(const CFaultBench& bench, std::size_t row)
{
    return kNotCopiedLead.Current() + bench.Part(row) + kNotCopiedMiddle.Current() + bench.Copy(row) +
           kNotCopiedEnd;
}

std::size_t RemovePartialCopy(const std::wstring& source, const std::wstring& copy)
{
    const std::string bytes = ReadBytes(copy);
    EXPECT_TRUE(ReadBytes(source).starts_with(bytes));
    EXPECT_TRUE(IsReadOnly(copy));
    SetFileAttributesW(copy.c_str(), FILE_ATTRIBUTE_NORMAL);
    EXPECT_NE(FALSE, DeleteFileW(copy.c_str()));
    return bytes.size();
}
