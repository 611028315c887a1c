#include "plugins/web/HttpTransfer.h"

#include <afxmt.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <charconv>
#include <memory>

#include "plugins/common/LeasePool.h"
#include "plugins/web/HttpErrors.h"
#include "terrascope/support/Handles.h"
#include "terrascope/support/ThreadAnnotations.h"

namespace Terrascope::Plugins {
namespace {

using InternetHandle = CUniqueHandle<HINTERNET, &::WinHttpCloseHandle>;

constexpr DWORD kBufferBytes = 64 * 1024;
constexpr std::size_t kUsualHeaders = 1024;  // letters
/// WINHTTP_AUTOLOGON_SECURITY_LEVEL_PROXY_ONLY of newer headers.
constexpr DWORD kLogOnToProxiesOnly = 3;
constexpr int kOk = 200;
constexpr int kPartialContent = 206;

Milliseconds Now() {
    return static_cast<Milliseconds>(::GetTickCount64());
}

/// What WinHTTP's threads write to, and the event that wakes the caller. They take a request from
/// its sending to the first part of the body by themselves, so that the caller wakes once. There is
/// one step at a time, and the caller reads what else was written only when `completed` is set.
struct Operation {
    CUniqueHandle<HANDLE, &::CloseHandle> event{::CreateEventW(nullptr, FALSE, FALSE, nullptr)};
    std::atomic<Milliseconds> connected{0};  ///< when the request began to be sent; 0: not yet
    std::atomic<Milliseconds> answered{0};   ///< when the answer's headers were there; 0: not yet
    std::atomic<DWORD> completed{0};         ///< WINHTTP_CALLBACK_STATUS_...; 0: nothing yet
    DWORD error = 0;
    DWORD bytes = 0;
    std::size_t mostBytes = 0;                        ///< a longer answer is not read
    std::array<std::uint8_t, kBufferBytes> buffer{};  ///< of the body's type: copied at once

    /// Ends the threads' own steps; then the request may be closed. A step that is being taken at
    /// this moment is waited for: its handle would be another request's after the closing.
    void Abandon() {
        CSingleLock lock(&m_lock, TRUE);
        m_isAbandoned = true;
    }
    void Reset(std::size_t most) {
        CSingleLock lock(&m_lock, TRUE);
        connected = 0;
        answered = 0;
        completed = 0;
        error = 0;
        bytes = 0;
        mostBytes = most;
        m_isAbandoned = false;
    }

    static void CALLBACK OnStatus(HINTERNET request, DWORD_PTR context, DWORD status, void* info,
                                  DWORD length);

private:
    /// Takes a step that WinHTTP completes later; what it answers at once is an error or nothing.
    template <class TStep>
    void Take(TStep step) {
        CSingleLock lock(&m_lock, TRUE);
        if (!m_isAbandoned && !step()) {
            error = ::GetLastError();
            Complete(WINHTTP_CALLBACK_STATUS_REQUEST_ERROR);
        }
    }
    void Complete(DWORD status) {
        completed = status;
        ::SetEvent(event.Get());
    }
    bool MayRead(HINTERNET request) const;

    CCriticalSection m_lock;  ///< steps are taken under it, and may complete at once
    bool m_isAbandoned TERRASCOPE_GUARDED_BY(m_lock) = false;
};

/// The request's share of its operation, from its opening to its very last notification.
using Share = std::shared_ptr<Operation>;

/// Whether the answer has a body that is wanted. What is odd about its length the caller finds out.
bool Operation::MayRead(HINTERNET request) const {
    DWORD number = 0;
    DWORD size = sizeof number;
    const auto query = [&](DWORD what) {
        return ::WinHttpQueryHeaders(request, what | WINHTTP_QUERY_FLAG_NUMBER,
                                     WINHTTP_HEADER_NAME_BY_INDEX, &number, &size,
                                     WINHTTP_NO_HEADER_INDEX) != FALSE;
    };
    if (!query(WINHTTP_QUERY_STATUS_CODE) || (number != kOk && number != kPartialContent)) {
        return false;
    }
    return query(WINHTTP_QUERY_CONTENT_LENGTH) ? number > 0 && number <= mostBytes
                                               : ::GetLastError() == ERROR_WINHTTP_HEADER_NOT_FOUND;
}

void CALLBACK Operation::OnStatus(HINTERNET request, DWORD_PTR context, DWORD status, void* info,
                                  DWORD length) {
    auto* share = reinterpret_cast<Share*>(context);
    if (share == nullptr) {
        return;
    }
    Operation& operation = **share;
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

/// ASCII only: addresses and headers have nothing else.
std::wstring Widened(const std::string& text) {
    std::wstring wide(text.size(), L'\0');
    std::transform(text.begin(), text.end(), wide.begin(),
                   [](char c) { return static_cast<wchar_t>(static_cast<unsigned char>(c)); });
    return wide;
}

std::string Narrowed(const wchar_t* begin, const wchar_t* end) {
    std::string narrow(static_cast<std::size_t>(end - begin), '\0');
    std::transform(begin, end, narrow.begin(),
                   [](wchar_t c) { return c < 0x100 ? static_cast<char>(c) : '?'; });
    return narrow;
}

std::string SmallLetters(std::string text) {
    for (char& c : text) {
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    }
    return text;
}

/// An operation for one request after the other: an event and a cleared buffer cost a good part of
/// what a whole request does.
class Loan {
public:
    explicit Loan(std::size_t mostBytes) : m_share(Spares().Take()) {
        // One whose request has not ended is still written to.
        if (m_share == nullptr || m_share->use_count() != 1) {
            m_share = std::make_unique<Share>(std::make_shared<Operation>());
        }
        std::atomic_thread_fence(std::memory_order_acquire);  // after the count
        (*m_share)->Reset(mostBytes);
    }
    ~Loan() { Spares().PutBack(std::move(m_share)); }
    Loan(const Loan&) = delete;
    Loan& operator=(const Loan&) = delete;

    const Share& Shared() const { return *m_share; }
    Operation* operator->() const { return m_share->get(); }

private:
    /// Never destroyed: a request may outlive the module's end at the end of the process.
    static CLeasePool<Share>& Spares() {
        static auto* const spares = new CLeasePool<Share>;
        return *spares;
    }

    std::unique_ptr<Share> m_share;
};

/// One request on its way.
class Request {
public:
    Request(const HttpLimits& limits, const Cancellation& cancellation)
        : m_limits(limits),
          m_cancellation(cancellation),
          m_end(Now() + limits.total),
          m_operation(limits.bytes) {}
    ~Request() { m_operation->Abandon(); }
    Request(const Request&) = delete;
    Request& operator=(const Request&) = delete;

    HttpResponse Run(HINTERNET session, const HttpRequest& request) {
        if (Open(session, request) && Send()) {
            ReadHead();
        }
        if (m_response.wasCancelled || !m_response.failure.empty()) {
            m_response.status = 0;
            m_response.body.clear();
        }
        return std::move(m_response);
    }

private:
    bool Fail(const char* what, DWORD error) {
        m_response.failure = what;
        m_error = error;
        if (error != 0) {
            const std::string words = WordsOf(error);
            m_response.failure += (words.empty() ? "" : ": ") + words;
            m_response.failure += " (error " + std::to_string(error) + ")";
        }
        return false;
    }

    /// A failure that is none of the host's.
    bool Refuse(const char* what, DWORD error) {
        m_response.isOurRefusal = true;
        return Fail(what, error);
    }

    bool Open(HINTERNET session, const HttpRequest& request) {
        const HttpAddress& address = request.address;
        m_connection = InternetHandle(
            ::WinHttpConnect(session, Widened(address.host).c_str(), address.port, 0));
        m_request = InternetHandle(
            m_connection
                ? ::WinHttpOpenRequest(
                      m_connection.Get(), L"GET", Widened(address.target).c_str(), nullptr,
                      WINHTTP_NO_REFERER, WINHTTP_DEFAULT_ACCEPT_TYPES,
                      WINHTTP_FLAG_ESCAPE_DISABLE | (address.isSecure ? WINHTTP_FLAG_SECURE : 0U))
                : nullptr);
        if (!m_request || !m_operation->event) {
            return Refuse("no request could be made", ::GetLastError());
        }
        auto share = std::make_unique<Share>(m_operation.Shared());
        m_context = reinterpret_cast<DWORD_PTR>(share.get());
        constexpr DWORD kNotifications = WINHTTP_CALLBACK_FLAG_ALL_COMPLETIONS |
                                         WINHTTP_CALLBACK_FLAG_SEND_REQUEST |
                                         WINHTTP_CALLBACK_FLAG_HANDLES;
        if (!SetOption(WINHTTP_OPTION_CONTEXT_VALUE, m_context) ||
            ::WinHttpSetStatusCallback(m_request.Get(), &Operation::OnStatus, kNotifications, 0) ==
                WINHTTP_INVALID_STATUS_CALLBACK) {
            // Nobody will be notified of the handle's end.
            return Refuse("no request could be made", ::GetLastError());
        }
        static_cast<void>(share.release());
        return Configure() && AddHeaders(request.headers);
    }

    template <class TValue>
    bool SetOption(DWORD option, TValue value) {
        return ::WinHttpSetOption(m_request.Get(), option, &value, sizeof value) != FALSE;
    }

    bool Configure() {
        // These end the request when nobody waits for it any more.
        const auto connect = static_cast<int>(m_limits.connect);
        const auto firstByte = static_cast<int>(m_limits.firstByte);
        ::WinHttpSetTimeouts(m_request.Get(), connect, connect, firstByte, firstByte);
        SetOption(WINHTTP_OPTION_RECEIVE_RESPONSE_TIMEOUT, static_cast<DWORD>(firstByte));
        // The user's passwords are for proxies at most, where the system has that choice.
        if (!SetOption(WINHTTP_OPTION_AUTOLOGON_POLICY, kLogOnToProxiesOnly)) {
            SetOption(WINHTTP_OPTION_AUTOLOGON_POLICY,
                      DWORD{WINHTTP_AUTOLOGON_SECURITY_LEVEL_HIGH});
        }
        SetOption(WINHTTP_OPTION_DISABLE_FEATURE, DWORD{WINHTTP_DISABLE_COOKIES});
        // WinHTTP would point the connection at the new place, and go anywhere.
        return SetOption(WINHTTP_OPTION_DISABLE_FEATURE, DWORD{WINHTTP_DISABLE_REDIRECTS}) ||
               Refuse("no request could be made", ::GetLastError());
    }

    bool AddHeaders(const HttpHeaders& headers) {
        for (const auto& [name, value] : headers) {
            std::wstring line = Widened(name);
            (line += L": ") += Widened(value);
            if (!::WinHttpAddRequestHeaders(
                    m_request.Get(), line.c_str(), static_cast<DWORD>(line.size()),
                    WINHTTP_ADDREQ_FLAG_ADD | WINHTTP_ADDREQ_FLAG_REPLACE)) {
                return Refuse("a header could not be set", ::GetLastError());
            }
        }
        return true;
    }

    /// What is missing at this point.
    const char* Missing() const {
        if (m_operation->answered != 0) {
            return "the answer breaks off";
        }
        return m_operation->connected != 0 ? "no answer" : "no connection";
    }

    /// When it has to be there. Wine reports that the request was sent when the answer begins, so
    /// the limit of the connection ends with the report that it is being sent.
    Milliseconds StepEnd() const {
        const Milliseconds last = std::max<Milliseconds>(m_operation->answered, m_readStart);
        if (last != 0) {
            return last + m_limits.firstByte;
        }
        const Milliseconds connected = m_operation->connected;
        return connected != 0 ? connected + m_limits.firstByte : m_start + m_limits.connect;
    }

    /// Waits for the steps that were begun; `begun` is what WinHTTP answered.
    bool Await(BOOL begun) {
        if (!begun) {
            return Fail(Missing(), ::GetLastError());
        }
        const std::array<HANDLE, 2> handles{m_operation->event.Get(), m_cancellation.Event()};
        while (m_operation->completed == 0) {
            const Milliseconds left = std::min(StepEnd(), m_end) - Now();
            if (left <= 0) {
                return Fail((std::string(Missing()) + ": it takes too long").c_str(), 0);
            }
            if (::WaitForMultipleObjects(2, handles.data(), FALSE, static_cast<DWORD>(left)) ==
                WAIT_OBJECT_0 + 1) {
                m_response.wasCancelled = true;
                return false;
            }
        }
        if (m_operation->completed != WINHTTP_CALLBACK_STATUS_REQUEST_ERROR) {
            return true;
        }
        // Wine reports the socket's error for the timeout.
        const bool isTimeout =
            m_operation->error == ERROR_WINHTTP_TIMEOUT || m_operation->error == WSAETIMEDOUT;
        m_response.wasHungUp =
            m_operation->connected != 0 && m_operation->answered == 0 && !isTimeout;
        return Fail(Missing(), m_operation->error);
    }

    /// Waits until the answer's headers are there, and the first part of a body that is wanted.
    bool Send() {
        if (Await(::WinHttpSendRequest(m_request.Get(), WINHTTP_NO_ADDITIONAL_HEADERS, 0,
                                       WINHTTP_NO_REQUEST_DATA, 0, 0, m_context))) {
            return true;
        }
        if (m_operation->connected == 0) {
            // What fails by the encryption is reached. No time at all tells nothing.
            m_response.isUnreachable =
                m_error != 0 ? !IsOfEncryption(m_error) : m_limits.total >= m_limits.connect;
        }
        return false;
    }

    void ReadHead() {
        DWORD status = 0;
        DWORD size = sizeof status;
        if (!::WinHttpQueryHeaders(
                m_request.Get(), WINHTTP_QUERY_STATUS_CODE | WINHTTP_QUERY_FLAG_NUMBER,
                WINHTTP_HEADER_NAME_BY_INDEX, &status, &size, WINHTTP_NO_HEADER_INDEX)) {
            Fail("the answer has no status", ::GetLastError());
            return;
        }
        m_response.status = static_cast<int>(status);
        ReadHeaders();
        Read();
    }

    void ReadHeaders() {
        std::wstring raw(kUsualHeaders, L'\0');
        DWORD bytes = 0;
        const auto query = [&] {
            bytes = static_cast<DWORD>(raw.size() * sizeof(wchar_t));
            return ::WinHttpQueryHeaders(m_request.Get(), WINHTTP_QUERY_RAW_HEADERS_CRLF,
                                         WINHTTP_HEADER_NAME_BY_INDEX, raw.data(), &bytes,
                                         WINHTTP_NO_HEADER_INDEX) != FALSE;
        };
        if (!query()) {
            raw.resize(bytes / sizeof(wchar_t) + 1);
            if (!query()) {
                return;
            }
        }
        raw.resize(bytes / sizeof(wchar_t));
        for (std::size_t begin = 0; begin < raw.size();) {
            const std::size_t end = std::min(raw.find(L"\r\n", begin), raw.size());
            const std::size_t colon = raw.find(L':', begin);
            if (colon < end) {
                const std::size_t value = std::min(raw.find_first_not_of(L" \t", colon + 1), end);
                const std::size_t valueEnd = raw.find_last_not_of(L" \t", end - 1) + 1;
                const std::string name = SmallLetters(Narrowed(&raw[begin], &raw[colon]));
                std::string& header = m_response.headers[name];
                const std::string former =
                    name == "cache-control" && !header.empty() ? header + ", " : std::string();
                header =
                    former + Narrowed(raw.data() + value, raw.data() + std::max(value, valueEnd));
            }
            begin = end + 2;
        }
    }

    void Read() {
        if (m_response.status != kOk && m_response.status != kPartialContent) {
            return;
        }
        const std::string text = m_response.Header("content-length");
        std::uint64_t announced = 0;
        const auto [end, error] =
            std::from_chars(text.data(), text.data() + text.size(), announced);
        const bool isAnnounced = !text.empty();
        if (isAnnounced && (error != std::errc() || end != text.data() + text.size())) {
            Fail("the announced length is no number", 0);
            return;
        }
        if (announced > m_limits.bytes) {
            Refuse("the answer is too large", 0);
            return;
        }
        std::vector<std::uint8_t>& body = m_response.body;
        body.reserve(static_cast<std::size_t>(announced));
        // The end of an answer of a known length is not asked for.
        bool isRead = m_operation->completed == WINHTTP_CALLBACK_STATUS_READ_COMPLETE;
        while (!isAnnounced || body.size() < announced) {
            if (!isRead) {
                m_operation->completed = 0;
                m_readStart = Now();
                if (!Await(::WinHttpReadData(m_request.Get(), m_operation->buffer.data(),
                                             kBufferBytes, nullptr))) {
                    return;
                }
            }
            isRead = false;
            if (m_operation->bytes == 0) {
                break;
            }
            body.insert(body.end(), m_operation->buffer.data(),
                        m_operation->buffer.data() + m_operation->bytes);
            if (body.size() > m_limits.bytes) {
                Refuse("the answer is too large", 0);
                return;
            }
        }
        // WinHTTP takes an answer that breaks off for whole.
        if (isAnnounced && body.size() != announced) {
            Fail("the answer breaks off", 0);
        }
    }

    const HttpLimits& m_limits;
    const Cancellation& m_cancellation;
    const Milliseconds m_end;
    const Milliseconds m_start = Now();
    Milliseconds m_readStart = 0;  ///< of a part behind the first
    DWORD m_error = 0;             ///< of the failure; 0: it took too long
    const Loan m_operation;        ///< put back when the request is closed
    HttpResponse m_response;
    DWORD_PTR m_context = 0;  ///< a Share*, which the request's end deletes
    InternetHandle m_connection;
    InternetHandle m_request;  ///< closed first
};

HINTERNET MakeSession() {
    HMODULE pinned = nullptr;
    if (!::GetModuleHandleExW(
            GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
            reinterpret_cast<LPCWSTR>(reinterpret_cast<void*>(&MakeSession)), &pinned)) {
        return nullptr;
    }
    // The system's and the user's proxy, scripts included: Windows 8.1 and newer.
    HINTERNET session =
        ::WinHttpOpen(nullptr, WINHTTP_ACCESS_TYPE_AUTOMATIC_PROXY, WINHTTP_NO_PROXY_NAME,
                      WINHTTP_NO_PROXY_BYPASS, WINHTTP_FLAG_ASYNC);
    if (session == nullptr) {
        session = ::WinHttpOpen(nullptr, WINHTTP_ACCESS_TYPE_DEFAULT_PROXY, WINHTTP_NO_PROXY_NAME,
                                WINHTTP_NO_PROXY_BYPASS, WINHTTP_FLAG_ASYNC);
    }
    return session;
}

}  // namespace

HttpResponse Transfer(HINTERNET session, const HttpRequest& request, const HttpLimits& limits,
                      const Cancellation& cancellation) {
    return Request(limits, cancellation).Run(session, request);
}

HINTERNET HttpSession() {
    static const HINTERNET session = MakeSession();
    return session;
}

}  // namespace Terrascope::Plugins
