#include "support/firebird_server.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

#include "vornleads/data/schema.h"
#include "vornleads/data/sql_connection.h"

namespace vornleads::test {
namespace {

namespace fs = std::filesystem;

constexpr const char* kServer = "/usr/sbin/firebird";
constexpr const char* kInstalled = "/usr/lib/x86_64-linux-gnu/firebird/3.0";
constexpr const char* kPassword = "vornleads-test";

// A port nobody listens on now. Another process could take it before the server binds it;
// the server then fails to start and says so.
int freePort() {
  const int fd = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  if (fd < 0 || bind(fd, reinterpret_cast<sockaddr*>(&address), size) != 0 ||
      getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
    if (fd >= 0) close(fd);
    throw std::runtime_error("no free loopback port for the Firebird server");
  }
  close(fd);
  return ntohs(address.sin_port);
}

bool listening(int port) {
  const int fd = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(static_cast<uint16_t>(port));
  const bool ok =
      fd >= 0 && connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
  if (fd >= 0) close(fd);
  return ok;
}

}  // namespace

FirebirdServer::FirebirdServer() : root_("vornleads-fbserver"), port_(freePort()) {
  const fs::path root = root_.path();
  fs::create_directories(root / "lock");
  for (const char* entry : {"plugins", "intl", "firebird.msg", "plugins.conf", "lib"}) {
    if (fs::exists(fs::path(kInstalled) / entry)) {
      fs::create_symlink(fs::path(kInstalled) / entry, root / entry);
    }
  }
  writeFile(root / "firebird.conf",
            "ServerMode = Super\n"
            "RemoteServicePort = " +
                std::to_string(port_) +
                "\n"
                "RemoteBindAddress = 127.0.0.1\n"
                "SecurityDatabase = " +
                (root / "security3.fdb").string() +
                "\n"
                "IpcName = vornleads_test_" +
                std::to_string(port_) +
                "\n"
                "UdfAccess = None\n");
  // The security database is made embedded, before the server runs: SYSDBA and its password.
  writeFile(root / "security.sql", "create database '" + (root / "security3.fdb").string() +
                                       "';\ncreate user SYSDBA password '" + kPassword +
                                       "' using plugin Srp;\ncommit;\n");
  run("isql-fb -q -b -user SYSDBA -i " + (root / "security.sql").string());

  // Everything the child needs is made before fork: a threaded parent's child may only call
  // async-signal-safe functions.
  std::vector<std::string> environment;
  for (char** entry = environ; *entry != nullptr; ++entry) {
    const std::string variable = *entry;
    if (variable.rfind("FIREBIRD", 0) != 0) environment.push_back(variable);
  }
  environment.push_back("FIREBIRD=" + root.string());
  environment.push_back("FIREBIRD_LOCK=" + (root / "lock").string());
  environment.push_back("FIREBIRD_TMP=" + root.string());
  std::vector<char*> envp;
  for (std::string& variable : environment) envp.push_back(variable.data());
  envp.push_back(nullptr);
  const std::string log = (root / "server.log").string();

  pid_ = fork();
  if (pid_ < 0) throw std::runtime_error("cannot fork the Firebird server");
  if (pid_ == 0) {
    const int fd = open(log.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    if (fd < 0 || dup2(fd, STDOUT_FILENO) < 0 || dup2(fd, STDERR_FILENO) < 0) _exit(126);
    execle(kServer, kServer, static_cast<char*>(nullptr), envp.data());
    _exit(127);
  }
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (!listening(port_)) {
    int status = 0;
    if (waitpid(pid_, &status, WNOHANG) == pid_ || std::chrono::steady_clock::now() > deadline) {
      if (waitpid(pid_, &status, WNOHANG) == 0) {
        kill(pid_, SIGKILL);
        waitpid(pid_, &status, 0);
      }
      pid_ = -1;
      throw std::runtime_error(std::string("the Firebird server did not start (") + kServer +
                               "):\n" + readFile(root / "server.log"));
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
}

FirebirdServer::~FirebirdServer() {
  if (pid_ <= 0) return;
  kill(pid_, SIGTERM);
  int status = 0;
  for (int i = 0; i < 100; ++i) {
    if (waitpid(pid_, &status, WNOHANG) == pid_) return;
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  kill(pid_, SIGKILL);
  waitpid(pid_, &status, 0);
}

std::string FirebirdServer::run(const std::string& command) const {
  const fs::path root = root_.path();
  return commandOutput("FIREBIRD=" + root.string() + " FIREBIRD_LOCK=" + (root / "lock").string() +
                       " FIREBIRD_TMP=" + root.string() + " " + command);
}

std::string FirebirdServer::createDatabase(const std::string& name, bool sample) {
  const std::string path = (root_.path() / name).string();
  const std::string address = "inet://127.0.0.1:" + std::to_string(port_) + "/" + path;
  writeFile(root_.path() / "create.sql", "create database '" + address +
                                             "' user 'SYSDBA' password '" + kPassword +
                                             "' default character set UTF8;\n");
  run("isql-fb -q -b -i " + (root_.path() / "create.sql").string());

  const std::string uri = "firebird://SYSDBA:" + std::string(kPassword) +
                          "@127.0.0.1:" + std::to_string(port_) + "/" + path;
  auto connection = OpenConnection(uri);
  for (const std::string& statement : SchemaStatements()) connection->execute(statement);
  if (sample) {
    for (const std::string& statement : SampleStatements()) connection->execute(statement);
  }
  return uri;
}

}  // namespace vornleads::test
