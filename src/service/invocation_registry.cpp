#include "vornleads/service/invocation_registry.h"

#include <utility>

namespace vornleads {

void InvRegistry::RegisterInterface(InvokableRegistration registration) {
  auto name = registration.interfaceName;
  interfaces_.insert_or_assign(std::move(name), std::move(registration));
}

void InvRegistry::UnRegisterInterface(const std::string& interfaceName) {
  interfaces_.erase(interfaceName);
}

std::optional<InvokableRegistration> InvRegistry::find(const std::string& interfaceName) const {
  const auto found = interfaces_.find(interfaceName);
  if (found == interfaces_.end()) return std::nullopt;
  return found->second;
}

std::string InvRegistry::soapActionOf(const InvokableRegistration& registration,
                                      const std::string& operation) {
  static const std::string placeholder = "%operationName%";
  std::string action = registration.soapAction;
  for (auto at = action.find(placeholder); at != std::string::npos;
       at = action.find(placeholder, at + operation.size())) {
    action.replace(at, placeholder.size(), operation);
  }
  return action;
}

InvRegistry& invRegistry() {
  static InvRegistry registry;
  return registry;
}

}  // namespace vornleads
