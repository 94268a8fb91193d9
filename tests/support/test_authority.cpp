#include "support/test_authority.h"

namespace vornleads::test {
namespace {

// std::runtime_error with openssl's output when it fails.
void run(const std::string& command, const std::filesystem::path& dir) {
  commandOutput("cd '" + dir.string() + "' && " + command);
}

}  // namespace

TestAuthority::TestAuthority(const std::string& serverNames) {
  const std::string key = "-newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes";
  run("openssl req -x509 " + key + " -keyout ca.key -out ca.pem -days 2 -subj '/CN=Test authority'",
      dir_.path());
  run("openssl req " + key + " -keyout server.key -out server.csr -subj '/CN=Test server'",
      dir_.path());
  writeFile(dir_ / "server.ext", "subjectAltName=" + serverNames +
                                     "\nbasicConstraints=CA:FALSE\nextendedKeyUsage=serverAuth\n");
  run("openssl x509 -req -in server.csr -CA ca.pem -CAkey ca.key -CAcreateserial -days 2 "
      "-extfile server.ext -out server.pem",
      dir_.path());
}

}  // namespace vornleads::test
