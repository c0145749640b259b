#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "kelo/log.h"

namespace Kelo::Support {

// Collects every logged line while it lives; stderr gets them again after.
class LogCapture {
public:
  LogCapture() { Log::SetSink(&Add, this); }
  ~LogCapture() { Log::SetSink(nullptr, nullptr); }
  const std::vector<std::string>& Lines() const { return lines; }
  void Clear() { lines.clear(); }
  // How often OpenGL start-up ran: it names the colour path it chose each time.
  int StartUps() const {
    return std::count_if(lines.begin(), lines.end(), [](const std::string& line) {
      return line.rfind("[kelo-opengl] will use", 0) == 0 ||
             line.rfind("[kelo-opengl] no vertex shader", 0) == 0;
    });
  }

private:
  static void Add(const char* l, void* to) { static_cast<LogCapture*>(to)->lines.push_back(l); }
  std::vector<std::string> lines;
};

}  // namespace Kelo::Support
