#include "plugins/web/HttpOperation.h"

#include "plugins/common/LeasePool.h"

namespace Terrascope::Plugins {
namespace {

/// Never destroyed: a request may outlive the module's end at the end of the process.
CLeasePool<HttpOperation::Share>& Spares() {
    static auto* const spares = new CLeasePool<HttpOperation::Share>;
    return *spares;
}

}  // namespace

Milliseconds HttpOperation::Now() {
    return static_cast<Milliseconds>(::GetTickCount64());
}

HttpOperation::Loan::Loan(std::size_t mostBytes) : m_share(Spares().Take()) {
    // One whose request has not ended is still written to.
    if (m_share == nullptr || m_share->use_count() != 1) {
        m_share = std::make_unique<Share>(std::make_shared<HttpOperation>());
    }
    std::atomic_thread_fence(std::memory_order_acquire);  // after the count
    (*m_share)->Reset(mostBytes);
}

HttpOperation::Loan::~Loan() {
    Spares().PutBack(std::move(m_share));
}

void HttpOperation::Reset(std::size_t mostBytes) {
    CSingleLock lock(&m_lock, TRUE);
    connected = 0;
    answered = 0;
    completed = 0;
    error = 0;
    bytes = 0;
    m_mostBytes = mostBytes;
    m_isAbandoned = false;
}

void HttpOperation::Abandon() {
    CSingleLock lock(&m_lock, TRUE);
    m_isAbandoned = true;
}

// A condition variable and no event: that would be two calls of the system's more for each tile.
void HttpOperation::Wait(const Cancellation& cancellation, DWORD milliseconds) {
    ::AcquireSRWLockExclusive(&m_wakeLock);
    if (completed == 0 && !cancellation.IsCancelled()) {
        ::SleepConditionVariableSRW(&m_wake, &m_wakeLock, milliseconds, 0);
    }
    ::ReleaseSRWLockExclusive(&m_wakeLock);
}

void HttpOperation::Wake() {
    // A caller that has looked and is about to sleep has the lock.
    ::AcquireSRWLockExclusive(&m_wakeLock);
    ::ReleaseSRWLockExclusive(&m_wakeLock);
    ::WakeConditionVariable(&m_wake);
}

void HttpOperation::Complete(DWORD status) {
    ::AcquireSRWLockExclusive(&m_wakeLock);
    completed = status;
    ::ReleaseSRWLockExclusive(&m_wakeLock);
    ::WakeConditionVariable(&m_wake);
}

/// Takes a step that WinHTTP completes later; what it answers at once is an error or nothing.
template <class TStep>
void HttpOperation::Take(TStep step) {
    CSingleLock lock(&m_lock, TRUE);
    if (!m_isAbandoned && !step()) {
        error = ::GetLastError();
        Complete(WINHTTP_CALLBACK_STATUS_REQUEST_ERROR);
    }
}

/// Whether the answer has a body that is wanted. What is odd about its length the caller finds out.
bool HttpOperation::MayRead(HINTERNET request) const {
    DWORD number = 0;
    DWORD size = sizeof number;
    const auto query = [&](DWORD what) {
        return ::WinHttpQueryHeaders(request, what | WINHTTP_QUERY_FLAG_NUMBER,
                                     WINHTTP_HEADER_NAME_BY_INDEX, &number, &size,
                                     WINHTTP_NO_HEADER_INDEX) != FALSE;
    };
    if (!query(WINHTTP_QUERY_STATUS_CODE) || !HasBody(static_cast<int>(number))) {
        return false;
    }
    return query(WINHTTP_QUERY_CONTENT_LENGTH) ? number > 0 && number <= m_mostBytes
                                               : ::GetLastError() == ERROR_WINHTTP_HEADER_NOT_FOUND;
}

void CALLBACK HttpOperation::OnStatus(HINTERNET request, DWORD_PTR context, DWORD status,
                                      void* info, DWORD length) {
    auto* share = reinterpret_cast<Share*>(context);
    if (share == nullptr) {
        return;
    }
    const Share kept = *share;  // to the end of this call, whatever the caller does meanwhile
    HttpOperation& operation = *kept;
    switch (status) {
        case WINHTTP_CALLBACK_STATUS_HANDLE_CLOSING:
            delete share;
            return;
        case WINHTTP_CALLBACK_STATUS_SENDING_REQUEST:
            operation.connected = Now();  // the caller looks when its time for that is over
            return;
        case WINHTTP_CALLBACK_STATUS_SENDREQUEST_COMPLETE:
            operation.Take([=] { return ::WinHttpReceiveResponse(request, nullptr) != FALSE; });
            return;
        case WINHTTP_CALLBACK_STATUS_HEADERS_AVAILABLE:
            operation.answered = Now();
            operation.Take([&] {
                if (!operation.MayRead(request)) {
                    operation.Complete(status);
                    return true;
                }
                return ::WinHttpReadData(request, operation.buffer.data(), kBufferBytes, nullptr) !=
                       FALSE;
            });
            return;
        case WINHTTP_CALLBACK_STATUS_READ_COMPLETE:
            operation.bytes = length;
            operation.Complete(status);
            return;
        case WINHTTP_CALLBACK_STATUS_REQUEST_ERROR:
            operation.error = static_cast<const WINHTTP_ASYNC_RESULT*>(info)->dwError;
            operation.Complete(status);
            return;
        default:
            return;
    }
}

}  // namespace Terrascope::Plugins
