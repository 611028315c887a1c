#pragma once

#include <afx.h>
#include <ocidl.h>

namespace Terrascope {

/// A point of two floats. Offset and the -= with a whole-number point both *subtract*: they move
/// the origin, not the point.
///
/// Units: those of the caller (logical units, map units on screen); no axis direction of its own.
class CPointF : public tagPOINTF {
public:
    CPointF() : CPointF(0.0F, 0.0F) {}
    CPointF(float xValue, float yValue) {
        x = xValue;
        y = yValue;
    }
    CPointF(const tagPOINTF& other) : CPointF(other.x, other.y) {}
    CPointF(const CPointF& other) : CPointF(other.x, other.y) {}
    virtual ~CPointF() = default;

    CPointF& operator=(const CPointF& other) {
        x = other.x;
        y = other.y;
        return *this;
    }

    /// Exact, without a tolerance.
    bool operator==(const CPointF& other) const { return x == other.x && y == other.y; }
    bool operator!=(const CPointF& other) const { return !(*this == other); }

    CPointF operator+(const CPointF& other) const { return {x + other.x, y + other.y}; }
    CPointF operator-(const CPointF& other) const { return {x - other.x, y - other.y}; }

    CPointF& operator+=(const CPointF& other) {
        x += other.x;
        y += other.y;
        return *this;
    }
    CPointF& operator-=(const CPointF& other) {
        Offset(other.x, other.y);
        return *this;
    }
    CPointF& operator-=(const POINT& other) {
        Offset(static_cast<float>(other.x), static_cast<float>(other.y));
        return *this;
    }

    /// Subtracts the two amounts: callers pass the new origin's place.
    void Offset(float dx, float dy) {
        x -= dx;
        y -= dy;
    }
};

}  // namespace Terrascope
