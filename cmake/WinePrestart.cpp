// Opens a window and ends. wine-run.sh runs it right after it has started a Wine server: the first
// window of a server starts Wine's desktop process, which would else hold the pipes of the test
// that happens to be first, and the test runner would wait for it.
#include <windows.h>

int main() {
    const HWND window =
        CreateWindowA("STATIC", "", WS_POPUP, 0, 0, 1, 1, nullptr, nullptr, nullptr, nullptr);
    return window && DestroyWindow(window) ? 0 : 1;
}
