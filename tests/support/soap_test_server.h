// Loopback peers for the HTTP client tests: a canned HTTP server on port 0 whose answer each
// test sets (to POST and GET alike) and which keeps what it received; a socket that drops every
// connection unanswered; and a port where nothing listens.
#pragma once

#include <httplib.h>

#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>

namespace vornleads::test {

struct ReceivedRequest {
  std::string method;
  std::string path;
  std::string body;
  std::multimap<std::string, std::string, httplib::detail::ci> headers;
};

class SoapTestServer {
 public:
  using Handler = std::function<void(const httplib::Request&, httplib::Response&)>;

  SoapTestServer();
  ~SoapTestServer();
  SoapTestServer(const SoapTestServer&) = delete;
  SoapTestServer& operator=(const SoapTestServer&) = delete;

  std::string url() const;
  // http://127.0.0.1:PORT, without the SOAP path of url().
  std::string base() const;
  void answer(Handler handler);
  ReceivedRequest lastRequest() const;

 private:
  httplib::Server server_;
  int port_ = 0;
  std::thread thread_;
  mutable std::mutex mutex_;
  Handler handler_;
  ReceivedRequest last_;
};

// Accepts connections, reads the request and closes without a byte of answer.
class DroppingServer {
 public:
  DroppingServer();
  ~DroppingServer();
  DroppingServer(const DroppingServer&) = delete;
  DroppingServer& operator=(const DroppingServer&) = delete;
  std::string url() const;

 private:
  int socket_ = -1;
  int port_ = 0;
  std::thread thread_;
};

// A loopback URL on a port that was free a moment ago: connecting to it is refused.
std::string refusingUrl();

// The reply envelope of an operation whose result is the given text (escaped here).
std::string soapReply(const std::string& operation, const std::string& result);
// The Parametros text of a request envelope.
std::string parametrosOf(const std::string& requestBody);

}  // namespace vornleads::test
