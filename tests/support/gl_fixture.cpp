#include "tests/support/gl_fixture.h"

#include <cstdlib>
#include <cstring>
#include <ios>

namespace Kelo::Support {

SDL_Window* GLTest::window = nullptr;
SDL_GLContext GLTest::context = nullptr;

ColorPath ExpectedColorPath() {
  const char* path = std::getenv("KELO_EXPECT_COLOR_PATH");
  if (!path) return ColorPath::Unknown;
  if (!std::strcmp(path, "shader")) return ColorPath::Shader;
  if (!std::strcmp(path, "arb_shader")) return ColorPath::ARBShader;
  if (!std::strcmp(path, "arb_program")) return ColorPath::ARBProgram;
  if (!std::strcmp(path, "combine")) return ColorPath::TextureCombine;
  return ColorPath::Unknown;
}

std::string ExpectedStorage() {
  const char* storage = std::getenv("KELO_EXPECT_STORAGE");
  return storage ? storage : "";
}

int ExpectedNonPowerOfTwo() {
  const char* npot = std::getenv("KELO_EXPECT_NPOT");
  return npot ? std::atoi(npot) : -1;
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

namespace {

// SDL unloads the GL library with the last GL window or when its video
// subsystem quits. Holding one reference and leaving the subsystem up keeps
// Mesa loaded, so that the leak checker can still name the driver's own
// allocations (which the suppressions file lists).
void KeepGLLibraryLoaded() {
  static const bool loaded = SDL_GL_LoadLibrary(nullptr) == 0;
  (void)loaded;
}

}  // namespace

void GLTest::SetUpTestSuite() {
  ASSERT_EQ(SDL_InitSubSystem(SDL_INIT_VIDEO), 0) << SDL_GetError();
  KeepGLLibraryLoaded();
  RequestDeviceFramebuffer();
  window = SDL_CreateWindow("kelo-test", 0, 0, kWidth, kHeight, SDL_WINDOW_OPENGL);
  ASSERT_NE(window, nullptr) << SDL_GetError();
  context = SDL_GL_CreateContext(window);
  ASSERT_NE(context, nullptr) << SDL_GetError();
  const char* renderer = reinterpret_cast<const char*>(glGetString(GL_RENDERER));
  ASSERT_NE(renderer, nullptr);
  // Pixels and capability paths are only known on Mesa's software renderer.
  ASSERT_NE(std::strstr(renderer, "llvmpipe"), nullptr) << "GL_RENDERER is " << renderer;
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

}  // namespace Kelo::Support
