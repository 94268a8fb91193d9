// The SOAP invocation registry: what the SOAP client needs to know about each remotable
// interface (its namespace and default SOAP action) before it can call one of its operations.
//
// Interfaces register once at start-up, from the unit that declares them, before any thread
// calls through them; after that the registry is only read, so it takes no lock. A lookup of
// an interface that never registered answers empty.
#pragma once

#include <optional>
#include <string>
#include <unordered_map>

namespace vornleads {

struct InvokableRegistration {
  std::string interfaceName;  // the key, e.g. "IVornLeadsVWDLL"
  std::string nameSpace;      // the XML namespace of the operation elements
  std::string wsdlEncoding;
  std::string documentation;
  std::string externalName;
  // The SOAPAction value; "%operationName%" stands for the name of the operation called.
  std::string soapAction;
};

class InvRegistry {
 public:
  // Registers an interface, replacing an earlier registration under the same name.
  void RegisterInterface(InvokableRegistration registration);
  // Forgets the named interface; calls through it fail until it registers again.
  void UnRegisterInterface(const std::string& interfaceName);

  // The registration of the named interface, or empty when it never registered.
  std::optional<InvokableRegistration> find(const std::string& interfaceName) const;

  // The SOAP action of one operation: the default action with the operation's name in place
  // of "%operationName%" (every occurrence).
  static std::string soapActionOf(const InvokableRegistration& registration,
                                  const std::string& operation);

 private:
  std::unordered_map<std::string, InvokableRegistration> interfaces_;
};

// The process-wide registry (created on first use, never destroyed before exit).
InvRegistry& invRegistry();

}  // namespace vornleads
