#include "files/Paths.h"

#include <gtest/gtest.h>

#include <cwchar>

TEST(NormalizePath, KeepsAPathWithSingleBackslashes)
{
    EXPECT_EQ(NormalizePath(L"D:\\Parts\\Mapped"), L"D:\\Parts\\Mapped");
    EXPECT_EQ(NormalizePath(L""), L"");
}

TEST(NormalizePath, CollapsesTwoBackslashes)
{
    EXPECT_EQ(NormalizePath(L"D:\\\\Parts\\\\Mapped\\\\"), L"D:\\Parts\\Mapped\\");
}

TEST(NormalizePath, CollapsesPairsInOnePass)
{
    EXPECT_EQ(NormalizePath(L"D:\\\\\\x"), L"D:\\\\x");
    EXPECT_EQ(NormalizePath(L"D:\\\\\\\\x"), L"D:\\\\x");
    EXPECT_EQ(NormalizePath(L"D:\\\\\\\\\\x"), L"D:\\\\\\x");
}

TEST(NormalizePath, KeepsTheTwoBackslashesOfANetworkPath)
{
    EXPECT_EQ(NormalizePath(L"\\\\server\\parts\\\\Mapped"), L"\\\\server\\parts\\Mapped");
}

TEST(NormalizePath, DoublesASingleLeadingBackslash)
{
    EXPECT_EQ(NormalizePath(L"\\Parts"), L"\\\\Parts");
}

TEST(NormalizePath, LeavesForwardSlashes)
{
    EXPECT_EQ(NormalizePath(L"//server//parts"), L"//server//parts");
}

TEST(JoinPath, PutsOneBackslashBetween)
{
    EXPECT_EQ(JoinPath(L"C:\\Zelmar", L"Manuals\\us\\a.pdf"), L"C:\\Zelmar\\Manuals\\us\\a.pdf");
    EXPECT_EQ(JoinPath(L"C:\\Zelmar\\", L"Manuals\\us\\a.pdf"), L"C:\\Zelmar\\Manuals\\us\\a.pdf");
    EXPECT_EQ(JoinPath(L"\\\\server\\zelmar", L"a.pdf"), L"\\\\server\\zelmar\\a.pdf");
}

TEST(JoinPath, ReturnsANetworkPathForAnEmptyFolder)
{
    EXPECT_EQ(JoinPath(L"", L"a.pdf"), L"\\\\a.pdf");
    EXPECT_EQ(MappedFolder(L""), L"\\\\Mapped");
    EXPECT_EQ(MapFilePath(L""), L"\\\\Mapped\\PartsMap.txt");
}

TEST(IsComputer, IsTrueForAComputerOnly)
{
    EXPECT_TRUE(IsComputer(MappedFolder(L"")));
    EXPECT_TRUE(IsComputer(MappedFolder(L"\\")));
    EXPECT_TRUE(IsComputer(MappedFolder(L"\\\\")));
    EXPECT_TRUE(IsComputer(L"\\\\server\\"));
    for (const wchar_t* const path :
         {L"", L"\\\\", L"\\Mapped", L"Mapped", L"D:\\Mapped", L"\\\\server\\Mapped", L"\\\\Mapped\\a\\b"}) {
        EXPECT_FALSE(IsComputer(path)) << testing::PrintToString(path);
    }
}

TEST(IsShare, IsTrueForAShareOnly)
{
    EXPECT_TRUE(IsShare(MapFilePath(L"")));
    EXPECT_TRUE(IsShare(MapFilePath(L"\\")));
    EXPECT_TRUE(IsShare(MapFilePath(L"\\\\")));
    EXPECT_TRUE(IsShare(L"\\\\server\\parts\\"));
    for (const wchar_t* const path :
         {L"", L"\\Mapped\\PartsMap.txt", L"D:\\Mapped\\PartsMap.txt", L"Mapped\\PartsMap.txt", L"\\\\server",
          L"\\\\Mapped\\Mapped\\PartsMap.txt"}) {
        EXPECT_FALSE(IsShare(path)) << testing::PrintToString(path);
    }
}

TEST(MappedFolder, IsInTheStandardPartsFolder)
{
    EXPECT_EQ(MappedFolder(L"D:\\Parts"), L"D:\\Parts\\Mapped");
    EXPECT_EQ(MappedFolder(L"D:\\Parts\\"), L"D:\\Parts\\Mapped");
    EXPECT_EQ(MappedFolder(L"D:\\"), L"D:\\Mapped");
    EXPECT_EQ(MappedFolder(L"\\\\server\\parts"), L"\\\\server\\parts\\Mapped");
}

TEST(MapFilePath, IsInTheMappedFolder)
{
    EXPECT_EQ(MapFilePath(L"D:\\Parts"), L"D:\\Parts\\Mapped\\PartsMap.txt");
    EXPECT_EQ(MapFilePath(L"D:\\Parts\\"), L"D:\\Parts\\Mapped\\PartsMap.txt");
    EXPECT_EQ(MapFilePath(L"\\\\server\\parts\\"), L"\\\\server\\parts\\Mapped\\PartsMap.txt");
}

TEST(StripBackslashes, RemovesThemAllFromTheEndOnly)
{
    EXPECT_EQ(StripBackslashes(L"\\\\server\\Parts.\\\\"), L"\\\\server\\Parts.");
    EXPECT_EQ(StripBackslashes(L"D:\\"), L"D:");
    EXPECT_EQ(StripBackslashes(L"\\\\"), L"");
    EXPECT_EQ(StripBackslashes(L""), L"");
}

TEST(StripFolderInput, RemovesTrailingBackslashesAndTheDotsAfterThem)
{
    EXPECT_EQ(StripFolderInput(L"D:\\Parts\\."), L"D:\\Parts");
    EXPECT_EQ(StripFolderInput(L"D:\\Parts\\\\..."), L"D:\\Parts");
    EXPECT_EQ(StripFolderInput(L"D:\\Parts\\"), L"D:\\Parts");
}

TEST(StripFolderInput, KeepsADotBeforeATrailingBackslash)
{
    EXPECT_EQ(StripFolderInput(L"D:\\Parts.\\"), L"D:\\Parts.");
}

TEST(StripFolderInput, KeepsDotsAndBackslashesInside)
{
    EXPECT_EQ(StripFolderInput(L"D:\\..\\a.b"), L"D:\\..\\a.b");
    EXPECT_EQ(StripFolderInput(L"D:\\"), L"D:");
}

TEST(StripFolderInput, ReturnsAnEmptyTextIfNothingRemains)
{
    EXPECT_EQ(StripFolderInput(L"\\\\.."), L"");
    EXPECT_EQ(StripFolderInput(L""), L"");
}

TEST(IsBareFileName, AcceptsFileNames)
{
    for (const wchar_t* const name : {L"a", L"a b.sldprt", L"..a", L"a..b", L".a", L"a=b;c", L"a b .c"}) {
        EXPECT_TRUE(IsBareFileName(name)) << std::string(name, name + std::wcslen(name));
    }
}

TEST(IsBareFileName, RefusesInvalidNamesAndNamesThatWindowsTrims)
{
    for (const wchar_t* const name :
         {L"a.", L"a..", L"a ", L"a. ", L"a*", L"a?.sldprt", L"*.sldprt", L"a<b", L"a>b", L"a\"b", L"a|b"}) {
        EXPECT_FALSE(IsBareFileName(name)) << std::string(name, name + std::wcslen(name));
    }
}

TEST(IsBareFileName, RefusesFoldersDrivesAndStreams)
{
    for (const wchar_t* const name : {L"", L".", L"..", L". .", L" ", L"..\\x", L"a\\b", L"a/b", L"\\x",
                                      L"a:b", L"c:x", L"\\\\server\\share\\x", L"x\\"}) {
        EXPECT_FALSE(IsBareFileName(name)) << std::string(name, name + std::wcslen(name));
    }
}
