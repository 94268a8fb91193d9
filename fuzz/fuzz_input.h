// Cutting one fuzz input into the several arguments of the routine under test.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace vornleads::fuzz {

// The input as text, byte for byte (NUL bytes included).
inline std::string asText(const uint8_t* data, size_t size) {
  return std::string(reinterpret_cast<const char*>(data), size);
}

// The input cut at every byte 0x01 into exactly `count` arguments: missing ones are empty,
// and the last one takes the rest, separators included. 0x01 is rare in real text, so a seed
// reads as its arguments written one after the other.
inline std::vector<std::string> arguments(const uint8_t* data, size_t size, size_t count) {
  std::vector<std::string> parts(count);
  size_t part = 0;
  for (size_t i = 0; i < size; ++i) {
    const char c = static_cast<char>(data[i]);
    if (c == '\x01' && part + 1 < count) {
      ++part;
    } else {
      parts[part] += c;
    }
  }
  return parts;
}

// A small whole number taken from an argument's first byte (0 when it is empty).
inline int smallNumber(const std::string& argument) {
  return argument.empty() ? 0 : static_cast<signed char>(argument[0]);
}

// A check of the target failed: says which, and ends the run as libFuzzer expects of a crash.
[[noreturn]] inline void finding(const char* what) {
  std::fprintf(stderr, "fuzz finding: %s\n", what);
  std::abort();
}

}  // namespace vornleads::fuzz
