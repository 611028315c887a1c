#include "plugins/web/HttpTransfer.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <charconv>
#include <memory>

#include "plugins/web/HttpErrors.h"
#include "terrascope/support/Handles.h"

namespace Terrascope::Plugins {
namespace {

using InternetHandle = CUniqueHandle<HINTERNET, &::WinHttpCloseHandle>;

constexpr DWORD kBufferBytes = 64 * 1024;
/// WINHTTP_AUTOLOGON_SECURITY_LEVEL_PROXY_ONLY of newer headers.
constexpr DWORD kLogOnToProxiesOnly = 3;
constexpr int kOk = 200;
constexpr int kPartialContent = 206;

/// What WinHTTP's threads write to, and the event that wakes the caller. There is one operation at
/// a time, and the caller reads what else it wrote only when `completed` is set; so there is no
/// lock.
struct Operation {
    CUniqueHandle<HANDLE, &::CloseHandle> event{::CreateEventW(nullptr, FALSE, FALSE, nullptr)};
    std::atomic<bool> isConnected{false};
    std::atomic<DWORD> completed{0};  ///< WINHTTP_CALLBACK_STATUS_...; 0: nothing yet
    DWORD error = 0;
    DWORD bytes = 0;
    std::array<char, kBufferBytes> buffer{};

    static void CALLBACK OnStatus(HINTERNET, DWORD_PTR context, DWORD status, void* info,
                                  DWORD length);
};

/// The request's share of its operation, from its opening to its very last notification.
using Share = std::shared_ptr<Operation>;

void CALLBACK Operation::OnStatus(HINTERNET, DWORD_PTR context, DWORD status, void* info,
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
        case WINHTTP_CALLBACK_STATUS_READ_COMPLETE:
            operation.bytes = length;
            break;
        case WINHTTP_CALLBACK_STATUS_REQUEST_ERROR:
            operation.error = static_cast<const WINHTTP_ASYNC_RESULT*>(info)->dwError;
            break;
        case WINHTTP_CALLBACK_STATUS_SENDING_REQUEST:
            operation.isConnected = true;
            ::SetEvent(operation.event.Get());
            return;
        case WINHTTP_CALLBACK_STATUS_SENDREQUEST_COMPLETE:
        case WINHTTP_CALLBACK_STATUS_HEADERS_AVAILABLE:
            break;
        default:
            return;
    }
    operation.completed = status;
    ::SetEvent(operation.event.Get());
}

Milliseconds Now() {
    return static_cast<Milliseconds>(::GetTickCount64());
}

/// ASCII only: addresses and headers have nothing else.
std::wstring Widened(const std::string& text) {
    std::wstring wide;
    for (const char c : text) {
        wide += static_cast<wchar_t>(static_cast<unsigned char>(c));
    }
    return wide;
}

std::string Narrowed(const wchar_t* begin, const wchar_t* end) {
    std::string narrow;
    for (; begin != end; ++begin) {
        narrow += *begin < 0x100 ? static_cast<char>(*begin) : '?';
    }
    return narrow;
}

std::string SmallLetters(std::string text) {
    for (char& c : text) {
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    }
    return text;
}

/// One request on its way.
class Request {
public:
    Request(const HttpLimits& limits, const Cancellation& cancellation)
        : m_limits(limits), m_cancellation(cancellation), m_end(Now() + limits.total) {}

    HttpResponse Run(HINTERNET session, const HttpRequest& request) {
        if (Open(session, request) && Send() && Receive()) {
            Read();
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
        auto share = std::make_unique<Share>(m_operation);
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

    /// Waits until `isThere`, up to `limit`; false, with the reason, when it does not come.
    template <class TCondition>
    bool AwaitEvent(TCondition isThere, Milliseconds limit, const char* what) {
        const Milliseconds end = std::min(Now() + limit, m_end);
        const std::array<HANDLE, 2> handles{m_operation->event.Get(), m_cancellation.Event()};
        while (!isThere()) {
            const auto left = static_cast<DWORD>(std::max<Milliseconds>(end - Now(), 0));
            const DWORD result = ::WaitForMultipleObjects(2, handles.data(), FALSE, left);
            if (result == WAIT_OBJECT_0 + 1) {
                m_response.wasCancelled = true;
                return false;
            }
            if (result != WAIT_OBJECT_0) {
                return Fail((std::string(what) + ": it takes too long").c_str(), 0);
            }
        }
        return true;
    }

    /// Waits for the operation that was begun; `begun` is what WinHTTP answered.
    bool Await(BOOL begun, DWORD completion, Milliseconds limit, const char* what) {
        if (!begun) {
            return Fail(what, ::GetLastError());
        }
        if (!AwaitEvent([this] { return m_operation->completed != 0; }, limit, what)) {
            return false;
        }
        if (m_operation->completed.exchange(0) == completion) {
            return true;
        }
        // Wine reports the socket's error for the timeout.
        const bool isTimeout =
            m_operation->error == ERROR_WINHTTP_TIMEOUT || m_operation->error == WSAETIMEDOUT;
        m_response.wasHungUp = m_operation->isConnected && m_response.status == 0 && !isTimeout;
        return Fail(what, m_operation->error);
    }

    /// A failure before there was a connection is one of the way to the server, but for what the
    /// encryption fails by. Zero: it took too long, which tells nothing when there was little time.
    bool FailUnreached(DWORD error) {
        m_response.isUnreachable =
            error != 0 ? !IsOfEncryption(error) : m_limits.total >= m_limits.connect;
        return false;
    }

    /// Wine reports that the request was sent when the answer begins, so the limit of the
    /// connection ends with the report that it is being sent.
    bool Send() {
        constexpr char kNone[] = "no connection";
        const BOOL begun = ::WinHttpSendRequest(m_request.Get(), WINHTTP_NO_ADDITIONAL_HEADERS, 0,
                                                WINHTTP_NO_REQUEST_DATA, 0, 0, m_context);
        if (!begun) {
            const DWORD error = ::GetLastError();
            Fail(kNone, error);
            return FailUnreached(error);
        }
        const auto isConnected = [this] {
            return m_operation->isConnected || m_operation->completed != 0;
        };
        if (!AwaitEvent(isConnected, m_limits.connect, kNone)) {
            return FailUnreached(0);
        }
        m_headersEnd = Now() + m_limits.firstByte;
        const bool wasConnected = m_operation->isConnected;
        if (Await(TRUE, WINHTTP_CALLBACK_STATUS_SENDREQUEST_COMPLETE, m_limits.firstByte,
                  wasConnected ? "no answer" : kNone)) {
            return true;
        }
        return !wasConnected && FailUnreached(m_operation->error);
    }

    bool Receive() {
        if (!Await(::WinHttpReceiveResponse(m_request.Get(), nullptr),
                   WINHTTP_CALLBACK_STATUS_HEADERS_AVAILABLE, m_headersEnd - Now(), "no answer")) {
            return false;
        }
        DWORD status = 0;
        DWORD size = sizeof status;
        if (!::WinHttpQueryHeaders(
                m_request.Get(), WINHTTP_QUERY_STATUS_CODE | WINHTTP_QUERY_FLAG_NUMBER,
                WINHTTP_HEADER_NAME_BY_INDEX, &status, &size, WINHTTP_NO_HEADER_INDEX)) {
            return Fail("the answer has no status", ::GetLastError());
        }
        m_response.status = static_cast<int>(status);
        ReadHeaders();
        return true;
    }

    void ReadHeaders() {
        DWORD bytes = 0;
        ::WinHttpQueryHeaders(m_request.Get(), WINHTTP_QUERY_RAW_HEADERS_CRLF,
                              WINHTTP_HEADER_NAME_BY_INDEX, nullptr, &bytes,
                              WINHTTP_NO_HEADER_INDEX);
        std::wstring raw(bytes / sizeof(wchar_t) + 1, L'\0');
        if (!::WinHttpQueryHeaders(m_request.Get(), WINHTTP_QUERY_RAW_HEADERS_CRLF,
                                   WINHTTP_HEADER_NAME_BY_INDEX, raw.data(), &bytes,
                                   WINHTTP_NO_HEADER_INDEX)) {
            return;
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
        do {
            if (!Await(::WinHttpReadData(m_request.Get(), m_operation->buffer.data(), kBufferBytes,
                                         nullptr),
                       WINHTTP_CALLBACK_STATUS_READ_COMPLETE, m_limits.firstByte,
                       "the answer breaks off")) {
                return;
            }
            body.insert(body.end(), m_operation->buffer.data(),
                        m_operation->buffer.data() + m_operation->bytes);
            if (body.size() > m_limits.bytes) {
                Refuse("the answer is too large", 0);
                return;
            }
        } while (m_operation->bytes > 0);
        // WinHTTP takes an answer that breaks off for whole.
        if (isAnnounced && body.size() != announced) {
            Fail("the answer breaks off", 0);
        }
    }

    const HttpLimits& m_limits;
    const Cancellation& m_cancellation;
    const Milliseconds m_end;
    Milliseconds m_headersEnd = 0;
    const Share m_operation = std::make_shared<Operation>();
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
