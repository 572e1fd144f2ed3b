#include "files/PickedFiles.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace std::string_view_literals;
using Names = std::vector<std::wstring>;

// Puts a text after the two NULs that end the buffer. SplitPickedFiles must not read this text.
PickedFiles Split(std::wstring_view buffer)
{
    return SplitPickedFiles((std::wstring(buffer) + L'\0' + L'\0' + L"left over").c_str());
}

TEST(PickedFiles, OneFileIsAPath)
{
    const PickedFiles picked = Split(L"C:\\Normteile\\N_ISO_4017_M8.sldprt"sv);
    EXPECT_EQ(picked.folder, L"C:\\Normteile");
    EXPECT_EQ(picked.names, Names{L"N_ISO_4017_M8.sldprt"});
}

TEST(PickedFiles, SeveralFilesAreAFolderAndNames)
{
    const PickedFiles picked = Split(L"C:\\Norm teile\0a.sldprt\0b c.sldprt\0ä.SLDPRT"sv);
    EXPECT_EQ(picked.folder, L"C:\\Norm teile");
    EXPECT_EQ(picked.names, (Names{L"a.sldprt", L"b c.sldprt", L"ä.SLDPRT"}));
}

TEST(PickedFiles, TheRootFolderLosesItsBackslash)
{
    EXPECT_EQ(Split(L"C:\\a.sldprt"sv).folder, L"C:");
    EXPECT_EQ(Split(L"C:\\a.sldprt"sv).names, Names{L"a.sldprt"});
    EXPECT_EQ(Split(L"C:\\\0a.sldprt\0b.sldprt"sv).folder, L"C:");
    EXPECT_EQ(Split(L"C:\\\0a.sldprt\0b.sldprt"sv).names, (Names{L"a.sldprt", L"b.sldprt"}));
}

TEST(PickedFiles, ANetworkFolderKeepsItsLeadingBackslashes)
{
    EXPECT_EQ(Split(L"\\\\server\\share\\a.sldprt"sv).folder, L"\\\\server\\share");
    EXPECT_EQ(Split(L"\\\\server\\share\0a.sldprt\0b.sldprt"sv).folder, L"\\\\server\\share");
}

TEST(PickedFiles, ANameWithoutAFolderIsAName)
{
    EXPECT_EQ(Split(L"a.sldprt"sv).folder, L"");
    EXPECT_EQ(Split(L"a.sldprt"sv).names, Names{L"a.sldprt"});
}

TEST(PickedFiles, NothingPickedGivesNoNames)
{
    EXPECT_EQ(Split(L""sv).folder, L"");
    EXPECT_TRUE(Split(L""sv).names.empty());
}

}  // namespace
