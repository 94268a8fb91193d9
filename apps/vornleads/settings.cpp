#include "settings.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <sstream>
#include <stdexcept>

#include "text/file_descriptor.h"
#include "text/trimmed.h"
#include "vornleads/db/password_mask.h"
#include "vornleads/error.h"

namespace vornleads::cli {
namespace {

// Blanks around keys and values (a file written on Windows ends its lines with "\r").
const char* const kLineBlanks = " \t\r";

struct Definition {
  const char* key;
  const char* variable;  // environment variable
  const char* fallback;  // built-in default, "" when there is none
  bool (*valid)(const std::string&);
  const char* expected;  // what a valid value looks like, for the error
};

bool anyText(const std::string& value) { return !value.empty(); }

bool positiveInteger(const std::string& value) {
  if (value.empty() || value.size() > 9) return false;
  for (char c : value) {
    if (!std::isdigit(static_cast<unsigned char>(c))) return false;
  }
  return std::stol(value) > 0;
}

bool seconds(const std::string& value) {
  char* end = nullptr;
  const double number = std::strtod(value.c_str(), &end);
  return !value.empty() && end == value.c_str() + value.size() && number >= 0.001 &&
         number <= 31536000.0;
}

bool milliseconds(const std::string& value) {
  if (value.empty() || value.size() > 9) return false;
  return std::all_of(value.begin(), value.end(),
                     [](char c) { return std::isdigit(static_cast<unsigned char>(c)) != 0; });
}

bool days(const std::string& value) { return milliseconds(value) && std::stol(value) <= 36500; }

bool port(const std::string& value) {
  if (value.empty() || value.size() > 5) return false;
  for (char c : value) {
    if (!std::isdigit(static_cast<unsigned char>(c))) return false;
  }
  return std::stol(value) <= 65535;
}

bool codePage(const std::string& value) {
  std::string upper;
  for (char c : value) upper += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return upper == "UTF-8" || upper == "CP1252" || upper == "WINDOWS-1252";
}

const Definition kDefinitions[] = {
    {"db", "VORNLEADS_DB", "./dms.fdb", anyText, "a database URI"},
    {"endpoint", "VORNLEADS_ENDPOINT", VORNLEADS_BUILTIN_ENDPOINT, anyText, "a URL"},
    {"home", "VORNLEADS_HOME", VORNLEADS_BUILTIN_HOME, anyText, "a directory"},
    {"intake-every", "VORNLEADS_INTAKE_EVERY", "300", seconds, "seconds, 0.001 to 31536000"},
    {"resend-every", "VORNLEADS_RESEND_EVERY", "900", seconds, "seconds, 0.001 to 31536000"},
    {"codepage", "VORNLEADS_CODEPAGE", "UTF-8", codePage, "UTF-8 or CP1252"},
    {"receive-timeout-ms", "VORNLEADS_RECEIVE_TIMEOUT_MS", "180000", positiveInteger,
     "a positive number of milliseconds"},
    {"ca-file", "VORNLEADS_CA_FILE", "", anyText, "a PEM file"},
    {"max-reply-bytes", "VORNLEADS_MAX_REPLY_BYTES", "67108864", positiveInteger,
     "a positive number of bytes"},
    {"status-port", "VORNLEADS_STATUS_PORT", "", port, "a port number, 0 to 65535"},
    {"status-bind", "VORNLEADS_STATUS_BIND", "127.0.0.1", anyText, "an address"},
    {"retry-delay", "VORNLEADS_RETRY_DELAY", "30000", milliseconds,
     "a number of milliseconds, 0 or more"},
    {"log-keep-days", "VORNLEADS_LOG_KEEP_DAYS", "90", days,
     "a number of days, 0 (keep every log file) to 36500"},
    {"lock-timeout", "VORNLEADS_LOCK_TIMEOUT", "60", positiveInteger,
     "a whole number of seconds, 1 or more"},
    {"connect-timeout", "VORNLEADS_CONNECT_TIMEOUT", "30", positiveInteger,
     "a whole number of seconds, 1 or more"},
};

// How describe() shows a setting left empty.
const char* emptyShown(const std::string& key) {
  if (key == "home") return "(the program's own directory)";
  if (key == "status-port") return "(none: serve runs no status server)";
  return "(the system's authorities)";
}

const Definition* definition(const std::string& key) {
  for (const Definition& d : kDefinitions) {
    if (key == d.key) return &d;
  }
  return nullptr;
}

// The whole text of the configuration file; VornError with the system's reason when it is no
// regular file that can be read (a directory would otherwise read as an empty file).
std::string fileText(const std::string& path) {
  const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  struct stat status {};
  int error = file.valid() ? 0 : errno;
  if (error == 0 && fstat(file.get(), &status) != 0) error = errno;
  if (error == 0 && !S_ISREG(status.st_mode)) error = S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
  std::string text;
  char buffer[4096];
  for (ssize_t n = 0; error == 0 && (n = ::read(file.get(), buffer, sizeof buffer)) != 0;) {
    if (n < 0) {
      if (errno != EINTR) error = errno;
      continue;
    }
    text.append(buffer, static_cast<size_t>(n));
  }
  if (error != 0) {
    throw VornError("cannot read the configuration file " + path + ": " +
                    (error == EINVAL ? "not a regular file" : std::strerror(error)));
  }
  return text;
}

// A value in matching double or single quotes, without them.
std::string unquoted(const std::string& value) {
  if (value.size() >= 2 && (value.front() == '"' || value.front() == '\'') &&
      value.back() == value.front()) {
    return value.substr(1, value.size() - 2);
  }
  return value;
}

// key -> (value, "file F:N") of the configuration file; usage errors name file, line and key.
std::map<std::string, SettingValue> readFile(const std::string& path) {
  std::string content = fileText(path);
  // A byte-order mark (as Notepad writes UTF-8) is no part of the first line.
  if (content.rfind("\xEF\xBB\xBF", 0) == 0) content.erase(0, 3);
  std::istringstream in(content);
  std::map<std::string, SettingValue> read;
  std::map<std::string, int> lineOf;
  std::string line;
  std::string section;
  for (int number = 1; std::getline(in, line); ++number) {
    const std::string text = trimmed(line, kLineBlanks);
    const std::string where = path + ":" + std::to_string(number);
    if (text.empty() || text[0] == ';' || text[0] == '#') continue;
    if (text.front() == '[') {
      section = text;
      if (section != "[vornleads]") {
        throw CLI::ValidationError(where + ": unknown section " + section +
                                   " (the settings go under [vornleads])");
      }
      continue;
    }
    const size_t equals = text.find('=');
    if (equals == std::string::npos) {
      throw CLI::ValidationError(where + ": expected \"key = value\", found \"" + text + "\"");
    }
    const std::string key = trimmed(text.substr(0, equals), kLineBlanks);
    const std::string value = unquoted(trimmed(text.substr(equals + 1), kLineBlanks));
    const Definition* known = definition(key);
    if (section.empty()) {
      throw CLI::ValidationError(where + ": key " + key + " outside the [vornleads] section");
    }
    if (known == nullptr) throw CLI::ValidationError(where + ": unknown key " + key);
    if (lineOf.count(key)) {
      throw CLI::ValidationError(where + ": key " + key + " given twice, on lines " +
                                 std::to_string(lineOf[key]) + " and " + std::to_string(number));
    }
    lineOf[key] = number;
    if (!known->valid(value)) {
      throw CLI::ValidationError(where + ": key " + key + ": \"" + value + "\" is not " +
                                 known->expected);
    }
    read[key] = {value, "file " + where};
  }
  return read;
}

// Present, readable or not: a file the user may not read is an error, never the defaults.
bool exists(const std::string& path) {
  std::error_code error;
  return std::filesystem::exists(path, error);
}

}  // namespace

void Settings::resolve(const std::map<std::string, std::string>& options,
                       const std::string& configFile) {
  std::map<std::string, SettingValue> file;
  if (!configFile.empty()) {
    file = readFile(configFile);
  } else if (exists(kDefaultFile)) {
    file = readFile(kDefaultFile);
  }
  options_ = options;
  configFile_ = configFile;
  std::map<std::string, std::string> exported;
  for (const Definition& d : kDefinitions) {
    const char* environment = std::getenv(d.variable);
    // A variable this object set from the file (or the default) is not the environment's: a
    // reload must see the file's new value, not the one it exported before.
    const auto mine = exported_.find(d.variable);
    if (environment != nullptr && mine != exported_.end() && mine->second == environment) {
      environment = nullptr;
    }
    const auto option = options.find(d.key);
    if (option != options.end() && !option->second.empty()) {
      if (!d.valid(option->second)) {
        throw CLI::ValidationError(std::string("option --") + d.key + ": \"" + option->second +
                                   "\" is not " + d.expected);
      }
      values_[d.key] = {option->second, std::string("option --") + d.key};
    } else if (environment != nullptr && *environment != '\0') {
      if (!d.valid(environment)) {
        throw CLI::ValidationError(std::string("environment ") + d.variable + ": \"" + environment +
                                   "\" is not " + d.expected);
      }
      values_[d.key] = {environment, std::string("environment ") + d.variable};
    } else if (file.count(d.key)) {
      values_[d.key] = file.at(d.key);
      // The library edition reads these from the environment, as any host's would.
      exported[d.variable] = file.at(d.key).value;
    } else {
      values_[d.key] = {d.fallback, "default"};
      // The packaged build's host directory reaches the library edition the same way.
      if (d.key == std::string("home") && *d.fallback != '\0') exported[d.variable] = d.fallback;
    }
  }
  // What an earlier resolve exported and the file no longer says goes away again.
  for (const auto& [variable, value] : exported_) {
    if (!exported.count(variable)) unsetenv(variable.c_str());
  }
  for (const auto& [variable, value] : exported) setenv(variable.c_str(), value.c_str(), 1);
  exported_ = std::move(exported);
}

void Settings::reload() { resolve(std::map<std::string, std::string>(options_), configFile_); }

std::string Settings::fileInUse() const {
  if (!configFile_.empty()) return configFile_;
  return exists(kDefaultFile) ? kDefaultFile : "";
}

ConnectionOptions Settings::connection() const {
  ConnectionOptions options;
  options.lockTimeoutSeconds = std::stoi(value("lock-timeout"));
  options.connectTimeoutSeconds = std::stoi(value("connect-timeout"));
  return options;
}

nlohmann::ordered_json Settings::json() const {
  nlohmann::ordered_json settings = nlohmann::ordered_json::object();
  for (const Definition& d : kDefinitions) {
    const SettingValue& setting = values_.at(d.key);
    settings[d.key] = {{"value", maskPassword(setting.value)},
                       {"source", setting.source},
                       {"variable", d.variable}};
  }
  return settings;
}

std::vector<std::string> Settings::describe() const {
  std::vector<std::string> lines;
  for (const Definition& d : kDefinitions) {
    const SettingValue& setting = values_.at(d.key);
    std::string shown = maskPassword(setting.value);
    if (shown.empty()) shown = emptyShown(d.key);
    std::string line = std::string(d.key) + " = " + shown;
    line.resize(std::max<size_t>(line.size() + 2, 60), ' ');
    lines.push_back(line + "(" + setting.source + ")");
  }
  return lines;
}

}  // namespace vornleads::cli
