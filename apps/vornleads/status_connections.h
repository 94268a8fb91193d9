// How the status server keeps slow and idle clients from shutting other scrapes out.
//
// ConnectionThreads: the HTTP library's task queue, a thread of its own for each connection
// (up to `limit` at once; more wait for one to end), so that a client trickling its header
// or holding an idle connection holds only its own thread. shutdown() waits for them all.
//
// ConnectionReaper: cuts every connection to the server's port once it has lasted `lifetime`
// (shutdown(2), which the connection's thread sees as the client's end), so that no client
// holds a thread for longer, however slowly it sends; cutAll() cuts the rest at stop. It finds
// the connections among this process's descriptors, by their local port.
#pragma once

#include <httplib.h>

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <list>
#include <map>
#include <mutex>
#include <thread>

namespace vornleads::cli {

class ConnectionThreads : public httplib::TaskQueue {
 public:
  explicit ConnectionThreads(size_t limit) : limit_(limit) {}
  ~ConnectionThreads() override { shutdown(); }

  void enqueue(std::function<void()> task) override;
  void shutdown() override;

 private:
  struct Worker {
    std::thread thread;
    bool done = false;
  };
  void work(Worker& worker, std::function<void()> task);

  const size_t limit_;
  std::mutex mutex_;
  std::list<Worker> workers_;
  std::deque<std::function<void()>> waiting_;
  size_t running_ = 0;
};

class ConnectionReaper {
 public:
  ConnectionReaper(int port, std::chrono::milliseconds lifetime);
  ~ConnectionReaper();
  ConnectionReaper(const ConnectionReaper&) = delete;
  ConnectionReaper& operator=(const ConnectionReaper&) = delete;

  // Cuts every connection to the port now, and stops watching.
  void cutAll();

 private:
  // Cuts the connections older than `lifetime` (all with zero).
  void sweep(std::chrono::milliseconds lifetime);

  const int port_;
  const std::chrono::milliseconds lifetime_;
  std::map<unsigned long, std::chrono::steady_clock::time_point> seen_;  // socket inode
  std::mutex mutex_;
  std::condition_variable wake_;
  bool stopping_ = false;
  std::thread thread_;
};

}  // namespace vornleads::cli
