#pragma once

#include <string>
#include <vector>

#include "kelo/log.h"

namespace Kelo::Support {

// Collects every logged line while it lives; stderr gets them again after.
class LogCapture {
public:
  LogCapture() { Log::SetSink(&Collect, this); }
  ~LogCapture() { Log::SetSink(nullptr, nullptr); }
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  const std::vector<std::string>& Lines() const { return lines; }
  void Clear() { lines.clear(); }
  // How often OpenGL start-up ran: it names the colour path it chose each time.
  int StartUps() const {
    int count = 0;
    for (const std::string& line : lines) {
      count += line.rfind("[kelo-opengl] will use", 0) == 0 ||
               line.rfind("[kelo-opengl] no vertex shader", 0) == 0;
    }
    return count;
  }

private:
  static void Collect(const char* line, void* self) {
    static_cast<LogCapture*>(self)->lines.emplace_back(line);
  }
  std::vector<std::string> lines;
};

}  // namespace Kelo::Support
