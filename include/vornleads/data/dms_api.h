// The request to the DMS's own web API, and the deciphering of stored user passwords.
//
// RequisicaoVornDMSUtils sends one HTTP request and returns the response body.
//   url      the dealership's API address (GER_REVENDA.URL_VORN_DMS, see dm_geral.h)
//   metodo   the HTTP method ("GET", "POST", "PUT", "PATCH", "DELETE"); empty means GET,
//            or POST when there is a body
//   recurso  the resource path, joined to url with exactly one "/" between them; empty
//            means url itself
//   corpoJson  the request body, sent as "application/json; charset=utf-8" when not empty
//   login, senha  HTTP Basic authentication (nothing is sent when login is empty)
//   usuario  the DMS user on whose behalf the request is made, sent in the header
//            "X-VornDMS-Usuario"
//   corpo    when not null, its whole remaining content is the body instead of corpoJson
//            (sent as "application/octet-stream"); the stream stays the caller's
// Success: any HTTP status below 400; the body as the server sent it (possibly empty).
// Errors, each a VornError naming the address (never the password): no address, a refused
// or unreachable connection, a connect or total time-out, an HTTP status of 400 or more
// (with the status and the first 300 characters of the body).
//
// Time-outs are process-wide settings (defaults: 10 s to connect, 60 s in all).
//
// DeCript turns a password as GER_USUARIO.SENHA stores it into the one to send. The cipher
// belongs to the host: it installs its routine with setDeCript. Until one is installed (or
// after setDeCript with an empty function) DeCript returns its argument unchanged.
// Both settings are thread-safe.
#pragma once

#include <cstdint>
#include <functional>
#include <istream>
#include <string>

namespace vornleads {

std::string RequisicaoVornDMSUtils(const std::string& url, const std::string& metodo,
                                   const std::string& recurso, const std::string& corpoJson,
                                   const std::string& login, const std::string& senha,
                                   int32_t usuario, std::istream* corpo);

struct DmsApiTimeouts {
  long conexaoMs = 10000;
  long totalMs = 60000;
};
DmsApiTimeouts dmsApiTimeouts();
void setDmsApiTimeouts(DmsApiTimeouts timeouts);

std::string DeCript(const std::string& senha);
void setDeCript(std::function<std::string(const std::string&)> decifra);

}  // namespace vornleads
