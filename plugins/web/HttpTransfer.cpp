#include "plugins/web/HttpTransfer.h"

#include <algorithm>
#include <charconv>
#include <memory>
#include <string_view>

#include "plugins/web/HttpErrors.h"
#include "plugins/web/HttpOperation.h"
#include "terrascope/support/Handles.h"

namespace Terrascope::Plugins {
namespace {

using InternetHandle = CUniqueHandle<HINTERNET, &::WinHttpCloseHandle>;

constexpr std::size_t kUsualHeaders = 1024;  // letters
/// WINHTTP_AUTOLOGON_SECURITY_LEVEL_PROXY_ONLY of newer headers.
constexpr DWORD kLogOnToProxiesOnly = 3;
/// What a header must not have: its value would end there, and another header begin.
constexpr std::wstring_view kEndsOfLines(L"\r\n\0", 3);

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

/// One request on its way.
class Request {
public:
    Request(const HttpLimits& limits, const Cancellation& cancellation)
        : m_limits(limits),
          m_cancellation(cancellation),
          m_end(HttpOperation::Now() + limits.total),
          m_operation(limits.bytes),
          m_waiting(cancellation, *m_operation.Shared()) {}
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
        if (!m_request) {
            return Refuse("no request could be made", ::GetLastError());
        }
        auto share = std::make_unique<HttpOperation::Share>(m_operation.Shared());
        m_context = reinterpret_cast<DWORD_PTR>(share.get());
        constexpr DWORD kNotifications = WINHTTP_CALLBACK_FLAG_ALL_COMPLETIONS |
                                         WINHTTP_CALLBACK_FLAG_SEND_REQUEST |
                                         WINHTTP_CALLBACK_FLAG_HANDLES;
        if (!SetOption(WINHTTP_OPTION_CONTEXT_VALUE, m_context) ||
            ::WinHttpSetStatusCallback(m_request.Get(), &HttpOperation::OnStatus, kNotifications,
                                       0) == WINHTTP_INVALID_STATUS_CALLBACK) {
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
            if (line.find_first_of(kEndsOfLines) != std::wstring::npos) {
                return Refuse("a header has more than one line", 0);
            }
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
        while (m_operation->completed == 0) {
            if (m_cancellation.IsCancelled()) {
                m_response.wasCancelled = true;
                return false;
            }
            const Milliseconds left = std::min(StepEnd(), m_end) - HttpOperation::Now();
            if (left <= 0) {
                return Fail((std::string(Missing()) + ": it takes too long").c_str(), 0);
            }
            m_operation->Wait(m_cancellation, static_cast<DWORD>(left));
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
        if (!HttpOperation::HasBody(m_response.status)) {
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
                m_readStart = HttpOperation::Now();
                if (!Await(::WinHttpReadData(m_request.Get(), m_operation->buffer.data(),
                                             HttpOperation::kBufferBytes, nullptr))) {
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
    const Milliseconds m_start = HttpOperation::Now();
    Milliseconds m_readStart = 0;           ///< of a part behind the first
    DWORD m_error = 0;                      ///< of the failure; 0: it took too long
    const HttpOperation::Loan m_operation;  ///< put back when the request is closed
    const Cancellation::Waiting m_waiting;
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
