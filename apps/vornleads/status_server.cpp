#include "status_server.h"

#include <httplib.h>
#include <signal.h>
#include <sys/socket.h>

#include <cerrno>
#include <chrono>
#include <cstring>

#include "status_connections.h"
#include "vornleads/error.h"

namespace vornleads::cli {
namespace {

// Connections served at once before more wait for a thread; 200 idle clients stay below.
constexpr size_t kConnectionThreads = 512;
constexpr std::chrono::seconds kConnectionLifetime(10);

// The library listens with a backlog of 5: a burst of connections would have their SYNs
// dropped and retried a second later. listen() again on the bound socket widens it.
class StatusHttpServer : public httplib::Server {
 public:
  void widenBacklog() { ::listen(svr_sock_, SOMAXCONN); }
};

void answer(httplib::Response& response, const std::function<StatusAnswer()>& page) {
  const StatusAnswer answer = page();
  response.status = answer.status;
  response.set_content(answer.body, answer.contentType.c_str());
}

// Blocks SIGINT, SIGTERM and SIGHUP in the calling thread while it lives; threads started meanwhile
// keep them blocked.
class BlockedStopSignals {
 public:
  BlockedStopSignals() {
    sigset_t stop;
    sigemptyset(&stop);
    sigaddset(&stop, SIGINT);
    sigaddset(&stop, SIGTERM);
    sigaddset(&stop, SIGHUP);
    pthread_sigmask(SIG_BLOCK, &stop, &previous_);
  }
  ~BlockedStopSignals() { pthread_sigmask(SIG_SETMASK, &previous_, nullptr); }
  BlockedStopSignals(const BlockedStopSignals&) = delete;
  BlockedStopSignals& operator=(const BlockedStopSignals&) = delete;

 private:
  sigset_t previous_;
};

}  // namespace

StatusServer::StatusServer(const std::string& bind, int port, StatusPages pages)
    : server_(std::make_unique<StatusHttpServer>()), bind_(bind) {
  // The library owns (and deletes) the queue it is handed.
  server_->new_task_queue = [] { return new ConnectionThreads(kConnectionThreads); };
  server_->set_read_timeout(std::chrono::seconds(2));
  server_->set_write_timeout(std::chrono::seconds(2));
  server_->set_keep_alive_timeout(2);
  server_->set_keep_alive_max_count(20);
  // Only a port nobody listens on: the library's default (SO_REUSEPORT) would let a second
  // service share the first one's port without a word.
  server_->set_socket_options([](socket_t sock) {
    int yes = 1;
    setsockopt(sock, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
  });
  server_->Get("/health", [pages](const httplib::Request&, httplib::Response& response) {
    answer(response, pages.health);
  });
  server_->Get("/metrics", [pages](const httplib::Request&, httplib::Response& response) {
    answer(response, pages.metrics);
  });
  // The pages are there, only for another method.
  const auto notAllowed = [](const httplib::Request&, httplib::Response& response) {
    response.status = 405;
    response.set_header("Allow", "GET");
    response.set_content("only GET\n", "text/plain");
  };
  for (const char* page : {"/health", "/metrics"}) {
    server_->Post(page, notAllowed);
    server_->Put(page, notAllowed);
    server_->Patch(page, notAllowed);
    server_->Delete(page, notAllowed);
    server_->Options(page, notAllowed);
  }
  errno = 0;
  if (port == 0) {
    port_ = server_->bind_to_any_port(bind);
  } else if (server_->bind_to_port(bind, port)) {
    port_ = port;
  }
  if (port_ <= 0) {
    const int error = errno;
    throw VornError("status server: cannot listen on " + bind + " port " + std::to_string(port) +
                    ": " + (error != 0 ? std::strerror(error) : "no such local address"));
  }
  static_cast<StatusHttpServer&>(*server_).widenBacklog();
  const BlockedStopSignals blocked;
  reaper_ = std::make_unique<ConnectionReaper>(port_, kConnectionLifetime);
  thread_ = std::thread([this] { server_->listen_after_bind(); });
}

StatusServer::~StatusServer() {
  // A stop that came before the thread got to listening would be lost: wait for it (briefly).
  for (int i = 0; i < 2000 && !server_->is_running(); ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  server_->stop();
  reaper_->cutAll();
  thread_.join();
}

std::string StatusServer::url() const {
  const std::string host = bind_.find(':') != std::string::npos ? "[" + bind_ + "]" : bind_;
  return "http://" + host + ":" + std::to_string(port_);
}

}  // namespace vornleads::cli
