#include "support/soap_test_server.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <pugixml.hpp>
#include <sstream>
#include <stdexcept>

namespace vornleads::test {
namespace {

// A socket bound to a free loopback port, which `port` receives.
int boundLoopbackSocket(int& port) {
  const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  if (fd < 0 || ::bind(fd, reinterpret_cast<sockaddr*>(&address), length) != 0 ||
      ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
    if (fd >= 0) ::close(fd);
    throw std::runtime_error("no loopback socket");
  }
  port = ntohs(address.sin_port);
  return fd;
}

std::string loopbackBase(int port) { return "http://127.0.0.1:" + std::to_string(port); }
std::string loopbackUrl(int port) { return loopbackBase(port) + "/soap/IVornLeadsVW"; }

}  // namespace

SoapTestServer::SoapTestServer() {
  const auto record = [this](const httplib::Request& request, httplib::Response& response) {
    Handler handler;
    {
      std::lock_guard<std::mutex> lock(mutex_);
      last_ = {request.method,
               request.path,
               request.body,
               {request.headers.begin(), request.headers.end()}};
      handler = handler_;
    }
    if (handler) handler(request, response);
  };
  server_.Post("/.*", record);
  server_.Get("/.*", record);
  port_ = server_.bind_to_any_port("127.0.0.1");
  if (port_ <= 0) throw std::runtime_error("the test server could not bind a port");
  thread_ = std::thread([this] { server_.listen_after_bind(); });
}

SoapTestServer::~SoapTestServer() {
  while (!server_.is_running()) std::this_thread::yield();
  server_.stop();
  thread_.join();
}

std::string SoapTestServer::url() const { return loopbackUrl(port_); }
std::string SoapTestServer::base() const { return loopbackBase(port_); }

void SoapTestServer::answer(Handler handler) {
  std::lock_guard<std::mutex> lock(mutex_);
  handler_ = std::move(handler);
}

ReceivedRequest SoapTestServer::lastRequest() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return last_;
}

DroppingServer::DroppingServer() {
  socket_ = boundLoopbackSocket(port_);
  if (::listen(socket_, 8) != 0) {
    ::close(socket_);
    throw std::runtime_error("listen() failed");
  }
  thread_ = std::thread([this] {
    for (int connection; (connection = ::accept(socket_, nullptr, nullptr)) >= 0;) {
      char buffer[4096];
      (void)::recv(connection, buffer, sizeof buffer, 0);
      ::close(connection);
    }  // accept fails once the listening socket is shut down
  });
}

DroppingServer::~DroppingServer() {
  ::shutdown(socket_, SHUT_RDWR);
  thread_.join();
  ::close(socket_);
}

std::string DroppingServer::url() const { return loopbackUrl(port_); }

std::string refusingUrl() {
  int port = 0;
  ::close(boundLoopbackSocket(port));
  return loopbackUrl(port);
}

std::string soapReply(const std::string& operation, const std::string& result) {
  pugi::xml_document document;
  auto envelope = document.append_child("SOAP-ENV:Envelope");
  envelope.append_attribute("xmlns:SOAP-ENV") = "http://schemas.xmlsoap.org/soap/envelope/";
  envelope.append_attribute("xmlns:xsd") = "http://www.w3.org/2001/XMLSchema";
  envelope.append_attribute("xmlns:xsi") = "http://www.w3.org/2001/XMLSchema-instance";
  auto response = envelope.append_child("SOAP-ENV:Body")
                      .append_child(("NS1:" + operation + "Response").c_str());
  response.append_attribute("xmlns:NS1") = "urn:VornLeadsVWIntf-IVornLeadsVW";
  auto ret = response.append_child("return");
  ret.append_attribute("xsi:type") = "xsd:string";
  ret.append_child(pugi::node_pcdata).set_value(result.c_str());
  std::ostringstream out;
  document.save(out, "", pugi::format_raw);
  return out.str();
}

std::string parametrosOf(const std::string& requestBody) {
  pugi::xml_document document;
  if (!document.load_buffer(requestBody.data(), requestBody.size()))
    throw std::runtime_error("the request is not XML");
  return document.document_element().first_child().first_child().child("Parametros").text().get();
}

}  // namespace vornleads::test
