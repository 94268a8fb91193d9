// vornleads-sandbox: a stand-in for the hosted leads service on this machine, for trying the
// integration and for end-to-end tests. Serves until SIGINT or SIGTERM.
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>

#include "bounded_server.h"
#include "calendar.h"
#include "call_log.h"
#include "routes.h"

namespace {

using vornleads::sandbox::Json;
using vornleads::sandbox::logLine;

struct Options {
  std::string bind = "127.0.0.1";
  int port = 8080;
  std::string leadsFile;
  std::string tlsCert;  // with tlsKey: serve HTTPS only
  std::string tlsKey;
};

void loadLeads(vornleads::sandbox::LeadStore& store, const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw std::runtime_error("cannot read leads file " + path);
  std::ostringstream text;
  text << in.rdbuf();
  try {
    const size_t count = store.add(Json::parse(text.str()));
    logLine("loaded " + std::to_string(count) + " leads from " + path);
  } catch (const std::exception& error) {
    throw std::runtime_error("leads file " + path + ": " + error.what());
  }
  store.keepAsInitial();
}

std::string urlHost(const std::string& host) {
  return host.find(':') == std::string::npos ? host : "[" + host + "]";
}

// Binds the listening socket without serving yet; the port bound to, or -1.
int bindServer(httplib::Server& server, const Options& options) {
  if (options.port == 0) return server.bind_to_any_port(options.bind);
  return server.bind_to_port(options.bind, options.port) ? options.port : -1;
}

void configureServer(httplib::Server& server) {
  server.set_exception_handler(
      [](const httplib::Request&, httplib::Response& response, std::exception_ptr error) {
        std::string message = "internal error";
        try {
          if (error) std::rethrow_exception(error);
        } catch (const std::exception& e) {
          message = e.what();
        } catch (...) {
          // message stays generic: nothing more is known about a non-standard exception
        }
        logLine("internal error: " + message);
        response.status = 500;
        response.set_content(message + "\n", "text/plain; charset=utf-8");
      });
  // cpp-httplib's default options add SO_REUSEPORT, which lets a second sandbox share the
  // port silently; only the address reuse that allows a quick restart is kept.
  server.set_socket_options([](socket_t sock) {
    const int yes = 1;
    setsockopt(sock, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
  });
  // Idle keep-alive connections hold a worker thread; a short wait keeps shutdown quick.
  server.set_keep_alive_timeout(2);
}

// The plain HTTP server, or with a certificate and its key the HTTPS one.
std::unique_ptr<httplib::Server> makeServer(const Options& options) {
  auto server = vornleads::sandbox::makeBoundedServer(options.tlsCert, options.tlsKey);
  if (!server->is_valid()) {
    throw std::runtime_error("cannot serve TLS with certificate " + options.tlsCert + " and key " +
                             options.tlsKey);
  }
  return server;
}

int serve(const Options& options) {
  vornleads::sandbox::SandboxState state{
      vornleads::sandbox::LeadStore(vornleads::sandbox::localNow), {}};
  if (!options.leadsFile.empty()) loadLeads(state.store, options.leadsFile);

  const std::unique_ptr<httplib::Server> owned = makeServer(options);
  httplib::Server& server = *owned;
  vornleads::sandbox::installServiceRoute(server, state);
  vornleads::sandbox::installTestRoutes(server, state);
  vornleads::sandbox::installUnreadableRequestAnswers(server);
  configureServer(server);

  const int port = bindServer(server, options);
  if (port < 0) {
    throw std::runtime_error("cannot listen on " + options.bind + ":" +
                             std::to_string(options.port));
  }

  // SIGINT and SIGTERM are taken by sigwait below; every thread started from here on
  // inherits the blocked mask. SIGUSR1 tells the main thread that the server stopped by itself.
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
  sigaddset(&signals, SIGUSR1);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  std::signal(SIGPIPE, SIG_IGN);

  std::atomic<bool> stopping{false};
  std::atomic<bool> ended{false};
  std::thread worker([&server, &stopping, &ended] {
    server.listen_after_bind();
    ended = true;
    if (!stopping) kill(getpid(), SIGUSR1);
  });
  // stop() only reaches a server whose accept loop has begun: a stop before that would leave
  // the loop running for ever. So both the announcement and the stop wait for it.
  const auto waitUntilServing = [&server, &ended] {
    while (!server.is_running() && !ended) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
  };
  waitUntilServing();
  if (server.is_running()) {
    std::cout << "listening on " << (options.tlsCert.empty() ? "http" : "https") << "://"
              << urlHost(options.bind) << ":" << port << vornleads::sandbox::kEndpointPath
              << std::endl;
  }

  int received = 0;
  sigwait(&signals, &received);
  stopping = true;
  waitUntilServing();
  server.stop();
  worker.join();
  if (received == SIGUSR1) {
    logLine("the server stopped unexpectedly");
    return 1;
  }
  logLine(std::string("stopped (") + (received == SIGINT ? "SIGINT" : "SIGTERM") + ")");
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app{
      "Stand-in for the hosted VornLeadsVW leads service (SOAP), for trying the "
      "integration and for tests. Test routes: /sandbox/leads, /sandbox/updates, "
      "/sandbox/faults, /sandbox/reset."};
  Options options;
  app.add_option("--bind", options.bind, "Address to listen on")->capture_default_str();
  app.add_option("--port", options.port, "Port to listen on; 0 picks a free one")
      ->capture_default_str()
      ->check(CLI::Range(0, 65535));
  app.add_option("--leads", options.leadsFile,
                 "JSON file with the initial leads: an array of lead items or {\"Leads\": [...]}")
      ->check(CLI::ExistingFile);
  auto* cert = app.add_option("--tls-cert", options.tlsCert,
                              "PEM certificate (chain) of the server: serve HTTPS only")
                   ->check(CLI::ExistingFile);
  auto* key = app.add_option("--tls-key", options.tlsKey, "PEM private key of --tls-cert")
                  ->check(CLI::ExistingFile);
  cert->needs(key);
  key->needs(cert);
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp& help) {
    return app.exit(help);
  } catch (const CLI::ParseError& error) {
    app.exit(error);
    return 2;
  }

  try {
    return serve(options);
  } catch (const std::exception& error) {
    std::cerr << "vornleads-sandbox: " << error.what() << std::endl;
    return 1;
  }
}
