#pragma once

/// The framework's common controls.
#include "afxwin.h"

#include <commctrl.h>
#include <richedit.h>

#include "controls/ListCtrl.h"
#include "controls/RichEditCtrl.h"
