#include "package/log_append.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <optional>

#include "text/file_descriptor.h"
#include "package/text_lines.h"
#include "vornleads/error.h"

namespace vornleads {
namespace {

[[noreturn]] void failWrite(const std::filesystem::path& file, int error) {
  throw VornError("Não foi possível gravar o arquivo \"" + file.string() +
                  "\": " + std::strerror(error));
}

// Reads [offset, offset + size); nullopt when the file cannot be read.
std::optional<std::string> readAt(int fd, off_t offset, size_t size) {
  std::string buffer(size, '\0');
  size_t done = 0;
  while (done < size) {
    const ssize_t got = ::pread(fd, buffer.data() + done, size - done, offset + done);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return std::nullopt;  // an error, or a file that shrank under us
    done += static_cast<size_t>(got);
  }
  return buffer;
}

void writeAt(int fd, off_t offset, const std::string& bytes, const std::filesystem::path& file) {
  size_t done = 0;
  while (done < bytes.size()) {
    const ssize_t put = ::pwrite(fd, bytes.data() + done, bytes.size() - done, offset + done);
    if (put < 0 && errno == EINTR) continue;
    if (put < 0) failWrite(file, errno);
    done += static_cast<size_t>(put);
  }
}

struct LastEntry {
  off_t start = 0;   // just after the last separator line, or 0 when there is none
  std::string text;  // the file from start to its end
};

// Reads windows of growing size back from the end of the file until one holds a separator line:
// the separator and CR LF, at the start of the file or right after a line feed. The cost is
// bounded by the length of the last entry, not of the file.
std::optional<LastEntry> readLastEntry(int fd, off_t size, const std::string& separator) {
  const std::string line = separator + "\r\n";
  off_t window = 4096;
  for (;;) {
    const off_t from = std::max<off_t>(0, size - window);
    const auto bytes = readAt(fd, from, static_cast<size_t>(size - from));
    if (!bytes) return std::nullopt;
    for (size_t at = bytes->rfind(line); at != std::string::npos;
         at = at == 0 ? std::string::npos : bytes->rfind(line, at - 1)) {
      const bool lineStart = at == 0 ? from == 0 : (*bytes)[at - 1] == '\n';
      if (lineStart)
        return LastEntry{from + static_cast<off_t>(at + line.size()),
                         bytes->substr(at + line.size())};
    }
    if (from == 0) return LastEntry{0, *bytes};
    window *= 2;
  }
}

}  // namespace

void appendLogEntry(const std::filesystem::path& file, const std::string& separator,
                    const std::string& entry) {
  const std::string added = separator + "\r\n" + entry + "\r\n";
  FileDescriptor fd(::open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666));
  std::optional<LastEntry> last;
  struct stat status {};
  if (fd.valid() && ::fstat(fd.get(), &status) == 0) {
    last = readLastEntry(fd.get(), status.st_size, separator);
  }
  if (!last) {
    // A file that cannot be read counts as empty: it is replaced by the new entry alone.
    FileDescriptor fresh(::open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666));
    if (!fresh.valid()) failWrite(file, errno);
    writeAt(fresh.get(), 0, added, file);
    return;
  }
  const std::string saved = savedForm(last->text);
  if (saved == last->text) {
    writeAt(fd.get(), status.st_size, added, file);
  } else {
    // The saved form is never shorter, so it covers every byte it replaces.
    writeAt(fd.get(), last->start, saved + added, file);
  }
}

}  // namespace vornleads
