#pragma once

#include <afxwin.h>

namespace Viewer {

/// The picture that a window shows, 32 bits a pixel, top row first: the window is painted into it
/// and then copied to the screen in one go, so that nobody sees a half-painted frame.
///
/// Units:   client pixels, y downwards.
/// Threads: the user-interface thread.
class CFrameBuffer {
public:
    CFrameBuffer() = default;
    ~CFrameBuffer();
    CFrameBuffer(const CFrameBuffer&) = delete;
    CFrameBuffer& operator=(const CFrameBuffer&) = delete;

    /// Makes a new black picture. False, and the buffer empty, when memory is short or a side is
    /// not positive.
    bool Resize(CSize size);

    bool IsEmpty() const { return m_bits == nullptr; }
    CSize Size() const { return m_size; }

    /// The device context that paints into the picture; valid until the next Resize.
    CDC& Dc() { return m_dc; }

    /// Writes the picture as PNG; false when the file cannot be written, and then none is left.
    bool SavePng(const CString& path) const;

private:
    void Release();

    CSize m_size{0, 0};
    CDC m_dc;
    HBITMAP m_bitmap = nullptr;
    HGDIOBJ m_formerBitmap = nullptr;
    void* m_bits = nullptr;  ///< of m_bitmap
};

}  // namespace Viewer
