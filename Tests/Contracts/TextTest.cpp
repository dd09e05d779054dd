#include <LumvoData/LumvoData.h>

#include <gtest/gtest.h>

#include <string>
#include <utility>

using namespace Kelvra;

namespace {

// UTF-16 survives the way through a wide string unit for unit, well formed or not.
TEST(Text, KeepsEveryUtf16Unit)
{
    const std::pair<std::u16string, std::wstring> rows[] = {
        {u"", L""},
        {std::u16string(u"a\0\x4E2D\xFFFD", 4), std::wstring(L"a\0\x4E2D\xFFFD", 4)},
        {u"\xD800\xDC00\xDBFF\xDFFF", L"\U00010000\U0010FFFF"},
        {u"\xD83Dx\xDE00", L"\xD83Dx\xDE00"},                     // a pair torn apart
        {u"\xDE00\xD83D", L"\xDE00\xD83D"},                       // the wrong way round
        {u"\xD83D\xD83D\xDE00\xDE00", L"\xD83D\U0001F600\xDE00"}, // between two halves
        {u"x\xDBFF", L"x\xDBFF"}};
    std::u16string readUnits = u"former";
    std::wstring readText = L"former";
    for (const auto& [units, text] : rows)
        for (const std::size_t before : {0U, 62U, 63U, 64U, 127U}) {
            const std::u16string longUnits = std::u16string(before, u'x') + units + std::u16string(70, u'y');
            const std::wstring longText = std::wstring(before, L'x') + text + std::wstring(70, L'y');
            KvText::FromUtf16(longUnits, readText);
            EXPECT_EQ(readText, longText);
            KvText::ToUtf16(longText, readUnits);
            EXPECT_EQ(readUnits, longUnits) << testing::PrintToString(longText);
        }
}

// Each byte that fits no character is replaced by itself, and what follows is read on.
TEST(Text, ReplacesBytesThatAreNoUtf8)
{
    const std::pair<const char*, const wchar_t*> rows[] = {
        {"\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80", L"\x7F\x80\x7FF\x800"}, // the edges of each length
        {"\xEF\xBF\xBF\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", L"\xFFFF\U00010000\U0010FFFF"},
        {"\xC0\xAF\xE0\x9F\xBFx", L"\xFFFD\xFFFD\xFFFD\xFFFD\xFFFDx"}, // longer than need be
        {"\xF0\x8F\xBF\xBFx", L"\xFFFD\xFFFD\xFFFD\xFFFDx"},
        {"\xED\xA0\x80x", L"\xFFFD\xFFFD\xFFFDx"},                                  // a surrogate
        {"\xF4\x90\x80\x80\xFFx", L"\xFFFD\xFFFD\xFFFD\xFFFD\xFFFDx"},              // beyond the last character
        {"\xE4\xB8x\xC3y\xF0\x9F\x98", L"\xFFFD\xFFFDx\xFFFDy\xFFFD\xFFFD\xFFFD"}}; // cut short
    for (const auto& [bytes, text] : rows)
        EXPECT_EQ(KvText::FromUtf8(bytes), text) << testing::PrintToString(bytes);
    EXPECT_EQ(KvText::ToUtf8(L"A\x00E9\x4E2D\U0001F600"), "A\xC3\xA9\xE4\xB8\xAD\xF0\x9F\x98\x80");
    EXPECT_EQ(KvText::ToUtf8(L"\xD83D\xDE00|\xD83D"), "\xF0\x9F\x98\x80|\xEF\xBF\xBD") << "only well-formed text";
}

// Names of files are bytes, and every one of them can be named.
TEST(Text, KeepsPathsByteForByte)
{
    std::string bytes = "\xF0\x9F\x98\x80/\xED\xB2\x80/\xF0\x9F\x98/\xC0\xAF\xC3";
    for (int byte = 1; byte < 256; ++byte)
        bytes += static_cast<char>(byte);
    EXPECT_EQ(KvText::ToPath(KvText::FromPath(bytes)).native(), bytes);
}

} // namespace
