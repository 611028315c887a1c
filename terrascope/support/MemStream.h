#pragma once

#include <afx.h>
#include <objidl.h>

#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "terrascope/support/Handles.h"

namespace Terrascope {

/// A growing store of bytes with one cursor for reading and another for writing, and a copy of its
/// content as a COM stream. What is written can be read at once, without a seek in between.
///
/// Units:   bytes; little-endian values without padding; a text is a 32-bit length and its bytes.
/// Owns:    the bytes, the block that GetBuffer returns and the block under GetIStream's stream.
/// Threads: one at a time.
/// Errors:  none are raised. A short read leaves the rest of the target as it was; bytes for which
///          there is no memory (or no room below 4 GB) are not written.
/// Requires: data and buffers are not null unless their size is 0.
class CMemStream {
public:
    /// What Seek moves.
    enum Cursor { kWriteCursor = 0, kReadCursor = 1, kBothCursors = 2 };
    /// Where Seek counts from.
    enum Origin { kFromBegin = 0, kFromCurrent = 1, kFromEnd = 2 };

    CMemStream();
    CMemStream(const void* data, std::uint32_t size);
    /// A copy of the content, to be read from its start; the next write goes to its end.
    CMemStream(const CMemStream& other);
    virtual ~CMemStream();

    /// Replaces the content. This stream's positions stay: the other's bytes land at the write
    /// position, after that many zero bytes. Assigning a stream to itself changes nothing.
    CMemStream& operator=(const CMemStream& other);

    void Write(const void* data, std::uint32_t size);
    void Read(void* buffer, std::uint32_t size);

    /// `which` is a Cursor; other values move nothing. `origin` is an Origin; any other value
    /// counts from where the last operation ended. A place before the start becomes the start.
    void Seek(std::int64_t offset, int which, int origin);
    void SeekToBegin(int which);
    void SeekToEnd(int which);

    std::uint64_t GetLength() const;

    /// The whole content where it is held, without a copy. Valid until the next write, Reset or
    /// assignment, and not beyond the stream.
    std::span<const std::uint8_t> Bytes() const;

    /// A copy of the whole content, null when it is empty. Valid until the next GetBuffer,
    /// assignment or the stream's end.
    BYTE* GetBuffer();

    /// Drops the content; the positions stay.
    void Reset();

    /// The content as a stream, read from its start; null when it is empty. The same stream as
    /// before while nothing was written. It is borrowed, and dead after the next write that is
    /// followed by another GetIStream, and after this object's end.
    IStream* GetIStream();

    /// One value each. The library does not call these; they are for its users.
    CMemStream& operator>>(signed char& value);
    CMemStream& operator>>(unsigned char& value);
    CMemStream& operator>>(bool& value);
    CMemStream& operator>>(short& value);
    CMemStream& operator>>(unsigned short& value);
    CMemStream& operator>>(int& value);
    CMemStream& operator>>(unsigned int& value);
    CMemStream& operator>>(long& value);
    CMemStream& operator>>(unsigned long& value);
    CMemStream& operator>>(float& value);
    CMemStream& operator>>(double& value);
    CMemStream& operator>>(std::string& value);

    CMemStream& operator<<(signed char value);
    CMemStream& operator<<(unsigned char value);
    CMemStream& operator<<(bool value);
    CMemStream& operator<<(short value);
    CMemStream& operator<<(unsigned short value);
    CMemStream& operator<<(int value);
    CMemStream& operator<<(unsigned int value);
    CMemStream& operator<<(long value);
    CMemStream& operator<<(unsigned long value);
    CMemStream& operator<<(float value);
    CMemStream& operator<<(double value);
    CMemStream& operator<<(const std::string& value);

private:
    class Store;
    struct Layout;

    std::uint32_t ReadSome(void* buffer, std::uint32_t size);
    bool ResizeBuffer(std::uint64_t size);
    static void FreeGlobalBlock(HGLOBAL block);
    using CGlobalBlock = CUniqueHandle<HGLOBAL, &CMemStream::FreeGlobalBlock>;
    template <typename T>
    CMemStream& Extract(T& value);
    template <typename T>
    CMemStream& Insert(const T& value);

    std::unique_ptr<Store> m_pStore;
    std::uint32_t m_nReadPosition = 0;
    std::uint32_t m_nWritePosition = 0;
    IStream* m_pStream = nullptr;
    bool m_bDirty = false;
    CGlobalBlock m_hGlobal;     ///< under m_pStream, which does not free it
    BYTE* m_pBuffer = nullptr;  ///< malloc's
};

}  // namespace Terrascope
