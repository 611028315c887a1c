#pragma once

#include "../core/Windows.h"

class CRect;

/// An extent; adds to points and rectangles.
class CSize : public tagSIZE {
public:
    CSize() : tagSIZE{0, 0} {}
    CSize(int width, int height) : tagSIZE{width, height} {}
    CSize(SIZE size) : tagSIZE(size) {}
    explicit CSize(POINT point) : tagSIZE{point.x, point.y} {}

    BOOL operator==(SIZE other) const { return cx == other.cx && cy == other.cy; }
    BOOL operator!=(SIZE other) const { return !(*this == other); }
    void operator+=(SIZE other) { cx += other.cx, cy += other.cy; }
    void operator-=(SIZE other) { cx -= other.cx, cy -= other.cy; }
    CSize operator+(SIZE other) const { return SIZE{cx + other.cx, cy + other.cy}; }
    CSize operator-(SIZE other) const { return SIZE{cx - other.cx, cy - other.cy}; }
    CSize operator-() const { return SIZE{-cx, -cy}; }
};

/// A place; the difference of two is a CSize.
class CPoint : public tagPOINT {
public:
    CPoint() : tagPOINT{0, 0} {}
    CPoint(int left, int top) : tagPOINT{left, top} {}
    CPoint(POINT point) : tagPOINT(point) {}
    explicit CPoint(SIZE size) : tagPOINT{size.cx, size.cy} {}
    /// x in the low word, y in the high word, both signed: as mouse messages have them.
    explicit CPoint(LPARAM packed)
        : tagPOINT{static_cast<short>(LOWORD(packed)), static_cast<short>(HIWORD(packed))} {}

    void Offset(int dx, int dy) { x += dx, y += dy; }
    void Offset(POINT by) { x += by.x, y += by.y; }
    BOOL operator==(POINT other) const { return x == other.x && y == other.y; }
    BOOL operator!=(POINT other) const { return !(*this == other); }
    void operator+=(SIZE by) { x += by.cx, y += by.cy; }
    void operator-=(SIZE by) { x -= by.cx, y -= by.cy; }
    CPoint operator+(SIZE by) const { return POINT{x + by.cx, y + by.cy}; }
    CPoint operator-(SIZE by) const { return POINT{x - by.cx, y - by.cy}; }
    CPoint operator-() const { return POINT{-x, -y}; }
    CSize operator-(POINT other) const { return SIZE{x - other.x, y - other.y}; }
};

/// A rectangle: left and top edges in, right and bottom out.
class CRect : public tagRECT {
public:
    CRect() : tagRECT{0, 0, 0, 0} {}
    CRect(int l, int t, int r, int b) : tagRECT{l, t, r, b} {}
    CRect(const RECT& rect) : tagRECT(rect) {}
    CRect(POINT point, SIZE size)
        : tagRECT{point.x, point.y, point.x + size.cx, point.y + size.cy} {}
    CRect(POINT topLeft, POINT bottomRight)
        : tagRECT{topLeft.x, topLeft.y, bottomRight.x, bottomRight.y} {}

    int Width() const { return right - left; }
    int Height() const { return bottom - top; }
    CSize Size() const { return SIZE{right - left, bottom - top}; }
    CPoint TopLeft() const { return POINT{left, top}; }
    CPoint BottomRight() const { return POINT{right, bottom}; }
    CPoint CenterPoint() const { return POINT{(left + right) / 2, (top + bottom) / 2}; }

    operator LPRECT() { return this; }
    operator LPCRECT() const { return this; }

    BOOL IsRectEmpty() const { return ::IsRectEmpty(this); }
    BOOL IsRectNull() const { return left == 0 && top == 0 && right == 0 && bottom == 0; }
    BOOL PtInRect(POINT point) const { return ::PtInRect(this, point); }
    void SetRect(int l, int t, int r, int b) { *this = CRect(l, t, r, b); }
    void SetRectEmpty() { *this = CRect(); }
    void InflateRect(int x, int y) { ::InflateRect(this, x, y); }
    void DeflateRect(int x, int y) { ::InflateRect(this, -x, -y); }
    void OffsetRect(int x, int y) { ::OffsetRect(this, x, y); }
    void OffsetRect(POINT by) { ::OffsetRect(this, by.x, by.y); }
    void OffsetRect(SIZE by) { ::OffsetRect(this, by.cx, by.cy); }
    void NormalizeRect();
    BOOL IntersectRect(LPCRECT a, LPCRECT b) { return ::IntersectRect(this, a, b); }
    BOOL UnionRect(LPCRECT a, LPCRECT b) { return ::UnionRect(this, a, b); }

    BOOL operator==(const RECT& other) const { return ::EqualRect(this, &other); }
    BOOL operator!=(const RECT& other) const { return !::EqualRect(this, &other); }
};

inline void CRect::NormalizeRect() {
    *this = CRect(left < right ? left : right, top < bottom ? top : bottom,
                  left < right ? right : left, top < bottom ? bottom : top);
}
