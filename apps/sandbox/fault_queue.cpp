#include "fault_queue.h"

#include <stdexcept>
#include <utility>

namespace vornleads::sandbox {
namespace {

struct ModeName {
  FaultMode mode;
  const char* name;
};

constexpr ModeName kModes[] = {
    {FaultMode::kReject, "reject"},       {FaultMode::kHttp500, "http500"},
    {FaultMode::kSoapFault, "soapfault"}, {FaultMode::kMalformed, "malformed"},
    {FaultMode::kDelay, "delay"},         {FaultMode::kDrop, "drop"}};

int integerMember(const Json& description, const char* name, int fallback) {
  const auto member = description.find(name);
  if (member == description.end() || member->is_null()) return fallback;
  const auto value = leadIdOf(*member);
  if (!value || *value < -2147483647LL || *value > 2147483647LL) {
    throw std::invalid_argument(std::string("\"") + name + "\" must be a whole number");
  }
  return static_cast<int>(*value);
}

}  // namespace

const char* modeName(FaultMode mode) {
  for (const auto& entry : kModes) {
    if (entry.mode == mode) return entry.name;
  }
  return "?";
}

Fault faultFromJson(const Json& description, bool (*knownOperation)(const std::string&)) {
  if (!description.is_object()) throw std::invalid_argument("a fault must be a JSON object");
  Fault fault;
  fault.operation = textOf(description.value("operation", Json("*")));
  if (fault.operation != "*" && !knownOperation(fault.operation)) {
    throw std::invalid_argument("unknown operation \"" + fault.operation + "\"");
  }
  const std::string mode = textOf(description.value("mode", Json()));
  bool found = false;
  for (const auto& entry : kModes) {
    if (mode == entry.name) {
      fault.mode = entry.mode;
      found = true;
    }
  }
  if (!found) {
    throw std::invalid_argument("unknown mode \"" + mode +
                                "\" (reject, http500, soapfault, malformed, delay or drop)");
  }
  fault.codigo = integerMember(description, "codigo", 999);
  fault.descricao = description.contains("descricao") ? textOf(description["descricao"])
                                                      : std::string("Falha simulada");
  fault.ms = integerMember(description, "ms", 0);
  fault.count = integerMember(description, "count", 1);
  if (fault.count < 1) throw std::invalid_argument("\"count\" must be at least 1");
  if (fault.ms < 0) throw std::invalid_argument("\"ms\" must not be negative");
  return fault;
}

Json faultToJson(const Fault& fault) {
  return Json{{"operation", fault.operation},
              {"mode", modeName(fault.mode)},
              {"codigo", fault.codigo},
              {"descricao", fault.descricao},
              {"ms", fault.ms},
              {"count", fault.count}};
}

void FaultQueue::add(std::vector<Fault> faults) {
  std::lock_guard<std::mutex> lock(mutex_);
  for (auto& fault : faults) faults_.push_back(std::move(fault));
}

std::optional<Fault> FaultQueue::take(const std::string& operation) {
  std::lock_guard<std::mutex> lock(mutex_);
  for (auto fault = faults_.begin(); fault != faults_.end(); ++fault) {
    if (fault->operation != "*" && fault->operation != operation) continue;
    --fault->count;
    Fault used = *fault;
    if (fault->count == 0) faults_.erase(fault);
    return used;
  }
  return std::nullopt;
}

std::vector<Fault> FaultQueue::pending() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return faults_;
}

void FaultQueue::clear() {
  std::lock_guard<std::mutex> lock(mutex_);
  faults_.clear();
}

}  // namespace vornleads::sandbox
