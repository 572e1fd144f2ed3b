#include "tests/faults/CopyFailures.h"

#include <gtest/gtest.h>
#include <windows.h>

#include "tests/support/ExpectedTexts.h"
#include "tests/support/TestLibrary.h"

std::wstring SourceFailure(const CFaultBench& bench, std::size_t row)
{
    return expected::SourceNotOpened(bench.Part(row), L"*");
}

std::wstring TargetFailure(const CFaultBench& bench, std::size_t row)
{
    return expected::TargetNotOpened(bench.Part(row), bench.Copy(row), L"*");
}

std::wstring CopyingFailure(const CFaultBench& bench, std::size_t row)
{
    return expected::NotCopied(bench.Part(row), bench.Copy(row), L"*");
}

std::size_t RemovePartialCopy(const std::wstring& source, const std::wstring& copy, bool readOnly)
{
    const std::string bytes = ReadBytes(copy);
    EXPECT_TRUE(ReadBytes(source).starts_with(bytes));
    EXPECT_EQ(readOnly, IsReadOnly(copy));
    SetFileAttributesW(copy.c_str(), FILE_ATTRIBUTE_NORMAL);
    EXPECT_NE(FALSE, DeleteFileW(copy.c_str()));
    return bytes.size();
}
