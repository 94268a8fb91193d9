#include "bounded_server.h"

#include <fcntl.h>
#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <utility>

#include "routes.h"

namespace vornleads::sandbox {
namespace {

using Clock = std::chrono::steady_clock;

// Whether the request this thread serves ran past its bound (see requestCutOff()).
thread_local bool cutOff = false;
thread_local Clock::time_point requestDeadline = Clock::time_point::max();

constexpr std::chrono::seconds kWriteBound{5};
constexpr std::chrono::seconds kLingerBound{2};
constexpr std::size_t kWorkers = 64;

// Waits until the socket is ready for `events` or the deadline passes.
bool ready(socket_t sock, short events, Clock::time_point deadline) {
  for (;;) {
    // Rounded up, so that a wait given up has really reached the deadline.
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    if (left.count() <= 0) return false;
    pollfd watched{sock, events, 0};
    const int result = poll(&watched, 1, static_cast<int>(std::min<long long>(left.count(), 1000)));
    if (result > 0) return true;
    if (result < 0 && errno != EINTR) return false;
  }
}

// One accepted connection's bytes: plain, or through a TLS session. Non-blocking underneath,
// so that every wait is one of the poll()s above and ends at its deadline.
class Channel {
 public:
  explicit Channel(socket_t sock) : sock_(sock) {
    fcntl(sock_, F_SETFL, fcntl(sock_, F_GETFL) | O_NONBLOCK);
  }
  virtual ~Channel() = default;
  Channel(const Channel&) = delete;
  Channel& operator=(const Channel&) = delete;

  socket_t socket() const { return sock_; }
  virtual bool pending() const { return false; }
  // Bytes read (0 at the end of the stream), or -1 on an error or past the deadline.
  virtual ssize_t read(char* into, std::size_t size, Clock::time_point deadline) {
    for (;;) {
      const ssize_t n = recv(sock_, into, size, 0);
      if (n >= 0) return n;
      if ((errno != EAGAIN && errno != EINTR) || !ready(sock_, POLLIN, deadline)) return -1;
    }
  }
  virtual ssize_t write(const char* from, std::size_t size, Clock::time_point deadline) {
    for (;;) {
      const ssize_t n = send(sock_, from, size, MSG_NOSIGNAL);
      if (n >= 0) return n;
      if ((errno != EAGAIN && errno != EINTR) || !ready(sock_, POLLOUT, deadline)) return -1;
    }
  }

 private:
  socket_t sock_;
};

class TlsChannel : public Channel {
 public:
  TlsChannel(socket_t sock, SSL_CTX* context) : Channel(sock), ssl_(SSL_new(context), &SSL_free) {
    if (ssl_) SSL_set_fd(ssl_.get(), sock);
  }
  ~TlsChannel() override {
    if (established_) SSL_shutdown(ssl_.get());  // a close_notify, not waited for
  }

  bool handshake(Clock::time_point deadline) {
    established_ = ssl_ && step([this] { return SSL_accept(ssl_.get()); }, deadline) > 0;
    return established_;
  }
  bool pending() const override { return SSL_pending(ssl_.get()) > 0; }
  ssize_t read(char* into, std::size_t size, Clock::time_point deadline) override {
    const int n =
        step([&] { return SSL_read(ssl_.get(), into, static_cast<int>(size)); }, deadline);
    return n > 0 ? n : n == 0 ? 0 : -1;
  }
  ssize_t write(const char* from, std::size_t size, Clock::time_point deadline) override {
    return step([&] { return SSL_write(ssl_.get(), from, static_cast<int>(size)); }, deadline);
  }

 private:
  // Runs an OpenSSL call until it completes, waiting for the socket as it asks; -1 on an
  // error or past the deadline, 0 at a clean end of the session.
  template <class Call>
  int step(Call call, Clock::time_point deadline) {
    for (;;) {
      const int n = call();
      if (n > 0) return n;
      const int error = SSL_get_error(ssl_.get(), n);
      if (error == SSL_ERROR_ZERO_RETURN) return 0;
      const short wanted = error == SSL_ERROR_WANT_READ    ? POLLIN
                           : error == SSL_ERROR_WANT_WRITE ? POLLOUT
                                                           : 0;
      if (wanted == 0 || !ready(socket(), wanted, deadline)) return -1;
    }
  }

  std::unique_ptr<SSL, decltype(&SSL_free)> ssl_;
  bool established_ = false;
};

// The stream cpp-httplib reads one request from and writes its answer to. Reads end at the
// request's deadline; what was read is kept up to the first line, to answer a request that
// was cut off at the right route.
class BoundedStream : public httplib::Stream {
 public:
  explicit BoundedStream(Channel& channel) : channel_(channel) {}

  void startRequest(Clock::time_point deadline) {
    deadline_ = deadline;
    requestDeadline = deadline;
    cutOff = false;
    firstLine_.clear();
    written_ = 0;
  }
  bool answered() const { return written_ > 0; }
  const std::string& firstLine() const { return firstLine_; }

  bool is_readable() const override {
    if (channel_.pending() || ready(channel_.socket(), POLLIN, deadline_)) return true;
    cutOff = Clock::now() >= deadline_;
    return false;
  }
  bool is_writable() const override {
    return ready(channel_.socket(), POLLOUT, Clock::now() + kWriteBound);
  }
  ssize_t read(char* ptr, size_t size) override {
    const ssize_t n = channel_.read(ptr, size, deadline_);
    if (n < 0 && Clock::now() >= deadline_) cutOff = true;
    if (n > 0 && firstLine_.find('\n') == std::string::npos && firstLine_.size() < 512) {
      firstLine_.append(ptr, static_cast<std::size_t>(n));
    }
    return n;
  }
  ssize_t write(const char* ptr, size_t size) override {
    const ssize_t n = channel_.write(ptr, size, Clock::now() + kWriteBound);
    if (n > 0) written_ += static_cast<std::size_t>(n);
    return n;
  }
  void get_remote_ip_and_port(std::string& ip, int& port) const override {
    address(getpeername, ip, port);
  }
  void get_local_ip_and_port(std::string& ip, int& port) const override {
    address(getsockname, ip, port);
  }
  socket_t socket() const override { return channel_.socket(); }

  // Ends the answer and reads what the client still sends for a moment: closing with its bytes
  // unread would reset the connection, and the reset can destroy the answer before it is read.
  void letGo() {
    shutdown(channel_.socket(), SHUT_WR);
    const auto until = Clock::now() + kLingerBound;
    char discarded[1024];
    while (channel_.read(discarded, sizeof discarded, until) > 0) {
    }
  }

 private:
  void address(int (*get)(int, sockaddr*, socklen_t*), std::string& ip, int& port) const {
    sockaddr_storage where{};
    socklen_t length = sizeof where;
    char host[NI_MAXHOST] = "", service[NI_MAXSERV] = "";
    if (get(channel_.socket(), reinterpret_cast<sockaddr*>(&where), &length) == 0 &&
        getnameinfo(reinterpret_cast<sockaddr*>(&where), length, host, sizeof host, service,
                    sizeof service, NI_NUMERICHOST | NI_NUMERICSERV) == 0) {
      ip = host;
      port = std::atoi(service);
    }
  }

  Channel& channel_;
  Clock::time_point deadline_ = Clock::now();
  std::string firstLine_;
  std::size_t written_ = 0;
};

// The 408 for a request whose headers or body did not arrive in time.
void answerCutOff(BoundedStream& stream) {
  const auto line = stream.firstLine().substr(0, stream.firstLine().find('\r'));
  std::string contentType;
  const std::string body =
      unreadableRequestBody(line.find(kEndpointPath) != std::string::npos ? kEndpointPath : "",
                            cutOffMessage(), contentType);
  const std::string answer = "HTTP/1.1 408 Request Timeout\r\nContent-Type: " + contentType +
                             "\r\nContent-Length: " + std::to_string(body.size()) +
                             "\r\nConnection: close\r\n\r\n" + body;
  for (std::size_t at = 0; at < answer.size();) {
    const ssize_t n = stream.write(answer.data() + at, answer.size() - at);
    if (n <= 0) return;
    at += static_cast<std::size_t>(n);
  }
}

// Serves one connection's requests the way cpp-httplib does (keep-alive up to its limits),
// each request bounded by kRequestBound from its first byte.
template <class Base>
class Bounded : public Base {
 public:
  template <class... Arguments>
  explicit Bounded(Arguments&&... arguments) : Base(std::forward<Arguments>(arguments)...) {
    this->new_task_queue = [] { return new httplib::ThreadPool(kWorkers); };
  }

 protected:
  bool serve(Channel& channel, Clock::time_point firstDeadline) {
    BoundedStream stream(channel);
    for (std::size_t left = this->keep_alive_max_count_; left > 0; --left) {
      const auto idleUntil = Clock::now() + std::chrono::seconds(this->keep_alive_timeout_sec_);
      if (left == this->keep_alive_max_count_) {
        stream.startRequest(firstDeadline);
      } else if (!channel.pending() && !waitForRequest(channel, idleUntil)) {
        return true;
      } else {
        stream.startRequest(Clock::now() + kRequestBound);
      }
      bool closed = false;
      const bool served = this->process_request(stream, left == 1, closed, nullptr);
      // Once its request line is read, cpp-httplib answers a cut-off request itself (with
      // the status requestCutOff() makes 408); before that, nobody has. A client that sent
      // nothing at all is simply closed on.
      if (cutOff && !stream.firstLine().empty()) {
        if (!stream.answered()) answerCutOff(stream);
        stream.letGo();
      }
      if (!served || closed || cutOff) return served;
    }
    return true;
  }

 private:
  // Waits for the next request's first byte, giving up at `until` or when the server stops.
  bool waitForRequest(Channel& channel, Clock::time_point until) {
    while (this->svr_sock_ != INVALID_SOCKET) {
      if (ready(channel.socket(), POLLIN,
                std::min(until, Clock::now() + std::chrono::milliseconds(100)))) {
        return true;
      }
      if (Clock::now() >= until) return false;
    }
    return false;
  }
};

// Closes the accepted socket on every way out.
struct AcceptedSocket {
  socket_t sock;
  ~AcceptedSocket() {
    shutdown(sock, SHUT_RDWR);
    close(sock);
  }
};

class BoundedServer : public Bounded<httplib::Server> {
 private:
  bool process_and_close_socket(socket_t sock) override {
    const AcceptedSocket accepted{sock};
    Channel channel(sock);
    // The first request's bound runs from the accept: an idle client is as slow as any.
    return serve(channel, Clock::now() + kRequestBound);
  }
};

class BoundedTlsServer : public Bounded<httplib::SSLServer> {
 public:
  BoundedTlsServer(const std::string& cert, const std::string& key)
      : Bounded<httplib::SSLServer>(cert.c_str(), key.c_str()) {}

 private:
  bool process_and_close_socket(socket_t sock) override {
    const AcceptedSocket accepted{sock};
    TlsChannel channel(sock, ssl_context());
    const auto deadline = Clock::now() + kRequestBound;
    return channel.handshake(deadline) && serve(channel, deadline);
  }
};

}  // namespace

bool requestCutOff() { return cutOff || Clock::now() >= requestDeadline; }

std::string cutOffMessage() {
  return "the request did not arrive within " + std::to_string(kRequestBound.count()) + " s";
}

std::unique_ptr<httplib::Server> makeBoundedServer(const std::string& tlsCert,
                                                   const std::string& tlsKey) {
  if (tlsCert.empty()) return std::make_unique<BoundedServer>();
  return std::make_unique<BoundedTlsServer>(tlsCert, tlsKey);
}

}  // namespace vornleads::sandbox
