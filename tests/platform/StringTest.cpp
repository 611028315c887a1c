#include <afx.h>

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <string>

#include "tests/fixtures/TemporaryFolder.h"
#include "tests/fixtures/Throws.h"

namespace {

using TerrascopeTest::Throws;

std::string Text(const CString& text) {
    return {text.GetString(), static_cast<size_t>(text.GetLength())};
}

TEST(String, ArgumentsMayBePartsOfTheTextItselfOrNull) {
    CString text("abcdef");
    text = text.GetString() + 2;
    text.Append(text.GetString() + 1);
    EXPECT_EQ("cdefdef", Text(text));
    for (int i = 0; i < 4; ++i) {
        text += text;
    }
    EXPECT_EQ(7 * 16, text.GetLength());
    text = "v";
    text.Format("<%s%s>", text.GetString(), text.GetString());
    text.Insert(1, text);
    const CString& same = text;
    text = same;
    EXPECT_EQ("<<vv>vv>", Text(text));
    const LPCSTR null = nullptr;
    CString empty(null);
    empty += null;
    EXPECT_EQ(0, empty.TrimLeft(null).Compare(null));
    EXPECT_EQ(-1, empty.Find(null));
}

TEST(String, SlicesAreCutToTheTextAndAnIndexOutsideThrows) {
    CString text("abc");
    const auto slices = [&](int at) {
        return Text(text.Left(at) + "," + text.Right(at) + "," + text.Mid(at) + "," +
                    text.Mid(1, at));
    };
    for (const int beyond : {3, 4, INT_MAX}) {
        EXPECT_EQ("abc,abc,,bc", slices(beyond)) << beyond;
    }
    for (const int below : {0, -1, INT_MIN}) {
        EXPECT_EQ(",,abc,", slices(below)) << below;
    }
    EXPECT_TRUE(Throws([&] { text.GetAt(-1); }) && Throws([&] { text.GetAt(4); }));
}

TEST(String, AReleasedBufferKeepsWhatWasWritten) {
    CString text("keep");
    const CString shared(text);
    strcpy(text.GetBuffer(200), "written");
    text.ReleaseBuffer();
    EXPECT_EQ("written,keep", text + "," + shared);
    memcpy(text.GetBufferSetLength(3), "a\0b", 3);
    EXPECT_EQ(std::string("a\0b", 3), Text(text));
}

/// A text with something behind its terminator.
CString WithBehind(LPCSTR text, LPCSTR behind) {
    CString result;
    const size_t length = strlen(text);
    strcpy(strcpy(result.GetBuffer(40), text) + length + 1, behind);
    result.ReleaseBuffer(static_cast<int>(length));
    return result;
}

TEST(String, TakesCharactersWholeAndNothingBehindTheText) {
    const bool two = TerrascopeTest::HasTwoByteCharacters();
    // U+8BBE: its second byte is a backslash's.
    const CString backslash("\xD5\x5C");
    EXPECT_EQ(two ? 1 : 3, ("a\\" + backslash + "b").ReverseFind('\\'));
    EXPECT_EQ(two ? 2 : 1, (backslash + "\\").Find('\\'));
    EXPECT_EQ(two ? 1 : 2, CString(backslash + "\\").Replace('\\', '/'));
    EXPECT_EQ(two ? backslash : "\xD5", CString(backslash + "\\\\").TrimRight('\\'));
    EXPECT_EQ(two ? "a\x81\x41" : "a\x81\x61", CString("A\x81\x41").MakeLower());
    EXPECT_EQ(!two, CString("\x81\x61").CompareNoCase("\x81\x41") == 0);
    EXPECT_EQ(two ? "\xC9\xE8" : "?", CString(L"\u8bbe"));
    // Texts that end within a character.
    const CString ended = WithBehind("\xD6", "A\\");
    EXPECT_EQ(-1, ended.ReverseFind('\\'));
    EXPECT_EQ(0, ended.CompareNoCase(WithBehind("\xD6", "B")));
}

}  // namespace
