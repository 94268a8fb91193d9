#include "support/firebird_server.h"

#include <arpa/inet.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <stdexcept>
#include <vector>

#include "support/soap_test_server.h"
#include "vornleads/db/schema.h"
#include "vornleads/db/sql_connection.h"

namespace vornleads::test {
namespace {

constexpr const char* kPassword = "vornleads-test";

}  // namespace

FirebirdServer::FirebirdServer() {
  const std::string root = root_.path().string(),
                    installed = "/usr/lib/x86_64-linux-gnu/firebird/3.0";
  std::filesystem::create_directories(root_ / "lock");
  for (const char* entry : {"plugins", "intl", "firebird.msg", "plugins.conf", "lib"}) {
    if (std::filesystem::exists(installed + "/" + entry))
      std::filesystem::create_symlink(installed + "/" + entry, root_ / entry);
  }
  port_ = std::to_string(std::stoi(refusingUrl().substr(17)));  // free a moment ago
  writeFile(root_ / "firebird.conf",
            "ServerMode = Super\nRemoteServicePort = " + port_ +
                "\nRemoteBindAddress = 127.0.0.1\nSecurityDatabase = " + root +
                "/security3.fdb\nIpcName = vornleads_test_" + port_ + "\nUdfAccess = None\n");
  environment_ = "FIREBIRD=" + root + " FIREBIRD_LOCK=" + root + "/lock FIREBIRD_TMP=" + root;
  isql("create database '" + root + "/security3.fdb';\ncreate user SYSDBA password '" +
           kPassword + "' using plugin Srp;\ncommit;\n",
       "-user SYSDBA");
  start();
}

FirebirdServer::~FirebirdServer() {
  if (!server_) return;
  server_->signal(SIGCONT);
  server_->signal(SIGTERM);
  server_->wait(std::chrono::seconds(5));
}

void FirebirdServer::start() {
  server_.reset();
  server_.emplace(
      std::vector<std::string>{"/bin/sh", "-c", environment_ + " exec /usr/sbin/firebird"});
  if (!ChildProcess::waitUntil([this] { return listening(); }, std::chrono::seconds(10)))
    throw std::runtime_error("the Firebird server did not start:\n" + server_->err());
}

void FirebirdServer::kill() {
  server_->signal(SIGKILL);
  server_->wait(std::chrono::seconds(5));
}

void FirebirdServer::freeze() { server_->signal(SIGSTOP); }
void FirebirdServer::thaw() { server_->signal(SIGCONT); }

std::string FirebirdServer::createDatabase(const std::string& name) {
  const std::string path = (root_ / name).string();
  isql("create database 'inet://127.0.0.1:" + port_ + "/" + path + "' user 'SYSDBA' password '" +
       kPassword + "' default character set UTF8;\n");
  // Scratch databases: without forced writes the schema goes in about thirty times faster.
  commandOutput(environment_ + " gfix -write async -user SYSDBA -password " + kPassword +
                " inet://127.0.0.1:" + port_ + "/" + path);
  const std::string uri =
      "firebird://SYSDBA:" + std::string(kPassword) + "@127.0.0.1:" + port_ + "/" + path;
  auto connection = OpenConnection(uri);
  for (const std::string& statement : SchemaStatements()) connection->execute(statement);
  for (const std::string& statement : SampleStatements()) connection->execute(statement);
  return uri;
}

void FirebirdServer::isql(const std::string& sql, const std::string& options) {
  writeFile(root_ / "script.sql", sql);
  commandOutput(environment_ + " isql-fb -q -b " + options + " -i " +
                (root_ / "script.sql").string());
}

bool FirebirdServer::listening() const {
  sockaddr_in address{
      AF_INET, htons(static_cast<uint16_t>(std::stoi(port_))), {htonl(INADDR_LOOPBACK)}, {}};
  const int fd = socket(AF_INET, SOCK_STREAM, 0);
  const bool ok = connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
  close(fd);
  return ok;
}

}  // namespace vornleads::test
