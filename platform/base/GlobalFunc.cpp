#include "platform/base/GlobalFunc.h"

#include <mbstring.h>

namespace GlobalFunc {

bool GetModulePath(HMODULE module, char* buffer, unsigned size) {
    if (size == 0)
        return false;
    const DWORD length = ::GetModuleFileNameA(module, buffer, size);
    auto* text = reinterpret_cast<unsigned char*>(buffer);
    // A name that was cut is not always terminated.
    unsigned char* end = nullptr;
    if (length > 0 && length < size)
        end = ::_mbsrchr(text, '\\');
    if (!end) {
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
