#include <afxwin.h>

#include <gtest/gtest.h>

#include <string>

namespace {

HMODULE Load(const char* name) {
    return ::LoadLibraryA((std::string("Extensions\\") + name).c_str());
}

/// Whose resource the framework finds; "" when nobody has it.
std::string OwnerOf(UINT id) {
    const char* name = MAKEINTRESOURCEA(id);
    const HINSTANCE module = AfxFindResourceHandle(name, RT_RCDATA);
    const HRSRC resource = ::FindResourceA(module, name, RT_RCDATA);
    return resource ? static_cast<const char*>(::LockResource(::LoadResource(module, resource)))
                    : "";
}

TEST(Module, ResourcesAreFoundInTheApplicationThenInTheExtensionLoadedLast) {
    EXPECT_EQ(OwnerOf(1), "application");
    EXPECT_EQ(AfxFindResourceHandle(MAKEINTRESOURCEA(2), RT_RCDATA), AfxGetInstanceHandle());
    const HMODULE first = Load("FirstExtension.dll");
    EXPECT_EQ(OwnerOf(2), "first");
    const HMODULE second = Load("SecondExtension.dll");
    EXPECT_EQ(OwnerOf(1) + OwnerOf(2) + OwnerOf(3), "applicationsecondfirst");
    AfxSetResourceHandle(second);
    EXPECT_EQ(OwnerOf(1), "second");
    AfxSetResourceHandle(nullptr);
    EXPECT_EQ(OwnerOf(1), "application");
    ::FreeLibrary(second);
    EXPECT_EQ(OwnerOf(2), "first");
    ::FreeLibrary(first);
    EXPECT_EQ(OwnerOf(2), "");
}

}  // namespace
