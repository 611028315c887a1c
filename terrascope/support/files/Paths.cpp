#include "terrascope/support/files/Paths.h"

#include <shlwapi.h>

#include <algorithm>
#include <array>

#include "terrascope/support/text/MultibyteText.h"

// The linker gives each module this name for its own start.
extern "C" IMAGE_DOS_HEADER __ImageBase;  // NOLINT(bugprone-reserved-identifier)

namespace Terrascope {

namespace {

// The system's functions are given MAX_PATH; what is beyond is for code pages in which they
// count characters and write more bytes.
using PathBuffer = std::array<char, std::size_t{2} * MAX_PATH>;

CString CurrentDirectory() {
    PathBuffer buffer{};
    ::GetCurrentDirectoryA(MAX_PATH, buffer.data());
    return CString(buffer.data());
}

/// As many whole characters as fit in MAX_PATH, with the zero byte.
PathBuffer CopyBounded(std::string_view text) {
    PathBuffer buffer{};
    std::size_t length = 0;
    while (length < text.size()) {
        const std::size_t next = length + CharacterBytes(text, length);
        if (next >= MAX_PATH) {
            break;
        }
        length = next;
    }
    std::copy_n(text.begin(), length, buffer.begin());
    return buffer;
}

/// Base and path in one, canonical; empty when that is too long.
CString JoinPath(const CString& base, const CString& path) {
    PathBuffer joined = CopyBounded(ViewOf(base.IsEmpty() ? CurrentDirectory() : base));
    PathBuffer canonical{};
    if (path.GetLength() >= MAX_PATH || !::PathAppendA(joined.data(), path) ||
        !::PathCanonicalizeA(canonical.data(), joined.data())) {
        return CString();
    }
    return CString(canonical.data());
}

CString WithBackslashes(const CString& path) {
    CString result;
    std::string_view rest = ViewOf(path);
    for (std::size_t slash = FindCharacter(rest, '/'); slash != std::string_view::npos;
         slash = FindCharacter(rest, '/')) {
        result += ToCString(rest.substr(0, slash)) + "\\";
        rest.remove_prefix(slash + 1);
    }
    return result + ToCString(rest);
}

}  // namespace

HMODULE OwnModule() {
    return reinterpret_cast<HMODULE>(&__ImageBase);
}

CString ModuleFileName(HMODULE module) {
    // One more than is passed: some systems do not end a name that was cut.
    std::array<char, 1024 + 1> buffer{};
    ::GetModuleFileNameA(module, buffer.data(), static_cast<DWORD>(buffer.size() - 1));
    return CString(buffer.data());
}

CString ModuleFolder(HMODULE module) {
    return TextBeforeLastBackslash(ModuleFileName(module));
}

CString GetModuleFolderPath(const CString& moduleName) {
    HMODULE module = moduleName.IsEmpty() ? nullptr : ::GetModuleHandleA(moduleName);
    CString path = ModuleFileName(module != nullptr ? module : OwnModule());
    const std::size_t colon = FindCharacter(ViewOf(path), ':');
    if (colon != std::string_view::npos && colon >= 1) {
        path = ToCString(ViewOf(path).substr(colon - 1));
    }
    return TextBeforeLastBackslash(path);
}

CString TextBeforeLastBackslash(const CString& path) {
    const std::size_t last = FindLastCharacter(ViewOf(path), '\\');
    return last == std::string_view::npos ? CString() : ToCString(ViewOf(path).substr(0, last));
}

CString WithoutTrailingBackslash(const CString& path) {
    return EndsWithCharacter(ViewOf(path), '\\') ? path.Left(path.GetLength() - 1) : path;
}

bool IsRelativePath(const CString& path) {
    return ::PathIsRelativeA(path) == TRUE;
}

CString MakeRelativePath(const CString& path, const CString& baseFolder) {
    const CString base =
        baseFolder.IsEmpty() ? CurrentDirectory() : WithoutTrailingBackslash(baseFolder);
    PathBuffer relative{};
    if (path.GetLength() < MAX_PATH && base.GetLength() < MAX_PATH &&
        ::PathRelativePathToA(relative.data(), base, FILE_ATTRIBUTE_DIRECTORY, path,
                              FILE_ATTRIBUTE_NORMAL)) {
        return CString(relative.data());
    }
    return path;
}

CString MakeRelativePath(const char* path, const char* baseFolder) {
    return MakeRelativePath(CString(path), CString(baseFolder));
}

CString MakeAbsolutePath(const CString& path, const CString& baseFolder) {
    const CString joined = JoinPath(baseFolder, WithBackslashes(path));
    return joined.IsEmpty() ? path : joined;
}

CString MakeAbsolutePath(const char* path, const char* baseFolder) {
    const CString joined = JoinPath(CString(baseFolder), CString(path));
    return joined.IsEmpty() ? CString(path) : joined;
}

}  // namespace Terrascope
