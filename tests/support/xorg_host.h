#pragma once

#include <SDL.h>
#include <gtest/gtest.h>

#include "tests/support/gl_fixture.h"
#include "video/opengl_device.h"

namespace Kelo::Support {

// A host on the X server tests/xorg/run.sh starts: SDL's video there, the device's framebuffer
// asked for and the device initialised. Call it under ASSERT_NO_FATAL_FAILURE.
inline void StartOnXorg(IOpenGL& device) {
  ASSERT_EQ(SDL_InitSubSystem(SDL_INIT_VIDEO), 0) << SDL_GetError();
  ASSERT_STREQ(SDL_GetCurrentVideoDriver(), "x11");
  RequestDeviceFramebuffer();
  ASSERT_TRUE(device.Init());
}

}  // namespace Kelo::Support
