#include "tests/plugins/web/FaultServer.h"

#include <winsock2.h>

#include <algorithm>
#include <stdexcept>

namespace TerrascopeTest {
namespace {

using namespace std::chrono_literals;

bool SendAll(SOCKET connection, const std::string& bytes) {
    const int size = static_cast<int>(bytes.size());
    return ::send(connection, bytes.data(), size, 0) == size;
}

}  // namespace

FaultServer::FaultServer() {
    WSADATA data;
    ::WSAStartup(MAKEWORD(2, 2), &data);
    m_listener = ::socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    int size = sizeof address;
    if (::bind(m_listener, reinterpret_cast<sockaddr*>(&address), size) != 0 ||
        ::listen(m_listener, SOMAXCONN) != 0 ||
        ::getsockname(m_listener, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
        throw std::runtime_error("no server");
    }
    m_port = ntohs(address.sin_port);
    m_accepting = std::thread([this] { Accept(); });
}

FaultServer::~FaultServer() {
    std::vector<SOCKET> connections;
    {
        const std::lock_guard lock(m_mutex);
        m_ends = true;
        connections = m_connections;
    }
    m_ended.notify_all();
    ::closesocket(m_listener);
    for (const SOCKET connection : connections) {
        ::shutdown(connection, SD_BOTH);
    }
    m_accepting.join();
    for (std::thread& thread : m_threads) {
        thread.join();
    }
    for (const SOCKET connection : m_connections) {
        ::closesocket(connection);
    }
    ::WSACleanup();
}

std::string FaultServer::Address(const std::string& path) const {
    return "http://127.0.0.1:" + std::to_string(m_port) + path;
}

void FaultServer::On(const std::string& path, std::vector<Reply> replies) {
    const std::lock_guard lock(m_mutex);
    m_replies[path] = std::move(replies);
}

int FaultServer::Requests(const std::string& path) const {
    const std::lock_guard lock(m_mutex);
    const auto found = m_requests.find(path);
    return found != m_requests.end() ? found->second : 0;
}

int FaultServer::Connections() const {
    const std::lock_guard lock(m_mutex);
    return static_cast<int>(m_connections.size());
}

std::string FaultServer::LastHead() const {
    const std::lock_guard lock(m_mutex);
    return m_lastHead;
}

void FaultServer::Accept() {
    for (;;) {
        const SOCKET connection = ::accept(m_listener, nullptr, nullptr);
        if (connection == INVALID_SOCKET) {
            return;
        }
        // Under Wine a shutdown does not always wake who receives.
        const DWORD timeout = 20;  // ms
        ::setsockopt(connection, SOL_SOCKET, SO_RCVTIMEO, reinterpret_cast<const char*>(&timeout),
                     sizeof timeout);
        const std::lock_guard lock(m_mutex);
        m_connections.push_back(connection);
        m_threads.emplace_back([this, connection] { Serve(connection); });
        if (m_ends) {
            ::shutdown(connection, SD_BOTH);
            return;
        }
    }
}

/// The head of the next request; empty when the connection or the server ends.
std::string FaultServer::ReceiveHead(Socket connection) const {
    std::string head;
    char c = 0;
    while (!head.ends_with("\r\n\r\n")) {
        const int count = ::recv(connection, &c, 1, 0);
        if (count == 1) {
            head += c;
        } else if (count == 0 || ::WSAGetLastError() != WSAETIMEDOUT) {
            return {};
        } else if (const std::lock_guard lock(m_mutex); m_ends) {
            return {};
        }
    }
    return head;
}

void FaultServer::Serve(Socket connection) {
    for (;;) {
        const std::string head = ReceiveHead(connection);
        if (head.empty()) {
            return;
        }
        const std::size_t begin = head.find(' ') + 1;
        const Reply reply = Next(head.substr(begin, head.find(' ', begin) - begin), head);
        Answer(connection, reply, head);
        if (reply.kind != Reply::Whole && reply.kind != Reply::Ranges) {
            ::shutdown(connection, SD_BOTH);
            return;
        }
    }
}

bool FaultServer::EndsWithin(std::chrono::milliseconds time) {
    std::unique_lock lock(m_mutex);
    return m_ended.wait_for(lock, time, [this] { return m_ends; });
}

Reply FaultServer::Next(const std::string& path, const std::string& head) {
    const std::lock_guard lock(m_mutex);
    m_lastHead = head;
    const auto found = m_replies.find(path);
    const auto past = static_cast<std::size_t>(m_requests[path]++);
    ++m_requests[""];
    if (found == m_replies.end()) {
        return {404, "<html>nothing here</html>"};
    }
    return found->second[std::min(past, found->second.size() - 1)];
}

void FaultServer::Answer(Socket connection, const Reply& reply, const std::string& request) {
    const std::string head = "HTTP/1.1 " + std::to_string(reply.status) + " X\r\n" + reply.headers;
    const std::string length = "Content-Length: " + std::to_string(reply.body.size()) + "\r\n\r\n";
    switch (reply.kind) {
        case Reply::Slow:
            EndsWithin(500ms);
            [[fallthrough]];
        case Reply::Whole:
            SendAll(
                connection,
                head + (reply.status == 204 || reply.status == 304 ? "\r\n" : length + reply.body));
            break;
        case Reply::Ranges: {
            const std::size_t asked = request.find("Range: bytes=");
            const std::size_t condition = request.find("If-Range: ");
            unsigned first = 0;
            unsigned last = 0;
            const bool isCurrent =
                condition == std::string::npos ||
                reply.headers.find(request.substr(
                    condition + 10, request.find("\r\n", condition) - condition - 10)) !=
                    std::string::npos;
            if (!isCurrent || asked == std::string::npos ||
                sscanf(request.c_str() + asked, "Range: bytes=%u-%u", &first, &last) != 2) {
                SendAll(connection, head + length + reply.body);
                break;
            }
            const std::string part = reply.body.substr(first, last - first + 1);
            SendAll(connection,
                    "HTTP/1.1 206 X\r\n" + reply.headers + "Content-Range: bytes " +
                        std::to_string(first) + "-" + std::to_string(first + part.size() - 1) +
                        "/" + std::to_string(reply.body.size()) +
                        "\r\nContent-Length: " + std::to_string(part.size()) + "\r\n\r\n" + part);
            break;
        }
        case Reply::Half:
            SendAll(connection, head + length + reply.body.substr(0, reply.body.size() / 2));
            break;
        case Reply::Raw:
            SendAll(connection, reply.body);
            break;
        case Reply::Endless: {
            bool goesOn = SendAll(connection, head + "\r\n");
            while (goesOn && !EndsWithin(5ms)) {
                goesOn = SendAll(connection, reply.body);
            }
            break;
        }
        case Reply::Silent:
            EndsWithin(1h);
            break;
        case Reply::HangUp:
            break;
    }
}

}  // namespace TerrascopeTest
