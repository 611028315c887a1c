#include "Object.h"

#include "Diagnostics.h"

BOOL CRuntimeClass::IsDerivedFrom(const CRuntimeClass* base) const {
    for (const CRuntimeClass* at = this; at != nullptr; at = at->m_pBaseClass) {
        if (at == base) {
            return TRUE;
        }
    }
    return FALSE;
}

CObject::~CObject() = default;
void CObject::Serialize(CArchive&) {}
void CObject::AssertValid() const {}
void CObject::Dump(CDumpContext&) const {}

CRuntimeClass* CObject::GetThisClass() {
    static CRuntimeClass record = {"CObject", static_cast<int>(sizeof(CObject)), nullptr};
    return &record;
}

CRuntimeClass* CObject::GetRuntimeClass() const {
    return GetThisClass();
}

BOOL CObject::IsKindOf(const CRuntimeClass* wanted) const {
    return GetRuntimeClass()->IsDerivedFrom(wanted);
}
