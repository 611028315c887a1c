#include "viewer/FrameBuffer.h"

#include <objidl.h>

#include <algorithm>
#include <string>

// What <gdiplus.h> takes from windows.h, which defines no min and max here.
namespace Gdiplus {
using std::max;
using std::min;
}  // namespace Gdiplus
#include <gdiplus.h>

namespace Viewer {
namespace {

/// GDI+ for the length of one piece of work. Its objects must be gone before.
class CGdiplus {
public:
    CGdiplus() {
        const Gdiplus::GdiplusStartupInput input;
        Gdiplus::GdiplusStartup(&m_token, &input, nullptr);
    }
    ~CGdiplus() {
        if (m_token != 0) {
            Gdiplus::GdiplusShutdown(m_token);
        }
    }
    CGdiplus(const CGdiplus&) = delete;
    CGdiplus& operator=(const CGdiplus&) = delete;

private:
    ULONG_PTR m_token = 0;
};

/// GDI+'s PNG encoder, the same on every Windows.
constexpr CLSID kPngEncoder = {
    0x557cf406, 0x1a04, 0x11d3, {0x9a, 0x73, 0x00, 0x00, 0xf8, 0x1e, 0xf3, 0x2e}};

std::wstring Widen(const CString& text) {
    const int length = MultiByteToWideChar(CP_ACP, 0, text, -1, nullptr, 0);
    std::wstring wide(static_cast<size_t>(length), L'\0');
    MultiByteToWideChar(CP_ACP, 0, text, -1, wide.data(), length);
    return wide;
}

}  // namespace

CFrameBuffer::~CFrameBuffer() {
    Release();
}

bool CFrameBuffer::Resize(CSize size) {
    Release();
    if (size.cx <= 0 || size.cy <= 0) {
        return false;
    }
    BITMAPINFO info = {};
    info.bmiHeader.biSize = sizeof(info.bmiHeader);
    info.bmiHeader.biWidth = size.cx;
    info.bmiHeader.biHeight = -size.cy;  // negative: the top row comes first
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    m_bitmap = CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, &m_bits, nullptr, 0);
    if (m_bitmap == nullptr || !m_dc.CreateCompatibleDC(nullptr)) {
        Release();
        return false;
    }
    m_formerBitmap = SelectObject(m_dc.GetSafeHdc(), m_bitmap);
    m_size = size;
    return true;
}

void CFrameBuffer::Release() {
    if (m_dc.GetSafeHdc() != nullptr) {
        if (m_formerBitmap != nullptr) {
            SelectObject(m_dc.GetSafeHdc(), m_formerBitmap);
        }
        m_dc.DeleteDC();
    }
    if (m_bitmap != nullptr) {
        DeleteObject(m_bitmap);
    }
    m_formerBitmap = nullptr;
    m_bitmap = nullptr;
    m_bits = nullptr;
    m_size = CSize(0, 0);
}

bool CFrameBuffer::SavePng(const CString& path) const {
    if (IsEmpty()) {
        return false;
    }
    const CGdiplus gdiplus;
    GdiFlush();
    // RGB, not ARGB: GDI leaves the fourth byte of a pixel at zero.
    Gdiplus::Bitmap picture(m_size.cx, m_size.cy, m_size.cx * 4, PixelFormat32bppRGB,
                            static_cast<BYTE*>(m_bits));
    // Under another name first: an interrupted write must not leave half a picture under this one.
    const CString partial = path + ".part";
    if (picture.Save(Widen(partial).c_str(), &kPngEncoder, nullptr) == Gdiplus::Ok &&
        MoveFileExA(partial, path, MOVEFILE_REPLACE_EXISTING)) {
        return true;
    }
    DeleteFileA(partial);
    return false;
}

}  // namespace Viewer
