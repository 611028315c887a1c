#include <afxwin.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace {

struct ModuleCloser {
    using pointer = HMODULE;
    void operator()(HMODULE module) const { ::FreeLibrary(module); }
};
using Module = std::unique_ptr<HMODULE, ModuleCloser>;

Module Load(const char* name) {
    return Module(::LoadLibraryA((std::string("Extensions\\") + name).c_str()));
}

/// Whose resource the framework finds; "" when nobody has it.
std::string OwnerOf(UINT id) {
    const char* name = MAKEINTRESOURCEA(id);
    const HINSTANCE module = AfxFindResourceHandle(name, RT_RCDATA);
    const HRSRC resource = ::FindResourceA(module, name, RT_RCDATA);
    if (!resource)
        return "";
    return static_cast<const char*>(::LockResource(::LoadResource(module, resource)));
}

TEST(Module, ResourcesAreFoundInTheApplicationThenInTheExtensionLoadedLast) {
    EXPECT_EQ(OwnerOf(1), "application");
    EXPECT_EQ(OwnerOf(2), "");
    EXPECT_EQ(AfxFindResourceHandle(MAKEINTRESOURCEA(2), RT_RCDATA), AfxGetInstanceHandle());

    const Module first = Load("FirstExtension.dll");
    ASSERT_TRUE(first);
    EXPECT_EQ(OwnerOf(2), "first");
    {
        const Module second = Load("SecondExtension.dll");
        ASSERT_TRUE(second);
        EXPECT_EQ(OwnerOf(1), "application");
        EXPECT_EQ(OwnerOf(2), "second");
        EXPECT_EQ(OwnerOf(3), "first");
    }
    // An extension that is gone is not asked any more.
    EXPECT_EQ(OwnerOf(2), "first");
}

TEST(Module, TheApplicationMayNameAnotherModuleForItsResources) {
    const Module second = Load("SecondExtension.dll");
    ASSERT_TRUE(second);
    AfxSetResourceHandle(second.get());
    EXPECT_EQ(OwnerOf(1), "second");
    AfxSetResourceHandle(nullptr);
    EXPECT_EQ(OwnerOf(1), "application");
}

}  // namespace
