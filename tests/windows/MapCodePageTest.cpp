#include "files/MapCodePage.h"

#include <gtest/gtest.h>

#include <optional>
#include <sstream>
#include <vector>

namespace {

constexpr UINT kCodePages[] = {1252, 1250, 1251, 932, 65001};

// Returns the record that the reader finds in a line of the map file.
UTtab_entry ReadBack(const std::string& line, UINT codePage)
{
    std::istringstream in(line + "\n");
    CList<UTtab_entry, UTtab_entry&> entries;
    EXPECT_EQ(ReadMapLines(in, MapDecoderOf(codePage), entries), std::nullopt);
    EXPECT_EQ(entries.GetCount(), 1);
    return *entries.begin();
}

std::wstring Decoded(std::string_view bytes, UINT codePage)
{
    std::wstring text = L"what was there before";
    DecodeMapText(bytes, codePage, text);
    return text;
}

}  // namespace

TEST(MapCodePage, IsTheAnsiCodePageOfTheProcess)
{
    EXPECT_EQ(ChooseMapCodePage(1252, 1252), 1252U);
    EXPECT_EQ(ChooseMapCodePage(1250, 1252), 1250U);
    EXPECT_EQ(ChooseMapCodePage(1251, 65001), 1251U);
    EXPECT_EQ(ChooseMapCodePage(932, 0), 932U);
}

TEST(MapCodePage, IsThatOfTheSystemsLocaleWhereTheProcessHasUtf8)
{
    EXPECT_EQ(ChooseMapCodePage(65001, 1252), 1252U);
    EXPECT_EQ(ChooseMapCodePage(65001, 1250), 1250U);
    EXPECT_EQ(ChooseMapCodePage(65001, 1251), 1251U);
    EXPECT_EQ(ChooseMapCodePage(65001, 932), 932U);
}

TEST(MapCodePage, IsWesternEuropeanWhereTheLocaleHasNoneEither)
{
    EXPECT_EQ(ChooseMapCodePage(65001, 0), 1252U);
    EXPECT_EQ(ChooseMapCodePage(65001, 65001), 1252U);
}

TEST(MapCodePage, AsksTheSystem)
{
    if (::GetACP() == CP_UTF8) {
        EXPECT_NE(MapCodePage(), static_cast<UINT>(CP_UTF8));
    } else {
        EXPECT_EQ(MapCodePage(), ::GetACP());
    }
}

TEST(MapCodePage, KeepsUmlautsWhereTheProcessHasUtf8)
{
    const UINT codePage = ChooseMapCodePage(CP_UTF8, 1252);
    const UTtab_entry entry{L"Größe – ä.sldprt", L"Maß €.sldprt", L"Norm ß"};
    const std::string line = FormatMapRecord(entry, MapEncoderOf(codePage));
    EXPECT_EQ(line,
              "Gr\xF6\xDF"
              "e \x96 \xE4.sldprt ; Ma\xDF \x80.sldprt ; Norm \xDF");
    const UTtab_entry read = ReadBack(line, codePage);
    EXPECT_EQ(read, entry);
    EXPECT_EQ(FormatMapRecord(read, MapEncoderOf(codePage)), line);
}

// The expected bytes are from the code page tables of Microsoft and the Unicode Consortium.
TEST(EncodeMapCharacter, GivesTheOneByteOfTheCodePage)
{
    struct Case
    {
        wchar_t character;
        char byte[5];  // in the order of kCodePages
    };
    constexpr Case kCases[] = {
        {L'€', {'\x80', '\x80', '\x88', '?', '?'}}, {L'–', {'\x96', '\x96', '\x96', '?', '?'}},
        {L'™', {'\x99', '\x99', '\x99', '?', '?'}}, {L'Š', {'\x8A', '\x8A', '?', '?', '?'}},
        {L'Œ', {'\x8C', '?', '?', '?', '?'}},       {L'ƒ', {'\x83', '?', '?', '?', '?'}},
        {L'Ś', {'?', '\x8C', '?', '?', '?'}},       {L'ł', {'?', '\xB3', '?', '?', '?'}},
        {L'ő', {'?', '\xF5', '?', '?', '?'}},       {L'ź', {'?', '\x9F', '?', '?', '?'}},
        {L'Ђ', {'?', '?', '\x80', '?', '?'}},       {L'№', {'?', '?', '\xB9', '?', '?'}},
        {L'Б', {'?', '?', '\xC1', '?', '?'}},       {L'я', {'?', '?', '\xFF', '?', '?'}},
        {L'｡', {'?', '?', '?', '\xA1', '?'}},       {L'ｱ', {'?', '?', '?', '\xB1', '?'}},
        {L'ﾟ', {'?', '?', '?', '\xDF', '?'}}};
    for (const auto& [character, bytes] : kCases) {
        for (std::size_t i = 0; i < std::size(kCodePages); ++i) {
            EXPECT_EQ(EncodeMapCharacter(character, kCodePages[i]), bytes[i])
                << std::hex << int{character} << " in " << std::dec << kCodePages[i];
        }
    }
}

TEST(EncodeMapCharacter, GivesAQuestionMarkForWhatHasNoByteOrMoreThanOne)
{
    EXPECT_EQ(EncodeMapCharacter(L'日', 932), '?') << "two bytes, 0x93 0xFA";
    EXPECT_EQ(EncodeMapCharacter(L'Б', 932), '?') << "two bytes, 0x84 0x41";
    EXPECT_EQ(EncodeMapCharacter(L'・', 932), '?')
        << "two bytes, 0x81 0x45, although byte 0x81 alone decodes to this character";
    EXPECT_EQ(EncodeMapCharacter(L'ā', 65001), '?') << "two bytes, 0xC4 0x81";
    EXPECT_EQ(EncodeMapCharacter(L'ā', 1252), '?') << "no best fit such as \"a\"";
    EXPECT_EQ(EncodeMapCharacter(L'Ａ', 1252), '?') << "no best fit such as \"A\"";
    EXPECT_EQ(EncodeMapCharacter(L'Ł', 1252), '?') << "no best fit such as \"L\"";
    for (const UINT codePage : kCodePages) {
        EXPECT_EQ(EncodeMapCharacter(static_cast<wchar_t>(0xD83D), codePage), '?') << codePage;
    }
}

TEST(EncodeMapText, GivesTheCodeOfCharactersUpToFFInEachCodePage)
{
    for (const UINT codePage : kCodePages) {
        for (wchar_t code = 0; code <= 0xFF; ++code) {
            EXPECT_EQ(EncodeMapText(std::wstring(1, code), MapEncoderOf(codePage)),
                      std::string(1, static_cast<char>(code)))
                << codePage;
        }
    }
}

TEST(DecodeMapText, ReadsTheBytesInTheCodePage)
{
    EXPECT_EQ(Decoded("", 1252), L"");
    EXPECT_EQ(Decoded("a;\xE4\x80\x96\xDF", 1252), L"a;ä€–ß");
    EXPECT_EQ(Decoded("a;\xE4\xF5\xB3\x9F", 1250), L"a;äőłź");
    EXPECT_EQ(Decoded("a;\xE4\xC1\xFF\x88", 1251), L"a;дБя€");
    EXPECT_EQ(Decoded("a;\xB1\x93\xFA", 932), L"a;ｱ日");
    EXPECT_EQ(Decoded("a;\xC3\xA4", 65001), L"a;ä");
}

TEST(MapCodePage, ARecordIsReadBackAsItsBytesDecode)
{
    struct Case
    {
        UINT codePage;
        std::wstring name;
        std::string bytes;
        std::wstring read;
    };
    const std::vector<Case> cases = {{1252, L"Größe – 5 €",
                                      "Gr\xF6\xDF"
                                      "e \x96 5 \x80",
                                      L"Größe – 5 €"},
                                     {1252, L"Łódź",
                                      "?\xF3"
                                      "d?",
                                      L"?ód?"},
                                     {1250, L"Größe Łódź",
                                      "Gr\xF6\xDF"
                                      "e \xA3\xF3"
                                      "d\x9F",
                                      L"Größe Łódź"},
                                     {1250, L"¥ õ", "\xA5 \xF5", L"Ą ő"},
                                     {1251, L"Болт М8",
                                      "\xC1\xEE\xEB\xF2 \xCC"
                                      "8",
                                      L"Болт М8"},
                                     {1251, L"Größe",
                                      "Gr\xF6\xDF"
                                      "e",
                                      L"GrцЯe"},
                                     {932, L"ﾎﾞﾙﾄ M8", "\xCE\xDE\xD9\xC4 M8", L"ﾎﾞﾙﾄ M8"},
                                     {932, L"日 ¥", "? \xA5", L"? ･"}};
    for (const auto& [codePage, name, bytes, read] : cases) {
        const std::string line = FormatMapRecord({name, name, name}, MapEncoderOf(codePage));
        EXPECT_EQ(line, bytes + " ; " + bytes + " ; " + bytes) << codePage;
        EXPECT_EQ(ReadBack(line, codePage), (UTtab_entry{read, read, read})) << codePage;
        EXPECT_EQ(FormatMapRecord({read, read, read}, MapEncoderOf(codePage)), line) << codePage;
    }
}
