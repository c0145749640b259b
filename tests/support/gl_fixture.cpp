#include "tests/support/gl_fixture.h"

#include <cstdlib>
#include <cstring>
#include <ios>

#include "kelo/colors.h"

namespace Kelo::Support {

SDL_Window* GLTest::window = nullptr;
SDL_GLContext GLTest::context = nullptr;

std::string Expected(const char* what) {
  const char* value = std::getenv((std::string("KELO_EXPECT_") + what).c_str());
  return value ? value : "";
}

ColorPath ExpectedColorPath() {
  const std::string path = Expected("COLOR_PATH");
  const char* const names[] = {"shader", "arb_shader", "arb_program", "combine"};
  for (int i = 0; i < 4; ++i) {
    if (path == names[i]) return static_cast<ColorPath>(i + 1);
  }
  return ColorPath::Unknown;
}

void RequestDeviceFramebuffer() {
  SDL_GL_SetAttribute(SDL_GL_DOUBLEBUFFER, 1);
  SDL_GL_SetAttribute(SDL_GL_DEPTH_SIZE, 0);
  SDL_GL_SetAttribute(SDL_GL_STENCIL_SIZE, 1);
  SDL_GL_SetAttribute(SDL_GL_MULTISAMPLEBUFFERS, 1);
  SDL_GL_SetAttribute(SDL_GL_MULTISAMPLESAMPLES, 2);
}

void DrainGLErrors() {
  while (glGetError() != GL_NO_ERROR) {
  }
}

// SDL unloads the GL library with the last GL window or when its video
// subsystem quits. Holding one reference and leaving the subsystem up keeps
// Mesa loaded, so that the leak checker can still name the driver's own
// allocations (which the suppressions file lists).
void GLTest::SetUpTestSuite() {
  ASSERT_EQ(SDL_InitSubSystem(SDL_INIT_VIDEO), 0) << SDL_GetError();
  static const bool loaded = SDL_GL_LoadLibrary(nullptr) == 0;
  (void)loaded;
  RequestDeviceFramebuffer();
  window = SDL_CreateWindow("kelo-test", 0, 0, kWidth, kHeight, SDL_WINDOW_OPENGL);
  ASSERT_NE(window, nullptr) << SDL_GetError();
  context = SDL_GL_CreateContext(window);
  ASSERT_NE(context, nullptr) << SDL_GetError();
  // Pixels and capability paths are only known on Mesa's software renderer.
  const char* renderer = reinterpret_cast<const char*>(glGetString(GL_RENDERER));
  ASSERT_NE(std::strstr(renderer ? renderer : "", "llvmpipe"), nullptr) << renderer;
}

void GLTest::TearDownTestSuite() {
  if (SDL_GL_GetCurrentContext() == context) SDL_GL_MakeCurrent(window, nullptr);
  SDL_GL_DeleteContext(context);
  SDL_DestroyWindow(window);
  context = nullptr;
  window = nullptr;
}

void GLTest::SetUp() {
  ASSERT_NE(context, nullptr);
  SDL_GL_MakeCurrent(window, context);
  DrainGLErrors();
}

void GLTest::TearDown() {
  if (SDL_GL_GetCurrentContext() != context) return;
  const GLenum error = glGetError();
  EXPECT_EQ(error, static_cast<GLenum>(GL_NO_ERROR)) << "GL error 0x" << std::hex << error;
  DrainGLErrors();
}

void DeviceTest::SetUp() {
  GLTest::SetUp();
  device.currentMode = {kWidth, kHeight, 32, true, 60};
  device.InitGL(kWidth, kHeight);
  DrainGLErrors();
  if (!VRAMManager) VRAMManager = new OGLVRAM;
  ASSERT_TRUE(VRAMManager->Init());
  device.SetColor(WHITE, 1.0f);
  device.Clear(BLACK);
}

void DeviceTest::TearDown() {
  for (unsigned long shape : shapes) device.ReleaseShape(shape);
  for (unsigned long texture : textures) device.ReleaseTexture(texture);
  device.ReleaseGL();
  GLTest::TearDown();
}

}  // namespace Kelo::Support
