#pragma once

#include <afx.h>

#include <optional>
#include <string>

#include "plugins/split_file/MapDescription.h"

namespace Terrascope::Plugins {

/// Reads checked values and remembers the first one that was unusable; later reads go on with
/// whatever they find, so that a reader needs to ask only once, at its end.
class IniValues {
public:
    explicit IniValues(CCustomIniFile& file) : m_file(file) {}

    /// Without blanks at both ends; empty when it is absent.
    CString Text(const CString& section, const char* key) const;

    /// A number from `least` to `most`. Without a fallback the key must be there.
    int Whole(const CString& section, const char* key, int least, int most,
              std::optional<int> fallback = std::nullopt);
    double Real(const CString& section, const char* key, double least, double most,
                std::optional<double> fallback = std::nullopt);

    /// Remembers the problem, unless there already is one.
    void Refuse(const CString& section, const char* key, const CString& reason);

    const std::optional<MapProblem>& Problem() const { return m_problem; }

private:
    CCustomIniFile& m_file;
    std::optional<MapProblem> m_problem;
};

/// "year-month-day" or "year-month-day hour:minute:second"; nothing for any other text, and for
/// times that the calendar lacks.
std::optional<SYSTEMTIME> ParseTime(const CString& text);

}  // namespace Terrascope::Plugins
