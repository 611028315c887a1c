#include "RichEditCtrl.h"

#include <richedit.h>

IMPLEMENT_DYNAMIC(CRichEditCtrl, CWnd)

void CRichEditCtrl::LimitText(LONG bytes) {
    SendMessage(EM_EXLIMITTEXT, 0, bytes);
}
