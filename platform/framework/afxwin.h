#pragma once

/// The framework's windows, dialogs, controls and device contexts.
#include "afx.h"
#include "controls/Static.h"
#include "module/Module.h"
#include "window/DataExchange.h"
#include "window/DeviceContext.h"
#include "window/Dialog.h"
#include "window/FrameWnd.h"
#include "window/GdiObject.h"
#include "window/Geometry.h"
#include "window/Menu.h"
#include "window/WinApp.h"
#include "window/Wnd.h"
