#include <GL/gl.h>
#include <GL/glext.h>
#include <SDL.h>
#include <gtest/gtest.h>

#include "tests/support/gl_fixture.h"

namespace Kelo {
namespace {

using Support::ColorPath;
using Support::State;
using StartupTest = Support::DeviceTest;

template <typename F>
F Fetch(const char* name) {
  return reinterpret_cast<F>(SDL_GL_GetProcAddress(name));
}

// Release deletes the program made; on the GLSL paths it stays in use, so GL
// only marks it for deletion.
TEST_F(StartupTest, ChoosesTheExpectedColourPathSaysSoAndReleasesItsProgram) {
  const ColorPath path = Support::ExpectedColorPath();
  if (path == ColorPath::Unknown) GTEST_SKIP() << "KELO_EXPECT_COLOR_PATH is not set";
  const char* const lines[] = {"[kelo-opengl] will use OpenGL 2.0 [GL_ARB_vertex_shader] shader.\n",
                               "[kelo-opengl] will use [GL_ARB_vertex_shader] shader.\n",
                               "[kelo-opengl] will use [GL_ARB_vertex_program] shader.\n",
                               "[kelo-opengl] no vertex shader found, will use texture combine.\n"};
  const int chosen = static_cast<int>(path) - 1;
  EXPECT_EQ(log.Lines().at(0), lines[chosen]);
  const IOpenGL::ShaderFlags& flags = device.shaderFlags;
  EXPECT_EQ((std::vector<unsigned>{flags.useShader, flags.useARBShader, flags.useARBProgram}),
            (std::vector<unsigned>{chosen == 0, chosen == 1, chosen == 2}));
  device.ReleaseGL();
  GLint deleted = GL_FALSE;
  if (path == ColorPath::Shader) {
    Fetch<PFNGLGETPROGRAMIVPROC>("glGetProgramiv")(device.program, GL_DELETE_STATUS, &deleted);
  } else if (path == ColorPath::ARBShader) {
    Fetch<PFNGLGETOBJECTPARAMETERIVARBPROC>("glGetObjectParameterivARB")(
        device.program, GL_OBJECT_DELETE_STATUS_ARB, &deleted);
  } else if (path == ColorPath::ARBProgram) {
    deleted = device.program && !Fetch<PFNGLISPROGRAMARBPROC>("glIsProgramARB")(device.program);
  } else {
    deleted = device.program == 0;
  }
  EXPECT_TRUE(deleted);
  device.shaderFlags = {};
}

// A start-up on a context the host has used, as after a resize. The viewport
// follows the arguments, the camera the stored mode.
TEST_F(StartupTest, SetsTheFixedStateDrawingReliesOn) {
  for (GLenum on : {GL_SCISSOR_TEST, GL_STENCIL_TEST, GL_DEPTH_TEST}) glEnable(on);
  glDisable(GL_MULTISAMPLE);
  glShadeModel(GL_FLAT);
  device.InitGL(32, 16);
  Support::DrainGLErrors();
  // clang-format off
  const std::pair<GLenum, GLint> expected[] = {
      {GL_MULTISAMPLE, 1}, {GL_POINT_SMOOTH, 1}, {GL_LINE_SMOOTH, 1}, {GL_BLEND, 0},
      {GL_SCISSOR_TEST, 0}, {GL_STENCIL_TEST, 0}, {GL_DEPTH_TEST, 0}, {GL_TEXTURE_2D, 0},
      {GL_SHADE_MODEL, GL_SMOOTH}, {GL_DEPTH_FUNC, GL_LEQUAL}, {GL_BLEND_SRC, GL_SRC_ALPHA},
      {GL_BLEND_DST, GL_ONE_MINUS_SRC_ALPHA}, {GL_POINT_SMOOTH_HINT, GL_NICEST},
      {GL_LINE_SMOOTH_HINT, GL_NICEST}, {GL_POLYGON_SMOOTH_HINT, GL_NICEST},
      {GL_PERSPECTIVE_CORRECTION_HINT, GL_NICEST}, {GL_MATRIX_MODE, GL_MODELVIEW}};
  // clang-format on
  for (const auto& [name, value] : expected) {
    EXPECT_EQ(State<GLint>(name, 1)[0], value) << "state 0x" << std::hex << name;
  }
  EXPECT_EQ(State<GLfloat>(GL_DEPTH_RANGE, 2), (std::vector<GLfloat>{1, 0}));
  EXPECT_EQ(State<GLfloat>(GL_DEPTH_CLEAR_VALUE, 1)[0], 1.0f);
  EXPECT_EQ(State<GLint>(GL_VIEWPORT, 4), (std::vector<GLint>{0, 0, 32, 16}));
  const std::vector<GLfloat> projection = State<GLfloat>(GL_PROJECTION_MATRIX, 16);
  EXPECT_EQ((std::vector<GLfloat>{projection[0], projection[5]}),
            (std::vector<GLfloat>{2.0f / kWidth, 2.0f / kHeight}));
  const std::vector<GLfloat> identity = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
  EXPECT_EQ(State<GLfloat>(GL_MODELVIEW_MATRIX, 16), identity);
}

}  // namespace
}  // namespace Kelo
