#include <string>

#include "bounded_server.h"
#include "json_values.h"
#include "routes.h"
#include "soap_envelope.h"

namespace vornleads::sandbox {
namespace {

bool expectsBody(const httplib::Request& request) {
  return request.method == "POST" || request.method == "PUT" || request.method == "PATCH";
}

std::string reasonFor(const httplib::Request& request, int status) {
  switch (status) {
    case 400:
      return "the request could not be read";
    case 404:
      return "there is no route " + request.method + " " + request.path;
    case 413:
      return "the request body is too large";
    case 414:
      return "the request line is too long";
    default:
      return "the request could not be served (HTTP " + std::to_string(status) + ")";
  }
}

void answer(const httplib::Request& request, httplib::Response& response,
            const std::string& message) {
  std::string contentType;
  const std::string body = unreadableRequestBody(request.path, message, contentType);
  response.set_content(body, contentType.c_str());
}

}  // namespace

std::string unreadableRequestBody(const std::string& path, const std::string& message,
                                  std::string& contentType) {
  if (path == kEndpointPath) {
    contentType = "text/xml; charset=utf-8";
    return writeSoapFault(message);
  }
  contentType = "application/json; charset=utf-8";
  return Json{{"error", message}}.dump();
}

void installUnreadableRequestAnswers(httplib::Server& server) {
  server.set_pre_routing_handler([](const httplib::Request& request, httplib::Response& response) {
    if (!expectsBody(request) || request.has_header("Content-Length") ||
        request.get_header_value("Transfer-Encoding").find("chunked") != std::string::npos) {
      return httplib::Server::HandlerResponse::Unhandled;
    }
    response.status = 411;
    // Bytes of a body without a length cannot be told from the next request.
    response.set_header("Connection", "close");
    answer(request, response, "the request has no Content-Length");
    return httplib::Server::HandlerResponse::Handled;
  });
  server.set_error_handler(httplib::Server::HandlerWithResponse(
      [](const httplib::Request& request, httplib::Response& response) {
        if (!response.body.empty()) return httplib::Server::HandlerResponse::Unhandled;
        if (requestCutOff()) {
          response.status = 408;
          response.set_header("Connection", "close");
          answer(request, response, cutOffMessage());
        } else {
          answer(request, response, reasonFor(request, response.status));
        }
        return httplib::Server::HandlerResponse::Handled;
      }));
}

}  // namespace vornleads::sandbox
