// Faults queued by tests for the coming calls of an operation. Each call of a matching
// operation uses up one count of the oldest matching fault; a fault whose count reaches 0 is
// gone, so the following call is served normally again. Safe to use from several threads.
#pragma once

#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "json_values.h"

namespace vornleads::sandbox {

enum class FaultMode { kReject, kHttp500, kSoapFault, kMalformed, kDelay, kDrop };

struct Fault {
  std::string operation;  // an operation name, or "*" for every operation
  FaultMode mode = FaultMode::kReject;
  int codigo = 0;         // reject: Status.Codigo of the reply
  std::string descricao;  // reject: Status.Descricao; soapfault: faultstring; http500: body
  int ms = 0;             // delay: how long to wait before answering
  int count = 1;          // calls still to be faulted
};

const char* modeName(FaultMode mode);

// A fault from its JSON form {"operation", "mode", "codigo", "descricao", "ms", "count"}.
// "operation" (default "*") must be a known operation or "*"; "codigo" defaults to 999,
// "descricao" to "Falha simulada", "ms" to 0 and "count" to 1, which is the least allowed.
// Throws std::invalid_argument with the reason.
Fault faultFromJson(const Json& description, bool (*knownOperation)(const std::string&));
Json faultToJson(const Fault& fault);

class FaultQueue {
 public:
  void add(std::vector<Fault> faults);

  // The oldest fault matching the operation, with one count used; absent when none matches.
  // The returned copy carries the count left after this call.
  std::optional<Fault> take(const std::string& operation);

  std::vector<Fault> pending() const;
  void clear();

 private:
  mutable std::mutex mutex_;
  std::vector<Fault> faults_;
};

}  // namespace vornleads::sandbox
