#include <afx.h>

#include <gtest/gtest.h>

#include <atomic>
#include <climits>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

namespace {

std::string Text(const CString& text) {
    return {text.GetString(), static_cast<size_t>(text.GetLength())};
}

template <class TCall>
bool Throws(TCall call) {
    try {
        call();
        return false;
    } catch (CException* failed) {
        failed->Delete();
        return true;
    }
}

TEST(String, CopiesMayLiveInManyThreads) {
    CString original("shared");
    const LPCSTR text = original;
    std::vector<std::thread> threads;
    std::atomic<int> wrong = 0;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&wrong, mine = original] {
            for (int i = 0; i < 20000; ++i) {
                CString changed(mine);
                changed += 'x';
                wrong += mine.GetLength() + 1 != changed.GetLength();
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    threads.clear();
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(original.GetBuffer(), text) << "the last one needs no copy to be written to";
}

TEST(String, ArgumentsMayBePartsOfTheTextItself) {
    CString text("abcdef");
    text = text.GetString() + 2;
    text.Append(text.GetString() + 1);
    EXPECT_EQ(Text(text), "cdefdef");
    for (int i = 0; i < 4; ++i)
        text += text;
    EXPECT_EQ(text.GetLength(), 7 * 16);
    text = "v";
    text.Format("<%s%s>", text.GetString(), text.GetString());
    text.Insert(1, text);
    const CString& same = text;
    text = same;
    EXPECT_EQ(Text(text), "<<vv>vv>");
}

TEST(String, NullIsTheEmptyText) {
    const LPCSTR null = nullptr;
    CString text(null);
    text += null;
    EXPECT_EQ(text.Compare(null), 0);
    EXPECT_EQ(text.Find(null), -1);
}

TEST(String, SlicesAreCutToTheTextAndAnIndexOutsideThrows) {
    CString text("abc");
    const auto slices = [&](int at) {
        return Text(text.Left(at) + "," + text.Right(at) + "," + text.Mid(at) + "," +
                    text.Mid(1, at));
    };
    for (const int beyond : {3, 4, INT_MAX})
        EXPECT_EQ(slices(beyond), "abc,abc,,bc") << beyond;
    for (const int below : {0, -1, INT_MIN})
        EXPECT_EQ(slices(below), ",,abc,") << below;
    EXPECT_EQ(text[3], '\0');
    for (const int index : {-1, 4})
        EXPECT_TRUE(Throws([&] { text.GetAt(index); })) << index;
}

TEST(String, EditsSayHowMuchTheyChanged) {
    CString text("one two two");
    EXPECT_EQ(text.Replace("two", "three"), 2);
    EXPECT_EQ(text.Replace("e", "ee"), 5) << "what was put in is not looked at again";
    EXPECT_EQ(text.Replace("e", ""), 10);
    EXPECT_EQ(text.Delete(2, 4), 6);
    EXPECT_EQ(text.Insert(100, "!"), 7);
    EXPECT_EQ(text.Insert(-5, '>'), 8);
    EXPECT_EQ(Text(text), ">on thr!");
}

TEST(String, AReleasedBufferKeepsWhatWasWritten) {
    CString text("keep");
    const CString shared(text);
    strcpy(text.GetBuffer(200), "written");
    text.ReleaseBuffer();
    EXPECT_EQ(text + "," + shared, "written,keep");
    memcpy(text.GetBufferSetLength(3), "a\0b", 3);
    EXPECT_EQ(Text(text), std::string("a\0b", 3));
    EXPECT_TRUE(Throws([&] { text.ReleaseBuffer(1000000); }));
}

TEST(String, KeepsTwoByteCharactersWhole) {
    if (::GetACP() != 936)
        GTEST_SKIP() << "needs code page 936";
    // U+8BBE: its second byte is a backslash's.
    const CString backslash("\xD5\x5C");
    EXPECT_EQ(("a\\" + backslash + "b").ReverseFind('\\'), 1);
    EXPECT_EQ((backslash + "\\").Find('\\'), 2);
    EXPECT_EQ(CString(backslash + "\\").Replace('\\', '/'), 1);
    EXPECT_EQ(CString("c:\\" + backslash).TrimRight('\\'), "c:\\" + backslash);
    EXPECT_EQ(CString(backslash + "\\\\").TrimRight('\\'), backslash);
    // Two characters whose second bytes are a small and a capital A.
    EXPECT_EQ(CString("A\x81\x41").MakeLower(), "a\x81\x41");
    EXPECT_NE(CString("\x81\x61").CompareNoCase("\x81\x41"), 0);
    EXPECT_EQ(CString(L"\u8bbe"), "\xC9\xE8");
}

}  // namespace
