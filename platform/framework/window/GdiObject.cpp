#include "GdiObject.h"

BOOL CGdiObject::Attach(HGDIOBJ object) {
    if (object == nullptr) {
        return FALSE;
    }
    m_hObject = object;
    return TRUE;
}

HGDIOBJ CGdiObject::Detach() {
    const HGDIOBJ object = m_hObject;
    m_hObject = nullptr;
    return object;
}

BOOL CGdiObject::DeleteObject() {
    const HGDIOBJ object = Detach();
    return object != nullptr && ::DeleteObject(object);
}
