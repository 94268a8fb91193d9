// A throw-away certificate authority for TLS tests, made with the openssl command line in a
// temporary directory that goes with the object: the authority's certificate, and a server
// certificate and key it signed for the given subject alternative names (for example
// "IP:127.0.0.1" or "DNS:localhost"). Construction throws std::runtime_error when openssl fails.
#pragma once

#include <filesystem>
#include <string>

#include "support/paths.h"

namespace vornleads::test {

class TestAuthority {
 public:
  explicit TestAuthority(const std::string& serverNames = "IP:127.0.0.1");

  // PEM files.
  std::filesystem::path caFile() const { return dir_ / "ca.pem"; }
  std::filesystem::path serverCert() const { return dir_ / "server.pem"; }
  std::filesystem::path serverKey() const { return dir_ / "server.key"; }

 private:
  TempDir dir_{"vornleads-authority"};
};

}  // namespace vornleads::test
