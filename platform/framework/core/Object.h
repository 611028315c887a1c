#pragma once

#include "../Export.h"
#include "Windows.h"

class CArchive;
class CDumpContext;

/// The record of a class with DECLARE_DYNAMIC; one static object per class.
struct FRAMEWORK_API CRuntimeClass {
    LPCSTR m_lpszClassName;
    int m_nObjectSize;
    const CRuntimeClass* m_pBaseClass;

    BOOL IsDerivedFrom(const CRuntimeClass* base) const;
};

/// The root of the framework's classes. The order of the virtual functions is part of the binary
/// interface of exported classes; objects are not copied.
class FRAMEWORK_API CObject {
public:
    virtual CRuntimeClass* GetRuntimeClass() const;
    virtual ~CObject();
    virtual void Serialize(CArchive& archive);
    virtual void AssertValid() const;
    virtual void Dump(CDumpContext& context) const;

    CObject(const CObject&) = delete;
    CObject& operator=(const CObject&) = delete;

    /// TRUE when the object's class is `wanted` or derives from it.
    BOOL IsKindOf(const CRuntimeClass* wanted) const;

    static CRuntimeClass* GetThisClass();

protected:
    CObject() = default;
};

#define RUNTIME_CLASS(name) (name::GetThisClass())

#define DECLARE_DYNAMIC(name)             \
public:                                   \
    static CRuntimeClass* GetThisClass(); \
    CRuntimeClass* GetRuntimeClass() const override;

#define IMPLEMENT_DYNAMIC(name, base)                                         \
    CRuntimeClass* name::GetThisClass() {                                     \
        static CRuntimeClass record = {#name, static_cast<int>(sizeof(name)), \
                                       RUNTIME_CLASS(base)};                  \
        return &record;                                                       \
    }                                                                         \
    CRuntimeClass* name::GetRuntimeClass() const {                            \
        return GetThisClass();                                                \
    }
