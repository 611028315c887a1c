#pragma once

#include <afx.h>

#include <initializer_list>
#include <variant>

namespace Terrascope {

/// What replaces a conversion of a pattern: "%d", "%.5f" or "%s".
using PatternValue = std::variant<int, double, CString>;

/// Fills the conversions of a printf-style pattern with the values, in their order. Made for
/// patterns from language files, which nobody has checked: a conversion that does not fit its
/// value, or has none, stays in the text as it is written. Flags, a width and a precision of up to
/// two digits each are kept for numbers; "%%" is one per cent sign.
CString FillPattern(const CString& pattern, std::initializer_list<PatternValue> values);

}  // namespace Terrascope
