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
    return resource != nullptr
               ? static_cast<const char*>(::LockResource(::LoadResource(module, resource)))
               : "";
}

TEST(Module, ResourcesAreFoundInTheApplicationThenInTheExtensionLoadedLast) {
    EXPECT_EQ("application", OwnerOf(1));
    EXPECT_EQ(AfxGetInstanceHandle(), AfxFindResourceHandle(MAKEINTRESOURCEA(2), RT_RCDATA));
    const HMODULE first = Load("FirstExtension.dll");
    EXPECT_EQ("first", OwnerOf(2));
    const HMODULE second = Load("SecondExtension.dll");
    EXPECT_EQ("applicationsecondfirst", OwnerOf(1) + OwnerOf(2) + OwnerOf(3));
    AfxSetResourceHandle(second);
    EXPECT_EQ("second", OwnerOf(1));
    AfxSetResourceHandle(nullptr);
    EXPECT_EQ("application", OwnerOf(1));
    ::FreeLibrary(second);
    EXPECT_EQ("first", OwnerOf(2));
    ::FreeLibrary(first);
    EXPECT_EQ("", OwnerOf(2));
}

}  // namespace
