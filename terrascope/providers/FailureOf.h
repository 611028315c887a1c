#pragma once

#include <afx.h>

#include <exception>
#include <optional>
#include <string>

namespace Terrascope {

/// Runs a call into a plug-in, which must not throw but may. Nothing when it comes back; else the
/// text of what it threw, for the log. The text is a copy: the exception's own may lie in a library
/// that is unloaded next.
template <class TCall>
std::optional<std::string> FailureOf(TCall call) {
    try {
        call();
        return std::nullopt;
    } catch (const std::exception& failure) {
        const char* text = failure.what();
        return text != nullptr ? text : "";
    } catch (CException* failure) {
        // The framework throws pointers, which whoever catches them deletes.
        char text[256] = "";
        failure->GetErrorMessage(text, sizeof(text));
        failure->Delete();
        return text;
    } catch (...) {
        return "unknown exception";
    }
}

}  // namespace Terrascope
