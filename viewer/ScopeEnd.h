#pragma once

#include <utility>

namespace Viewer {

/// Does something at the end of the scope, however that is left. The SDK gives hosts the interface
/// of the library and no helpers, so this one is the viewer's own.
template <class TAction>
class ScopeEnd {
public:
    explicit ScopeEnd(TAction action) : m_action(std::move(action)) {}
    ~ScopeEnd() { m_action(); }
    ScopeEnd(const ScopeEnd&) = delete;
    ScopeEnd& operator=(const ScopeEnd&) = delete;

private:
    const TAction m_action;
};

}  // namespace Viewer
