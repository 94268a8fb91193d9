// A throw-away certificate authority made with openssl in a temporary directory: its PEM
// certificate, and a server certificate and key it signed for the subject alternative names.
#pragma once

#include <filesystem>
#include <string>

#include "support/paths.h"

namespace vornleads::test {

class TestAuthority {
 public:
  explicit TestAuthority(const std::string& serverNames = "IP:127.0.0.1");

  std::filesystem::path caFile() const { return dir_ / "ca.pem"; }
  std::filesystem::path serverCert() const { return dir_ / "server.pem"; }
  std::filesystem::path serverKey() const { return dir_ / "server.key"; }

 private:
  TempDir dir_{"vornleads-authority"};
};

}  // namespace vornleads::test
