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

template <typename T>
void ExpectBack(T value, std::uint64_t bytes) {
    CMemStream stream;
    T read{};
    stream << value;
    EXPECT_EQ(stream.GetLength(), bytes);
    stream >> read;
    EXPECT_EQ(read, value);
}

TEST(MemStream, ReadsEachTypeBackAsItWasWritten) {
    ExpectBack<signed char>(-5, 1);
    ExpectBack<unsigned char>(250, 1);
    ExpectBack(true, 1);
    ExpectBack<short>(-300, 2);
    ExpectBack<unsigned short>(65000, 2);
    ExpectBack(-70000, 4);
    ExpectBack(4000000001UL, 4);
    ExpectBack(1.5f, 4);
    ExpectBack(-2.25, 8);
    ExpectBack(std::string(3000, 'x'), 3004);
}

TEST(MemStream, ShortensTextsAtAZeroByteWithinEachChunk) {
    const std::string chunk = std::string(1000, 'a') + '\0' + std::string(23, 'b');
    CMemStream stream;
    stream << chunk + "tail" << 7 << 0xFFFFFFFFU << static_cast<unsigned char>('x');
    std::string text;
    int after = 0;
    stream >> text >> after;
    EXPECT_EQ(text, std::string(1000, 'a') + "tail");
    EXPECT_EQ(after, 7);
    stream >> text >> after;
    EXPECT_EQ(text, "x") << "the stated length goes beyond the end";
    EXPECT_EQ(after, 7) << "nothing was left to read";
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
        {-9, CMemStream::kBothCursors, CMemStream::kFromEnd, 'a', "Xbcd"},
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
    const CMemStream source("new", 3);
    CMemStream written;
    written.Write("12", 2);
    written = source;
    EXPECT_EQ(Content(written), std::string("\0\0new", 5));

    CMemStream atStart("old content", 11);
    atStart = source;
    EXPECT_EQ(Content(atStart), "new");

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
    stream.Reset();
    EXPECT_EQ(stream.GetIStream(), nullptr);
}

TEST(PointF, SubtractsWhereCallersMoveTheOrigin) {
    CPointF point(10.0f, 20.0f);
    point.Offset(1.0f, 2.0f);
    point -= POINT{3, 4};
    EXPECT_EQ(point, CPointF(6.0f, 14.0f));
}

}  // namespace
}  // namespace Terrascope
