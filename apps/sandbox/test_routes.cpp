#include <stdexcept>
#include <string>
#include <vector>

#include "calendar.h"
#include "call_log.h"
#include "operations.h"
#include "routes.h"

namespace vornleads::sandbox {
namespace {

constexpr const char* kJson = "application/json; charset=utf-8";

void sendJson(httplib::Response& response, const Json& body, int status = 200) {
  response.status = status;
  response.set_content(body.dump(), kJson);
}

// Runs `handle` on the parsed request body; bad JSON or a refused value becomes HTTP 400.
template <typename Handler>
void withJsonBody(const httplib::Request& request, httplib::Response& response, Handler handle) {
  try {
    handle(Json::parse(request.body));
  } catch (const Json::parse_error& error) {
    sendJson(response, Json{{"error", std::string("invalid JSON: ") + error.what()}}, 400);
  } catch (const std::invalid_argument& error) {
    sendJson(response, Json{{"error", error.what()}}, 400);
  }
}

Json describe(const StoredLead& lead) {
  Json described = lead.item;
  described["confirmed"] = lead.confirmed;
  described["status"] = lead.status ? Json(*lead.status) : Json();
  described["added"] = formatDateTime(lead.added);
  writeWholeNumbersAsIntegers(described);
  return described;
}

std::vector<Fault> faultsFrom(const Json& body) {
  std::vector<Fault> faults;
  if (body.is_array()) {
    for (const auto& entry : body) faults.push_back(faultFromJson(entry, isServiceOperation));
  } else {
    faults.push_back(faultFromJson(body, isServiceOperation));
  }
  return faults;
}

}  // namespace

void installTestRoutes(httplib::Server& server, SandboxState& state) {
  server.Get("/sandbox/leads", [&state](const httplib::Request&, httplib::Response& response) {
    Json leads = Json::array();
    for (const auto& lead : state.store.select([](const StoredLead&) { return true; })) {
      leads.push_back(describe(lead));
    }
    sendJson(response, leads);
  });

  server.Post("/sandbox/leads",
              [&state](const httplib::Request& request, httplib::Response& response) {
                withJsonBody(request, response, [&](const Json& body) {
                  const size_t added = state.store.add(body);
                  logLine("sandbox: " + std::to_string(added) + " leads added");
                  sendJson(response, Json{{"added", added}});
                });
              });

  server.Get("/sandbox/updates", [&state](const httplib::Request&, httplib::Response& response) {
    sendJson(response, state.store.updateRequests());
  });

  server.Post("/sandbox/faults",
              [&state](const httplib::Request& request, httplib::Response& response) {
                withJsonBody(request, response, [&](const Json& body) {
                  auto faults = faultsFrom(body);
                  for (const auto& fault : faults) {
                    logLine("sandbox: fault " + std::string(modeName(fault.mode)) + " queued for " +
                            fault.operation + " x" + std::to_string(fault.count));
                  }
                  const size_t queued = faults.size();
                  state.faults.add(std::move(faults));
                  sendJson(response, Json{{"queued", queued}});
                });
              });

  server.Get("/sandbox/faults", [&state](const httplib::Request&, httplib::Response& response) {
    Json pending = Json::array();
    for (const auto& fault : state.faults.pending()) pending.push_back(faultToJson(fault));
    sendJson(response, pending);
  });

  server.Post("/sandbox/reset", [&state](const httplib::Request&, httplib::Response& response) {
    state.store.reset();
    state.faults.clear();
    const size_t leads = state.store.select([](const StoredLead&) { return true; }).size();
    logLine("sandbox: reset to " + std::to_string(leads) + " leads");
    sendJson(response, Json{{"leads", leads}});
  });
}

}  // namespace vornleads::sandbox
