#include <chrono>
#include <string>
#include <thread>

#include "call_log.h"
#include "operations.h"
#include "routes.h"
#include "soap_envelope.h"

namespace vornleads::sandbox {
namespace {

constexpr const char* kXml = "text/xml; charset=utf-8";

void sendFault(httplib::Response& response, const std::string& faultstring) {
  response.status = 500;
  response.set_content(writeSoapFault(faultstring), kXml);
}

void sendReply(httplib::Response& response, const std::string& operation, const Json& reply) {
  response.status = 200;
  response.set_content(writeSoapReply(operation, reply.dump()), kXml);
}

std::string summaryOf(const std::string& operation, const Json& reply) {
  std::string summary = operation + ": Codigo " + textOf(reply["Status"]["Codigo"]);
  for (const char* list : {"Leads", "Novos", "Historico"}) {
    if (reply.contains(list)) summary += ", " + std::to_string(reply[list].size()) + " leads";
  }
  return summary;
}

void recordUpdateRequest(LeadStore& store, const std::string& parametros) {
  const Json request = Json::parse(parametros, nullptr, false);
  if (request.is_object()) store.recordUpdateRequest(request);
}

// Serves a queued fault. Returns false when the call is then to be answered normally.
bool serveFault(const Fault& fault, const std::string& operation, httplib::Response& response) {
  logLine(operation + ": fault " + modeName(fault.mode) + " (" + std::to_string(fault.count) +
          " left)");
  switch (fault.mode) {
    case FaultMode::kReject:
      sendReply(response, operation, failureReply(operation, fault.codigo, fault.descricao));
      return true;
    case FaultMode::kHttp500:
      response.status = 500;
      response.set_content(fault.descricao + "\n", "text/plain; charset=utf-8");
      return true;
    case FaultMode::kSoapFault:
      sendFault(response, fault.descricao);
      return true;
    case FaultMode::kMalformed: {
      // A reply cut off half-way, as a server that crashed while writing it would leave it.
      const std::string reply = writeSoapReply(operation, "{}");
      response.status = 200;
      response.set_content(reply.substr(0, reply.size() / 2), kXml);
      return true;
    }
    case FaultMode::kDelay:
      std::this_thread::sleep_for(std::chrono::milliseconds(fault.ms));
      return false;
    case FaultMode::kDrop:
      // The status line and headers go out, then the provider fails before the first chunk,
      // so the connection closes with the reply incomplete.
      response.set_chunked_content_provider(kXml, [](size_t, httplib::DataSink&) { return false; });
      return true;
  }
  return false;
}

void serveCall(SandboxState& state, const httplib::Request& request, httplib::Response& response) {
  SoapCall call;
  try {
    call = readSoapCall(request.body, request.get_header_value("Content-Type"),
                        request.get_header_value("SOAPAction"));
  } catch (const NotSoapError& error) {
    logLine(std::string("refused request: ") + error.what());
    sendFault(response, error.what());
    return;
  }
  if (!isServiceOperation(call.operation)) {
    logLine("refused request: unknown operation " + call.operation);
    sendFault(response, "Unknown operation \"" + call.operation +
                            "\": interface IVornLeadsVW has no method of that name");
    return;
  }
  // Every status update that arrives is kept, faulted or not, so tests see what was sent.
  if (call.operation == "AtualizaLeads") recordUpdateRequest(state.store, call.parametros);

  if (const auto fault = state.faults.take(call.operation)) {
    if (serveFault(*fault, call.operation, response)) return;
  }
  const Json reply = answerCall(state.store, call.operation, call.parametros);
  logLine(summaryOf(call.operation, reply));
  sendReply(response, call.operation, reply);
}

}  // namespace

void installServiceRoute(httplib::Server& server, SandboxState& state) {
  server.Post(kEndpointPath,
              [&state](const httplib::Request& request, httplib::Response& response) {
                serveCall(state, request, response);
              });
}

}  // namespace vornleads::sandbox
