// SPDX-License-Identifier: MIT

// quillon-serve: the update service for one machine, for demonstrations and tests.

#include "demo/serve/AccessLog.h"
#include "demo/serve/RateLimiter.h"
#include "demo/serve/ServeOptions.h"
#include "demo/serve/UpdateHandlers.h"

#include <httplib.h>

#include <csignal>
#include <iostream>
#include <thread>

namespace
{
constexpr char address[] = "127.0.0.1";
// A connection that is kept alive occupies one thread of the library.
constexpr std::size_t workerThreads = 64;
constexpr std::size_t requestsPerConnection = 100000;
// The program ends up to this much later when connections are idle.
constexpr time_t keepAliveSeconds = 2;
constexpr time_t writeTimeoutSeconds = 30;

void gConfigureServer(httplib::Server &server)
{
    server.new_task_queue = [] { return new httplib::ThreadPool(workerThreads); };
    server.set_tcp_nodelay(true);
    server.set_keep_alive_max_count(requestsPerConnection);
    server.set_keep_alive_timeout(keepAliveSeconds);
    server.set_write_timeout(writeTimeoutSeconds);
    server.set_logger(gLogAccess);
}

/// The port that the server listens on; -1 when it is taken.
int gBindPort(httplib::Server &server, int port)
{
    if (port == 0) {
        return server.bind_to_any_port(address);
    }
    return server.bind_to_port(address, port) ? port : -1;
}

sigset_t gEndSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    return signals;
}

/// One server and the thread that it listens on.
///
/// Ownership: the creator; the destructor stops the server and joins the thread.
class Listener
{
public:
    Listener(httplib::Server &server, int port)
        : m_server(server)
        , m_port(gBindPort(server, port))
    {
        if (m_port < 0) {
            std::cerr << "quillon-serve: cannot listen on port " << port << '\n';
            return;
        }
        m_thread = std::thread([&server] { server.listen_after_bind(); });
        // The library ignores stop() before its loop runs.
        while (!server.is_running()) {
            std::this_thread::yield();
        }
    }
    ~Listener()
    {
        if (m_thread.joinable()) {
            m_server.stop();
            m_thread.join();
        }
    }
    Listener(const Listener &) = delete;
    Listener &operator=(const Listener &) = delete;

    /// The port that it listens on; -1 when it could not.
    int Port() const { return m_port; }

private:
    httplib::Server &m_server;
    int m_port;
    std::thread m_thread;
};

void gPrintTemplate(const char *scheme, int port)
{
    std::cout << scheme << "://" << address << ':' << port
              << "/update?pid=&version=&email=" << std::endl;
}

int gWaitForSignal()
{
    const sigset_t signals = gEndSignals();
    int received = 0;
    sigwait(&signals, &received);
    return 0;
}

int gServeUntilSignal(UpdateHandlers &handlers, const ServeOptions &options)
{
    httplib::Server server;
    gConfigureServer(server);
    handlers.Register(server);
    const Listener listener(server, options.port);
    if (listener.Port() < 0) {
        return 1;
    }
    if (options.tlsPort < 0) {
        gPrintTemplate("http", listener.Port());
        return gWaitForSignal();
    }

    httplib::SSLServer tlsServer(options.certificate.c_str(), options.key.c_str());
    if (!tlsServer.is_valid()) {
        std::cerr << "quillon-serve: cannot use the certificate " << options.certificate
                  << " with the key " << options.key << '\n';
        return 1;
    }
    gConfigureServer(tlsServer);
    handlers.Register(tlsServer);
    const Listener tlsListener(tlsServer, options.tlsPort);
    if (tlsListener.Port() < 0) {
        return 1;
    }
    gPrintTemplate("http", listener.Port());
    gPrintTemplate("https", tlsListener.Port());
    return gWaitForSignal();
}
} // namespace

int main(int argc, char *argv[])
{
    const ServeOptions options = ServeOptions::Parse({argv + 1, argv + argc});
    if (!options.error.empty()) {
        std::cerr << "quillon-serve: " << options.error << '\n' << ServeOptions::Usage();
        return 2;
    }
    // Blocked before any thread starts, so that sigwait() receives them and no thread is
    // interrupted.
    const sigset_t signals = gEndSignals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);

    RateLimiter limiter(options.rate);
    UpdateHandlers handlers(options.directory, limiter);
    return gServeUntilSignal(handlers, options);
}
