#pragma once

#include "../window/Wnd.h"

/// A static control.
class FRAMEWORK_API CStatic : public CWnd {
    DECLARE_DYNAMIC(CStatic)
};
