#include "status_connections.h"

#include <dirent.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

namespace vornleads::cli {
namespace {

// The local port of a connected (not listening) TCP socket, -1 for anything else.
int connectionPort(int fd) {
  sockaddr_storage address{};
  socklen_t length = sizeof address;
  if (getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) != 0) return -1;
  int listening = 0;
  socklen_t size = sizeof listening;
  if (getsockopt(fd, SOL_SOCKET, SO_ACCEPTCONN, &listening, &size) != 0 || listening) return -1;
  if (address.ss_family == AF_INET) return ntohs(reinterpret_cast<sockaddr_in&>(address).sin_port);
  if (address.ss_family == AF_INET6)
    return ntohs(reinterpret_cast<sockaddr_in6&>(address).sin6_port);
  return -1;
}

}  // namespace

void ConnectionThreads::enqueue(std::function<void()> task) {
  std::list<Worker> ended;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    for (auto it = workers_.begin(); it != workers_.end();) {
      auto next = std::next(it);
      if (it->done) ended.splice(ended.end(), workers_, it);
      it = next;
    }
    if (running_ >= limit_) {
      waiting_.push_back(std::move(task));
    } else {
      ++running_;
      Worker& worker = workers_.emplace_back();
      worker.thread =
          std::thread(&ConnectionThreads::work, this, std::ref(worker), std::move(task));
    }
  }
  // A worker marked done has nothing left to do but return.
  for (Worker& worker : ended) worker.thread.join();
}

void ConnectionThreads::work(Worker& worker, std::function<void()> task) {
  for (;;) {
    task();
    const std::lock_guard<std::mutex> lock(mutex_);
    if (waiting_.empty()) {
      --running_;
      worker.done = true;
      return;
    }
    task = std::move(waiting_.front());
    waiting_.pop_front();
  }
}

void ConnectionThreads::shutdown() {
  std::list<Worker> all;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    all.swap(workers_);
  }
  for (Worker& worker : all) worker.thread.join();
}

ConnectionReaper::ConnectionReaper(int port, std::chrono::milliseconds lifetime)
    : port_(port), lifetime_(lifetime) {
  thread_ = std::thread([this] {
    std::unique_lock<std::mutex> lock(mutex_);
    while (!stopping_) {
      wake_.wait_for(lock, std::chrono::milliseconds(200));
      if (!stopping_) sweep(lifetime_);
    }
  });
}

ConnectionReaper::~ConnectionReaper() {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    stopping_ = true;
  }
  wake_.notify_all();
  thread_.join();
}

void ConnectionReaper::cutAll() {
  const std::lock_guard<std::mutex> lock(mutex_);
  sweep(std::chrono::milliseconds(0));
}

void ConnectionReaper::sweep(std::chrono::milliseconds lifetime) {
  const auto now = std::chrono::steady_clock::now();
  std::map<unsigned long, std::chrono::steady_clock::time_point> seen;
  DIR* directory = opendir("/proc/self/fd");
  if (directory == nullptr) return;  // nothing to go by: connections end by the read time-out
  std::vector<int> fds;
  while (const dirent* entry = readdir(directory)) {
    if (entry->d_name[0] != '.') fds.push_back(std::atoi(entry->d_name));
  }
  closedir(directory);
  for (const int fd : fds) {
    // A copy of the descriptor pins the socket: what is looked at is what is cut, even if the
    // connection's thread closes its own descriptor meanwhile.
    const int copy = fcntl(fd, F_DUPFD_CLOEXEC, 0);
    if (copy < 0) continue;
    struct stat status {};
    if (fstat(copy, &status) == 0 && S_ISSOCK(status.st_mode) && connectionPort(copy) == port_) {
      const auto first = seen_.find(status.st_ino);
      const auto since = first == seen_.end() ? now : first->second;
      seen[status.st_ino] = since;
      if (now - since >= lifetime) ::shutdown(copy, SHUT_RDWR);
    }
    close(copy);
  }
  seen_ = std::move(seen);
}

}  // namespace vornleads::cli
