#include "platform/base/GlobalFunc.h"

namespace GlobalFunc {

bool GetModulePath(HMODULE module, char* buffer, unsigned size) {
    if (size == 0) {
        return false;
    }
    const DWORD length = ::GetModuleFileNameA(module, buffer, size);
    char* end = nullptr;
    // A name that was cut is not always terminated. CharNextA, unlike _mbsrchr, never steps over
    // the terminator.
    if (length > 0 && length < size) {
        for (char* at = buffer; *at != '\0'; at = ::CharNextA(at)) {
            end = *at == '\\' ? at : end;
        }
    }
    if (end == nullptr) {
        buffer[0] = '\0';
        return false;
    }
    end[1] = '\0';
    return true;
}

bool IsDirectoryCreated(const char* path) {
    ::CreateDirectoryA(path, nullptr);
    const DWORD attributes = ::GetFileAttributesA(path);
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

}  // namespace GlobalFunc
