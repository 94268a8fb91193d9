#include "support/test_authority.h"

#include <cstdlib>
#include <stdexcept>

namespace vornleads::test {
namespace {

void run(const std::string& command, const std::filesystem::path& dir) {
  const std::string quiet = "cd '" + dir.string() + "' && " + command + " >openssl.log 2>&1";
  if (std::system(quiet.c_str()) != 0) {
    throw std::runtime_error("openssl failed: " + command + "\n" + readFile(dir / "openssl.log"));
  }
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
