#include "WinApp.h"

#include "../core/Exception.h"

namespace {
CWinApp* application = nullptr;
}

CWinApp::CWinApp() {
    application = this;
}

CWinApp::~CWinApp() {
    if (application == this) {
        application = nullptr;
    }
}

int CWinApp::Run() {
    while (::GetMessageA(&m_exitMessage, nullptr, 0, 0) > 0) {
        if (PreTranslateMessage(&m_exitMessage)) {
            continue;
        }
        ::TranslateMessage(&m_exitMessage);
        ::DispatchMessageA(&m_exitMessage);
    }
    return ExitInstance();
}

BOOL CWinApp::PreTranslateMessage(MSG* message) {
    for (HWND window = message->hwnd; window != nullptr; window = ::GetParent(window)) {
        CWnd* object = CWnd::FromHandlePermanent(window);
        if (object != nullptr && object->PreTranslateMessage(message)) {
            return TRUE;
        }
    }
    return FALSE;
}

CWinApp* AfxGetApp() {
    return application;
}

CWnd* AfxGetMainWnd() {
    return application != nullptr ? application->m_pMainWnd : nullptr;
}

int AfxMessageBox(LPCSTR text, UINT type) {
    char path[MAX_PATH] = "";
    ::GetModuleFileNameA(nullptr, path, MAX_PATH - 1);
    CString title(path);
    title = title.Mid(title.ReverseFind('\\') + 1);
    if (const int dot = title.ReverseFind('.'); dot > 0) {
        title = title.Left(dot);
    }
    return ::MessageBoxA(::GetActiveWindow(), text, title, type);
}

int AfxWinMain(HINSTANCE, HINSTANCE, LPSTR, int show) {
    CWinApp* app = AfxGetApp();
    if (app == nullptr) {
        return -1;
    }
    app->m_nCmdShow = show;
    try {
        if (!app->InitInstance()) {
            if (app->m_pMainWnd != nullptr) {
                app->m_pMainWnd->DestroyWindow();
            }
            return app->ExitInstance();
        }
        return app->Run();
    } catch (CException* failed) {
        failed->Delete();
        return -1;
    }
}
