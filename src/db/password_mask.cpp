#include "vornleads/db/password_mask.h"

#include <algorithm>
#include <cctype>

namespace vornleads {
namespace {

bool keyAt(const std::string& text, size_t at, const std::string& upperKey) {
  if (at + upperKey.size() > text.size()) return false;
  for (size_t i = 0; i < upperKey.size(); ++i) {
    if (std::toupper(static_cast<unsigned char>(text[at + i])) != upperKey[i]) return false;
  }
  return true;
}

void uriPassword(const std::string& text, std::vector<TextSpan>& spans) {
  const size_t scheme = text.find("://");
  if (scheme == std::string::npos) return;
  const size_t start = scheme + 3;
  const size_t slash = text.find('/', start);
  size_t at = text.rfind('@', slash == std::string::npos ? std::string::npos : slash);
  if (at == std::string::npos || at < start) at = text.rfind('@');
  if (at == std::string::npos || at < start) return;
  const size_t colon = text.find(':', start);
  if (colon == std::string::npos || colon > at) return;
  spans.push_back({colon + 1, at - colon - 1});
}

void odbcPasswords(const std::string& text, std::vector<TextSpan>& spans) {
  for (size_t at = 0; at < text.size(); ++at) {
    if (at > 0 && std::string(";: \t").find(text[at - 1]) == std::string::npos) continue;
    size_t key = 0;
    if (keyAt(text, at, "PASSWORD")) {
      key = 8;
    } else if (keyAt(text, at, "PWD")) {
      key = 3;
    } else {
      continue;
    }
    size_t begin = at + key;
    while (begin < text.size() && (text[begin] == ' ' || text[begin] == '\t')) ++begin;
    if (begin >= text.size() || text[begin] != '=') continue;
    ++begin;
    size_t end = begin;
    if (end < text.size() && text[end] == '{') {
      for (++end; end < text.size(); ++end) {
        if (text[end] != '}') continue;
        if (end + 1 < text.size() && text[end + 1] == '}') {
          ++end;
          continue;
        }
        ++end;
        break;
      }
    } else {
      end = std::min(text.find(';', begin), text.size());
    }
    spans.push_back({begin, end - begin});
    at = end;
  }
}

}  // namespace

std::vector<TextSpan> passwordSpans(const std::string& text) {
  std::vector<TextSpan> spans;
  uriPassword(text, spans);
  odbcPasswords(text, spans);
  std::sort(spans.begin(), spans.end(),
            [](const TextSpan& a, const TextSpan& b) { return a.begin < b.begin; });
  return spans;
}

std::string maskPassword(const std::string& text) {
  std::string masked;
  size_t from = 0;
  for (const TextSpan& span : passwordSpans(text)) {
    // A span inside one already masked (an ODBC key within a URI's password) adds nothing.
    if (span.begin < from) continue;
    masked += text.substr(from, span.begin - from) + "***";
    from = span.begin + span.size;
  }
  return masked + text.substr(std::min(from, text.size()));
}

}  // namespace vornleads
