#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace TerrascopeTest {

/// What the server does with one request.
struct Reply {
    enum Kind {
        Whole,    ///< status, headers and body, with the right length
        Half,     ///< breaks off after half of the body
        Endless,  ///< goes on for ever, in drips
        Silent,   ///< answers nothing while the server lives
        HangUp,   ///< closes the connection without an answer
        Raw,      ///< the body is all that is sent, headers included
        Slow,     ///< as Whole, half a second later
        Ranges,   ///< as Whole, or the range of the body that was asked for
    };
    int status = 200;
    std::string body = {};
    std::string headers = {};  ///< lines that end with CR LF
    Kind kind = Whole;
};

/// A web server on the loopback interface, for one test. Paths that it has no reply for are 404.
class FaultServer {
public:
    FaultServer();
    ~FaultServer();
    FaultServer(const FaultServer&) = delete;
    FaultServer& operator=(const FaultServer&) = delete;

    /// "http://127.0.0.1:port" + path.
    std::string Address(const std::string& path) const;

    /// The replies for a path (with its query, if it has one), one after the other; the last stays.
    void On(const std::string& path, std::vector<Reply> replies);
    void On(const std::string& path, const Reply& reply) { On(path, std::vector{reply}); }

    /// How many requests came for a path, or in all.
    int Requests(const std::string& path = "") const;
    int Connections() const;
    /// The head of the last request, all letters as sent.
    std::string LastHead() const;

private:
    using Socket = std::uintptr_t;  // winsock's header wants to be the first of all

    void Accept();
    std::string ReceiveHead(Socket connection) const;
    void Serve(Socket connection);
    void Answer(Socket connection, const Reply& reply, const std::string& request);
    bool EndsWithin(std::chrono::milliseconds time);
    Reply Next(const std::string& path, const std::string& head);

    Socket m_listener = 0;
    std::uint16_t m_port = 0;
    mutable std::mutex m_mutex;
    std::condition_variable m_ended;
    bool m_ends = false;
    std::map<std::string, std::vector<Reply>> m_replies;
    std::map<std::string, int> m_requests;  ///< of a path; under "" all
    std::string m_lastHead;
    std::vector<Socket> m_connections;
    std::vector<std::thread> m_threads;
    std::thread m_accepting;
};

}  // namespace TerrascopeTest
