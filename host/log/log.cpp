#include "kelo/log.h"

#include <cstdarg>
#include <cstdio>
#include <string>

namespace Kelo {
namespace Log {
namespace {

Sink sink = nullptr;
void* sinkUser = nullptr;

std::string Format(const char* format, va_list args) {
  va_list measure;
  va_copy(measure, args);
  const int length = std::vsnprintf(nullptr, 0, format, measure);
  va_end(measure);
  if (length <= 0) return std::string();
  std::string line(static_cast<size_t>(length), '\0');
  std::vsnprintf(line.data(), line.size() + 1, format, args);
  return line;
}

}  // namespace

void Output(const char* format, ...) {
  va_list args;
  va_start(args, format);
  const std::string line = Format(format, args);
  va_end(args);
  if (sink) {
    sink(line.c_str(), sinkUser);
  } else {
    std::fputs(line.c_str(), stderr);
  }
}

void SetSink(Sink newSink, void* user) {
  sink = newSink;
  sinkUser = user;
}

}  // namespace Log
}  // namespace Kelo
