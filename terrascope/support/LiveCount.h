#pragma once

#include <atomic>

namespace Terrascope {

/// An empty base that counts the objects of a class that are alive in this module, so that tests
/// find a leak.
template <class Counted>
class CLiveCount {
public:
    static int Live() { return s_live; }

protected:
    CLiveCount() { ++s_live; }
    CLiveCount(const CLiveCount&) { ++s_live; }
    CLiveCount& operator=(const CLiveCount&) = default;
    ~CLiveCount() { --s_live; }

private:
    static inline std::atomic<int> s_live{0};
};

}  // namespace Terrascope
