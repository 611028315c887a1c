#include "terrascope/support/MemStream.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "terrascope/support/PointF.h"

namespace Terrascope {
namespace {

std::string Content(CMemStream& stream) {
    const auto* bytes = reinterpret_cast<const char*>(stream.GetBuffer());
    return bytes == nullptr ? std::string() : std::string(bytes, stream.GetLength());
}

CMemStream Filled(const std::string& bytes) {
    return CMemStream(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
}

TEST(MemStream, ReadsEachTypeBackAsItWasWritten) {
    CMemStream stream;
    stream << static_cast<signed char>(-5) << static_cast<unsigned char>(250) << true << false
           << static_cast<short>(-300) << static_cast<unsigned short>(65000) << -70000
           << 4000000000U << -70001L << 4000000001UL << 1.5f << -2.25 << std::string("text");
    EXPECT_EQ(stream.GetLength(), 1U + 1 + 1 + 1 + 2 + 2 + 4 + 4 + 4 + 4 + 4 + 8 + 4 + 4);

    signed char sc = 0;
    unsigned char uc = 0;
    bool yes = false;
    bool no = true;
    short s = 0;
    unsigned short us = 0;
    int i = 0;
    unsigned u = 0;
    long l = 0;
    unsigned long ul = 0;
    float f = 0;
    double d = 0;
    std::string text = "old";
    stream >> sc >> uc >> yes >> no >> s >> us >> i >> u >> l >> ul >> f >> d >> text;
    EXPECT_EQ(sc, -5);
    EXPECT_EQ(uc, 250);
    EXPECT_TRUE(yes);
    EXPECT_FALSE(no);
    EXPECT_EQ(s, -300);
    EXPECT_EQ(us, 65000);
    EXPECT_EQ(i, -70000);
    EXPECT_EQ(u, 4000000000U);
    EXPECT_EQ(l, -70001L);
    EXPECT_EQ(ul, 4000000001UL);
    EXPECT_EQ(f, 1.5f);
    EXPECT_EQ(d, -2.25);
    EXPECT_EQ(text, "text");
}

TEST(MemStream, ShortensTextsAtAZeroByteWithinEachChunk) {
    const std::string chunk = std::string(1000, 'a') + '\0' + std::string(23, 'b');
    struct {
        std::string written;
        std::string read;
    } const cases[] = {{"", ""},
                       {std::string(3000, 'x'), std::string(3000, 'x')},
                       {std::string("a\0b", 3), "a"},
                       {chunk + "tail", std::string(1000, 'a') + "tail"}};
    for (const auto& c : cases) {
        CMemStream stream;
        stream << c.written << 7;
        std::string text;
        int after = 0;
        stream >> text >> after;
        EXPECT_EQ(text, c.read);
        EXPECT_EQ(after, 7);
    }
}

TEST(MemStream, SurvivesATextLengthBeyondTheEnd) {
    CMemStream stream;
    stream << 0xFFFFFFFFU << static_cast<unsigned char>('x');
    std::string text;
    stream >> text;
    EXPECT_EQ(text, "x");
    int untouched = 9;
    stream >> untouched;
    EXPECT_EQ(untouched, 9);
}

TEST(MemStream, MovesTheCursorsThatSeekNames) {
    struct {
        std::int64_t offset;
        int which;
        int origin;
        char read;          // what is read next
        const char* after;  // content when "X" is written next
    } const cases[] = {
        {2, CMemStream::kReadCursor, CMemStream::kFromBegin, 'c', "abcdX"},
        {1, CMemStream::kWriteCursor, CMemStream::kFromBegin, 'a', "aXcd"},
        {-1, CMemStream::kBothCursors, CMemStream::kFromEnd, 'd', "abcX"},
        {1, CMemStream::kReadCursor, CMemStream::kFromCurrent, 'b', "abcdX"},
        {-3, CMemStream::kWriteCursor, CMemStream::kFromCurrent, 'a', "aXcd"},
        {-9, CMemStream::kBothCursors, CMemStream::kFromEnd, 'a', "Xbcd"},
        {1, 5, CMemStream::kFromBegin, 'a', "abcdX"},
    };
    for (const auto& c : cases) {
        CMemStream stream;
        stream.Write("abcd", 4);
        stream.Seek(c.offset, c.which, c.origin);
        char next = '?';
        stream.Read(&next, 1);
        EXPECT_EQ(next, c.read) << c.after;
        stream.Write("X", 1);
        EXPECT_EQ(Content(stream), c.after);
    }
}

TEST(MemStream, KeepsItsPositionsWhenItIsAssignedTo) {
    const CMemStream source = Filled("new");
    CMemStream written;
    written.Write("12", 2);
    written = source;
    EXPECT_EQ(Content(written), std::string("\0\0new", 5));

    CMemStream atStart = Filled("old content");
    atStart = source;
    EXPECT_EQ(Content(atStart), "new");
    CMemStream& same = atStart;
    atStart = same;
    EXPECT_EQ(Content(atStart), "new");
    atStart = CMemStream();
    EXPECT_EQ(atStart.GetLength(), 0U);

    CMemStream copy(source);
    copy.Write("!", 1);
    EXPECT_EQ(Content(copy), "new!");
}

TEST(MemStream, HandsOutOneComStreamUntilTheContentChanges) {
    CMemStream stream;
    EXPECT_EQ(stream.GetIStream(), nullptr);
    const std::string bytes(5000, 'z');
    stream.Write(bytes.data(), 5000);
    IStream* first = stream.GetIStream();
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(stream.GetIStream(), first);

    std::vector<char> read(6000);
    ULONG count = 0;
    STATSTG stat{};
    EXPECT_GE(first->Read(read.data(), 6000, &count), S_OK);
    EXPECT_EQ(std::string(read.data(), count), bytes);
    ASSERT_EQ(first->Stat(&stat, STATFLAG_NONAME), S_OK);
    EXPECT_EQ(stat.cbSize.QuadPart, 5000U);

    stream.Write("y", 1);
    IStream* second = stream.GetIStream();
    ASSERT_NE(second, nullptr);
    EXPECT_NE(second, first);
    first->Release();  // forgotten by the stream, so ours
    ASSERT_EQ(second->Stat(&stat, STATFLAG_NONAME), S_OK);
    EXPECT_EQ(stat.cbSize.QuadPart, 5001U);
    stream.Reset();
    EXPECT_EQ(stream.GetIStream(), nullptr);
}

TEST(PointF, SubtractsWhereCallersMoveTheOrigin) {
    CPointF point(10.0f, 20.0f);
    point.Offset(1.0f, 2.0f);
    point -= POINT{3, 4};
    point += CPointF(0.5f, 0.5f);
    EXPECT_EQ(point, CPointF(6.5f, 14.5f));
    EXPECT_EQ(point - CPointF(6.5f, 14.5f) + CPointF(1, 2), CPointF(1, 2));
    EXPECT_NE(point, CPointF());
}

}  // namespace
}  // namespace Terrascope
