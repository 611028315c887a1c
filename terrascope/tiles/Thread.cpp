#include "terrascope/tiles/Thread.h"

#include <afx.h>
#include <objbase.h>

namespace Terrascope {

namespace {
constexpr DWORD kStopTimeout = 10000;
}

CThread::~CThread() {
    Stop();
}

void CThread::Start() {
    if (m_thread != nullptr) {
        return;
    }
    CreateStopEvent();
    m_thread = ::CreateThread(nullptr, 0, &CThread::Entry, this, 0, &m_threadId);
}

void CThread::Stop() {
    if (m_thread == nullptr) {
        CloseStopEvent();
        return;
    }
    ::SetEvent(m_stopEvent);
    if (::WaitForSingleObject(m_thread, kStopTimeout) != WAIT_OBJECT_0) {
        return;  // The thread still uses both handles.
    }
    CloseStopEvent();
    ::CloseHandle(m_thread);
    m_thread = nullptr;
}

bool CThread::ShouldStop(DWORD timeout) const {
    return m_stopEvent == nullptr || ::WaitForSingleObject(m_stopEvent, timeout) == WAIT_OBJECT_0;
}

bool CThread::IsFinished() const {
    return m_thread == nullptr || ::WaitForSingleObject(m_thread, 1) == WAIT_OBJECT_0;
}

void CThread::CreateStopEvent() {
    CloseStopEvent();

    // A name of its own for each start: no two threads may share an event.
    GUID guid{};
    CString name;
    LPOLESTR text = nullptr;
    if (SUCCEEDED(::CoCreateGuid(&guid)) && SUCCEEDED(::StringFromCLSID(guid, &text))) {
        name.Format("THREAD_EVENT_%ls", text);
        ::CoTaskMemFree(text);
    }
    m_stopEvent = ::CreateEventA(nullptr, TRUE, FALSE, name.IsEmpty() ? nullptr : name.GetString());
    ::ResetEvent(m_stopEvent);
}

void CThread::CloseStopEvent() {
    if (m_stopEvent != nullptr) {
        ::CloseHandle(m_stopEvent);
    }
    m_stopEvent = nullptr;
}

DWORD WINAPI CThread::Entry(void* parameter) {
    if (parameter == nullptr) {
        return 0;
    }
    try {
        static_cast<CThread*>(parameter)->Run();
    } catch (CException* e) {
        e->Delete();
    } catch (...) {
        // Nothing may leave a thread's start routine; the thread simply ends.
        return 0;
    }
    return 0;
}

}  // namespace Terrascope
