#include "tests/support/gl_fixture.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace Kelo::Support {

ColorPath ExpectedColorPath() {
  const std::string names[] = {"", "shader", "arb_shader", "arb_program", "combine"};
  const auto found = std::find(std::begin(names), std::end(names), Expected("COLOR_PATH"));
  return found == std::end(names) ? ColorPath::Unknown : static_cast<ColorPath>(found - names);
}

std::string ExpectedRenderer() {
  const std::string renderer = Expected("RENDERER");
  return renderer.empty() ? "llvmpipe" : renderer;
}

// Mesa's softpipe offers no multisampled framebuffer: a window asking for one
// cannot be made there.
void RequestDeviceFramebuffer() {
  const int samples = ExpectedRenderer() == "softpipe" ? 0 : 2;
  const SDL_GLattr names[] = {SDL_GL_DOUBLEBUFFER, SDL_GL_DEPTH_SIZE, SDL_GL_STENCIL_SIZE,
                              SDL_GL_MULTISAMPLEBUFFERS, SDL_GL_MULTISAMPLESAMPLES};
  const int values[] = {1, 0, 1, samples ? 1 : 0, samples};
  for (int i = 0; i < 5; ++i) SDL_GL_SetAttribute(names[i], values[i]);
}

// Mesa stays loaded for the leak checker to name its allocations, which the
// suppressions file lists: SDL would unload it with the last GL window.
void GLTest::SetUpTestSuite() {
  ASSERT_EQ(SDL_InitSubSystem(SDL_INIT_VIDEO), 0) << SDL_GetError();
  [[maybe_unused]] static const bool loaded = SDL_GL_LoadLibrary(nullptr) == 0;
  RequestDeviceFramebuffer();
  window = SDL_CreateWindow("kelo-test", 0, 0, kWidth, kHeight, SDL_WINDOW_OPENGL);
  ASSERT_NE(window, nullptr) << SDL_GetError();
  context = SDL_GL_CreateContext(window);
  ASSERT_NE(context, nullptr) << SDL_GetError();
  const char* renderer = reinterpret_cast<const char*>(glGetString(GL_RENDERER));
  ASSERT_NE(std::strstr(renderer ? renderer : "", ExpectedRenderer().c_str()), nullptr) << renderer;
  [[maybe_unused]] static const int said =
      std::printf("[ renderer ] %s, OpenGL %s\n", renderer,
                  reinterpret_cast<const char*>(glGetString(GL_VERSION)));
}

}  // namespace Kelo::Support
