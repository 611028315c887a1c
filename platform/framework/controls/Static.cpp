#include "Static.h"

IMPLEMENT_DYNAMIC(CStatic, CWnd)
