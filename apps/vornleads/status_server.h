// The status server of `vornleads serve --status-port`: plain HTTP on a port of its own,
// answering GET /health and GET /metrics from threads of its own (one per connection), while
// the service works on. Another method on those pages gets 405 with "Allow: GET"; any other
// page 404.
//
// Slow clients cannot shut others out: a connection waits at most 2 s for the next bytes of
// a request or for the next request, lasts at most 10 s in all, and holds only its own thread
// (status_connections.h).
//
// The constructor listens before it returns, so that the service can tell systemd it is
// ready; a port it cannot listen on (in use, not allowed, an address not of this machine)
// raises VornError with the reason. The destructor stops the server and waits for its threads.
// The threads block SIGINT, SIGTERM and SIGHUP: those are the run thread's to handle.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <thread>

namespace httplib {
class Server;
}

namespace vornleads::cli {

class ConnectionReaper;

struct StatusAnswer {
  int status = 200;
  std::string contentType;
  std::string body;
};

struct StatusPages {
  std::function<StatusAnswer()> health;
  std::function<StatusAnswer()> metrics;
};

class StatusServer {
 public:
  // port 0: any free port (port() tells which).
  StatusServer(const std::string& bind, int port, StatusPages pages);
  ~StatusServer();
  StatusServer(const StatusServer&) = delete;
  StatusServer& operator=(const StatusServer&) = delete;

  int port() const { return port_; }
  // "http://127.0.0.1:9100" ("[::1]" for an IPv6 address).
  std::string url() const;

 private:
  std::unique_ptr<httplib::Server> server_;
  std::string bind_;
  int port_ = 0;
  std::unique_ptr<ConnectionReaper> reaper_;
  std::thread thread_;
};

}  // namespace vornleads::cli
