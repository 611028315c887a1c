#pragma once

#include "../Export.h"
#include "../core/HandleMember.h"
#include "../core/Object.h"
#include "../core/String.h"
#include "GdiObject.h"
#include "Geometry.h"

class CWnd;

/// A device context.
///
/// Units:   the context's logical units, unless a function says otherwise.
/// Owns:    the handle when it was made or attached; the destructor deletes it. FromHandle's object
///          and the classes below give theirs back instead.
/// Threads: one at a time.
class FRAMEWORK_API CDC : public CObject {
public:
    CDC() = default;
    ~CDC() override { DeleteDC(); }

    HDC m_hDC = nullptr;

    HDC GetSafeHdc() const { return m_hDC; }
    operator HDC() const { return m_hDC; }
    BOOL Attach(HDC dc) { return Member::Attach(m_hDC, dc); }
    HDC Detach() { return Member::Detach(m_hDC); }
    BOOL CreateCompatibleDC(CDC* like);
    BOOL DeleteDC() { return Member::Close(m_hDC); }

    int SaveDC() { return ::SaveDC(m_hDC); }
    BOOL RestoreDC(int saved) { return ::RestoreDC(m_hDC, saved); }
    int GetDeviceCaps(int index) const { return ::GetDeviceCaps(m_hDC, index); }

    HGDIOBJ SelectObject(CGdiObject* object) { return ::SelectObject(m_hDC, object->m_hObject); }
    COLORREF SetTextColor(COLORREF colour) { return ::SetTextColor(m_hDC, colour); }
    COLORREF SetBkColor(COLORREF colour) { return ::SetBkColor(m_hDC, colour); }
    int SetBkMode(int mode) { return ::SetBkMode(m_hDC, mode); }

    int SetMapMode(int mode) { return ::SetMapMode(m_hDC, mode); }
    CSize SetWindowExt(int cx, int cy);
    CSize SetViewportExt(int cx, int cy);
    int IntersectClipRect(LPCRECT rect) {
        return ::IntersectClipRect(m_hDC, rect->left, rect->top, rect->right, rect->bottom);
    }

    BOOL BitBlt(int x, int y, int width, int height, CDC* from, int fromX, int fromY, DWORD rop) {
        return ::BitBlt(m_hDC, x, y, width, height, from->m_hDC, fromX, fromY, rop);
    }
    void FillSolidRect(LPCRECT rect, COLORREF colour);
    /// A frame of one unit: left and top edges, right and bottom edges.
    void Draw3dRect(int x, int y, int width, int height, COLORREF topLeft, COLORREF bottomRight);

private:
    using Member = HandleMember<HDC, &::DeleteDC>;
};

/// The client area's device context between BeginPaint and EndPaint.
class FRAMEWORK_API CPaintDC : public CDC {
public:
    /// Throws CResourceException when the system has no context to give.
    explicit CPaintDC(CWnd* window);
    ~CPaintDC() override;

    PAINTSTRUCT m_ps{};

private:
    HWND m_window;
};

/// The client area's device context for as long as the object lives.
class FRAMEWORK_API CClientDC : public CDC {
public:
    explicit CClientDC(CWnd* window);
    ~CClientDC() override;

private:
    HWND m_window;
};
