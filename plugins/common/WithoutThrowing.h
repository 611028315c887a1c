#pragma once

#include <afx.h>

#include <exception>

#include "terrascope/support/LogSink.h"

namespace Terrascope::Plugins {

/// Runs a piece of a provider's work that must not throw into the library, which was built apart.
/// After an exception, which is logged, the result is an empty one.
template <class TResult, class TWork>
TResult WithoutThrowing(const char* provider, TWork work) {
    try {
        return work();
    } catch (const std::exception& failure) {
        LogLine("%s: %s", provider, failure.what());
    } catch (CException* failure) {
        failure->Delete();
        LogLine("%s failed", provider);
    } catch (...) {
        LogLine("%s failed", provider);
    }
    return TResult{};
}

}  // namespace Terrascope::Plugins
