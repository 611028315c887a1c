#pragma once

#include <afx.h>

namespace Terrascope {

/// Whether the call throws this one of the framework's exceptions, which is deleted.
template <class Exception, class Call>
bool Throws(Call call) {
    try {
        call();
    } catch (Exception* thrown) {
        thrown->Delete();
        return true;
    }
    return false;
}

}  // namespace Terrascope
