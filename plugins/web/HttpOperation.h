#pragma once

#include <afxmt.h>

#include <winhttp.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "plugins/web/Cancellation.h"
#include "plugins/web/Clock.h"
#include "terrascope/support/ThreadAnnotations.h"

namespace Terrascope::Plugins {

/// What WinHTTP's threads write to for one request, and what wakes the caller. They take the
/// request from its sending to the first part of the body by themselves, so that the caller wakes
/// once.
///
/// Threads: there is one step at a time, and the caller reads what is no atomic only when
/// `completed`
///          is set.
/// Locks:   steps are taken under one, and may complete at once; waking has another, innermost.
/// Ends:    with its last share: the request has one from its opening to its last notification.
class HttpOperation final : public Cancellation::IWaiter {
public:
    using Share = std::shared_ptr<HttpOperation>;
    static constexpr DWORD kBufferBytes = 64 * 1024;

    std::atomic<Milliseconds> connected{0};  ///< when the request began to be sent; 0: not yet
    std::atomic<Milliseconds> answered{0};   ///< when the answer's headers were there; 0: not yet
    std::atomic<DWORD> completed{0};         ///< WINHTTP_CALLBACK_STATUS_...; 0: nothing yet
    DWORD error = 0;
    DWORD bytes = 0;                                  ///< in the buffer
    std::array<std::uint8_t, kBufferBytes> buffer{};  ///< of the body's type: copied at once

    /// For a request whose answer is not read if it announces more than so many bytes.
    void Reset(std::size_t mostBytes);

    /// Ends the threads' own steps; then the request may be closed. A step that is being taken at
    /// this moment is waited for: its handle would be another request's after the closing.
    void Abandon();

    /// Waits until something is completed, or cancelled, up to so many milliseconds.
    void Wait(const Cancellation& cancellation, DWORD milliseconds);
    void Wake() override;

    /// The request's status callback; the context is a Share*, which the last notification deletes.
    static void CALLBACK OnStatus(HINTERNET request, DWORD_PTR context, DWORD status, void* info,
                                  DWORD length);

    static bool HasBody(int status) { return status == 200 || status == 206; }
    static Milliseconds Now();

    /// An operation for one request after the other: to clear a new buffer costs more than to fill
    /// it.
    class Loan {
    public:
        explicit Loan(std::size_t mostBytes);
        ~Loan();
        Loan(const Loan&) = delete;
        Loan& operator=(const Loan&) = delete;

        const Share& Shared() const { return *m_share; }
        HttpOperation* operator->() const { return m_share->get(); }

    private:
        std::unique_ptr<Share> m_share;
    };

private:
    template <class TStep>
    void Take(TStep step);
    void Complete(DWORD status);
    bool MayRead(HINTERNET request) const;

    SRWLOCK m_wakeLock = SRWLOCK_INIT;
    CONDITION_VARIABLE m_wake = CONDITION_VARIABLE_INIT;
    std::size_t m_mostBytes = 0;
    CCriticalSection m_lock;
    bool m_isAbandoned TERRASCOPE_GUARDED_BY(m_lock) = false;
};

}  // namespace Terrascope::Plugins
