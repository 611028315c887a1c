#include <afx.h>

#include <gtest/gtest.h>

#include <atomic>
#include <climits>
#include <cstring>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

constexpr UINT kChinese = 936;

// U+8BBE in code page 936: its second byte is a backslash's.
#define TRAIL_BACKSLASH "\xD5\x5C"
// A letter pair that differs in case by its second byte alone: 0xC1 0x61 is not 0xC1 0x41.
#define TRAIL_SMALL_A "\x81\x61"
#define TRAIL_CAPITAL_A "\x81\x41"

std::string Text(const CString& text) {
    return {text.GetString(), static_cast<size_t>(text.GetLength())};
}

TEST(String, CopiesShareTheirTextUntilOneChanges) {
    CString first("shared");
    CString second(first);
    EXPECT_EQ(first.GetString(), second.GetString());

    second.SetAt(0, 'S');
    EXPECT_EQ(Text(first), "shared");
    EXPECT_EQ(Text(second), "Shared");

    const CString moved(std::move(second));
    EXPECT_EQ(Text(moved), "Shared");
}

TEST(String, CopiesMayLiveInManyThreads) {
    CString original("the text that all threads share");
    const LPCSTR text = original;
    std::vector<std::thread> threads;
    std::atomic<int> wrong = 0;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&wrong, mine = original] {
            for (int i = 0; i < 20000; ++i) {
                const CString copy(mine);
                CString changed(copy);
                changed += 'x';
                wrong += copy.GetLength() + 1 != changed.GetLength();
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    threads.clear();
    EXPECT_EQ(wrong, 0);
    // The last one has the text to itself again: a writable buffer needs no copy.
    EXPECT_EQ(original.GetBuffer(), text);
}

TEST(String, ArgumentsMayBePartsOfTheTextItself) {
    CString text("abcdef");
    text = text.GetString() + 2;
    EXPECT_EQ(Text(text), "cdef");
    text.Append(text.GetString() + 1);
    EXPECT_EQ(Text(text), "cdefdef");
    for (int i = 0; i < 4; ++i)
        text += text;
    EXPECT_EQ(text.GetLength(), 7 * 16);
    text = "v";
    text.Format("<%s%s>", text.GetString(), text.GetString());
    EXPECT_EQ(Text(text), "<vv>");
    text.Insert(1, text);
    EXPECT_EQ(Text(text), "<<vv>vv>");
    const CString& same = text;
    text = same;
    EXPECT_EQ(Text(text), "<<vv>vv>");
}

TEST(String, NullIsTheEmptyText) {
    CString text(static_cast<LPCSTR>(nullptr));
    EXPECT_TRUE(text.IsEmpty());
    EXPECT_STREQ(text, "");
    EXPECT_EQ(text.Compare(nullptr), 0);
    text = "x";
    text += static_cast<LPCSTR>(nullptr);
    EXPECT_EQ(text.Find(static_cast<LPCSTR>(nullptr)), -1);
    EXPECT_EQ(Text(text), "x");
}

TEST(String, SlicesAreCutToTheText) {
    const CString text("abc");
    for (const int beyond : {3, 4, INT_MAX}) {
        EXPECT_EQ(Text(text.Left(beyond)), "abc") << beyond;
        EXPECT_EQ(Text(text.Right(beyond)), "abc") << beyond;
        EXPECT_EQ(Text(text.Mid(beyond)), "") << beyond;
        EXPECT_EQ(Text(text.Mid(1, beyond)), "bc") << beyond;
    }
    for (const int below : {0, -1, INT_MIN}) {
        EXPECT_EQ(Text(text.Left(below)), "") << below;
        EXPECT_EQ(Text(text.Right(below)), "") << below;
        EXPECT_EQ(Text(text.Mid(below)), "abc") << below;
        EXPECT_EQ(Text(text.Mid(1, below)), "") << below;
    }
}

TEST(String, AnIndexOutsideThrows) {
    CString text("abc");
    EXPECT_EQ(text[3], '\0');
    for (const int index : {-1, 4}) {
        EXPECT_THROW(
            try { text.GetAt(index); } catch (CException* failed) {
                failed->Delete();
                throw 0;
            },
            int)
            << index;
    }
}

TEST(String, EditsSayHowMuchTheyChanged) {
    CString text("one two two");
    EXPECT_EQ(text.Replace("two", "three"), 2);
    EXPECT_EQ(Text(text), "one three three");
    EXPECT_EQ(text.Replace("e", "ee"), 5);  // what was put in is not looked at again
    EXPECT_EQ(text.Replace("", "x"), 0);
    EXPECT_EQ(text.Replace("e", ""), 10);
    EXPECT_EQ(Text(text), "on thr thr");
    EXPECT_EQ(text.Delete(2, 4), 6);
    EXPECT_EQ(text.Insert(100, "!"), 7);
    EXPECT_EQ(text.Insert(-5, '>'), 8);
    EXPECT_EQ(Text(text), ">on thr!");
    EXPECT_EQ(text.Replace('n', 'm'), 1);
}

TEST(String, AReleasedBufferKeepsWhatWasWritten) {
    CString text("keep");
    const CString shared(text);
    strcpy(text.GetBuffer(200), "written");
    text.ReleaseBuffer();
    EXPECT_EQ(Text(text), "written");
    EXPECT_EQ(Text(shared), "keep");
    memcpy(text.GetBufferSetLength(3), "a\0b", 3);
    EXPECT_EQ(Text(text), std::string("a\0b", 3));
    EXPECT_THROW(
        try { text.ReleaseBuffer(1000000); } catch (CException* failed) {
            failed->Delete();
            throw 0;
        },
        int);
}

/// One call on a text with two-byte characters.
struct ChineseCase {
    const char* rule;
    std::string (*call)();
    std::string expected;

    friend void PrintTo(const ChineseCase& one, std::ostream* out) { *out << one.rule; }
};

class ChineseString : public testing::TestWithParam<ChineseCase> {
protected:
    void SetUp() override {
        if (::GetACP() != kChinese)
            GTEST_SKIP() << "needs code page 936";
    }
};

TEST_P(ChineseString, KeepsCharactersWhole) {
    EXPECT_EQ(GetParam().call(), GetParam().expected);
}

#define CHINESE_CASE(rule, expression, expected)               \
    ChineseCase {                                              \
        rule, [] { return std::string(expression); }, expected \
    }

INSTANTIATE_TEST_SUITE_P(
    , ChineseString,
    testing::Values(
        CHINESE_CASE("ReverseFind",
                     std::to_string(CString("a\\" TRAIL_BACKSLASH "b").ReverseFind('\\')), "1"),
        CHINESE_CASE("Find", std::to_string(CString(TRAIL_BACKSLASH "\\").Find('\\')), "2"),
        CHINESE_CASE("TrimRightKeepsATrailByte",
                     Text(CString("c:\\" TRAIL_BACKSLASH).TrimRight('\\')), "c:\\" TRAIL_BACKSLASH),
        CHINESE_CASE("TrimRightBehindOne", Text(CString(TRAIL_BACKSLASH "\\\\").TrimRight('\\')),
                     TRAIL_BACKSLASH),
        CHINESE_CASE("Replace", std::to_string(CString(TRAIL_BACKSLASH "\\").Replace('\\', '/')),
                     "1"),
        CHINESE_CASE("MakeLower", Text(CString("A" TRAIL_CAPITAL_A).MakeLower()),
                     "a" TRAIL_CAPITAL_A),
        CHINESE_CASE("CompareNoCase",
                     std::to_string(CString(TRAIL_SMALL_A).CompareNoCase(TRAIL_CAPITAL_A) == 0),
                     "0"),
        CHINESE_CASE("FromWide", Text(CString(L"\u8bbe")), "\xC9\xE8")),
    [](const auto& one) { return std::string(one.param.rule); });

}  // namespace
