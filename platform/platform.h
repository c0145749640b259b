// The seam between the device and the operating system. Every system service
// the device uses goes through one Platform; the production one is built on
// SDL2 (platform/sdl), and tests substitute a scripted one to force answers
// that SDL cannot be made to give. GL itself is never behind this seam.
#pragma once

namespace Kelo {

// One number of a display mode as the system reports it: absent, present but
// not a number, or a number.
struct ModeValue {
  enum class State { Absent, NotANumber, Number };
  State state = State::Absent;
  double number = 0.0;

  static ModeValue Of(double value) { return {State::Number, value}; }
  // Reads the value as a 32-bit integer (truncating); false when absent or
  // not a number.
  bool ReadInt(int& out) const {
    if (state != State::Number) return false;
    out = static_cast<int>(number);
    return true;
  }
  // Reads the value as a double; false (and `out` untouched) otherwise.
  bool ReadDouble(double& out) const {
    if (state != State::Number) return false;
    out = number;
    return true;
  }
};

// A display mode as the system describes it, key by key.
struct ModeRecord {
  ModeValue width;
  ModeValue height;
  ModeValue bitsPerPixel;
  ModeValue refreshRate;
};

class Platform {
public:
  virtual ~Platform() = default;

  // The calling thread's current GL context, or null.
  virtual void* CurrentContext() = 0;
  // Presents the back buffer of `context`'s drawable; does nothing for null.
  virtual void SwapBuffers(void* context) = 0;
  // The main display's current mode; false when the system reports none.
  virtual bool DesktopMode(ModeRecord& out) = 0;
  // The address of a GL entry point, or null when the system knows none.
  virtual void* GLProcAddress(const char* name) = 0;
};

// The platform the device talks to: the SDL one unless a test installed
// another. Passing null to SetCurrentPlatform goes back to SDL.
Platform& CurrentPlatform();
void SetCurrentPlatform(Platform* platform);

}  // namespace Kelo
