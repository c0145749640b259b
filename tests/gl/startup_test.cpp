#include <GL/gl.h>
#include <GL/glext.h>
#include <SDL.h>
#include <gtest/gtest.h>

#include "tests/support/gl_fixture.h"
#include "tests/support/log_capture.h"
#include "video/opengl_device.h"

namespace Kelo {
namespace {

using Support::ColorPath;
using Support::ExpectedColorPath;

template <typename F>
F Fetch(const char* name) {
  return reinterpret_cast<F>(SDL_GL_GetProcAddress(name));
}

class StartupTest : public Support::GLTest {
protected:
  void SetUp() override {
    GLTest::SetUp();
    if (ExpectedColorPath() == ColorPath::Unknown) {
      GTEST_SKIP() << "KELO_EXPECT_COLOR_PATH is not set; run through ctest";
    }
    device.currentMode = {kWidth, kHeight, 32, true, 60};
  }
  void TearDown() override {
    device.ReleaseGL();
    GLTest::TearDown();
  }
  void StartUp(unsigned width = kWidth, unsigned height = kHeight) {
    device.InitGL(width, height);
    Support::DrainGLErrors();
  }
  IOpenGL device;
  Support::LogCapture log;
};

TEST_F(StartupTest, ChoosesTheExpectedColourPathAndSaysSo) {
  StartUp();
  // clang-format off
  const struct {
    ColorPath path;
    const char* line;
    unsigned shader, arbShader, arbProgram;
  } cases[] = {
      {ColorPath::Shader, "[kelo-opengl] will use OpenGL 2.0 [GL_ARB_vertex_shader] shader.\n", 1, 0, 0},
      {ColorPath::ARBShader, "[kelo-opengl] will use [GL_ARB_vertex_shader] shader.\n", 0, 1, 0},
      {ColorPath::ARBProgram, "[kelo-opengl] will use [GL_ARB_vertex_program] shader.\n", 0, 0, 1},
      {ColorPath::TextureCombine, "[kelo-opengl] no vertex shader found, will use texture combine.\n", 0, 0, 0},
  };
  // clang-format on
  for (const auto& c : cases) {
    if (c.path != ExpectedColorPath()) continue;
    EXPECT_EQ(log.Lines(), std::vector<std::string>{c.line});
    EXPECT_EQ(device.shaderFlags.useShader, c.shader);
    EXPECT_EQ(device.shaderFlags.useARBShader, c.arbShader);
    EXPECT_EQ(device.shaderFlags.useARBProgram, c.arbProgram);
    EXPECT_EQ(device.program != 0, c.path != ColorPath::TextureCombine);
  }
}

TEST_F(StartupTest, SetsTheFixedStateDrawingReliesOn) {
  for (GLenum on : {GL_SCISSOR_TEST, GL_STENCIL_TEST, GL_DEPTH_TEST}) glEnable(on);
  glDisable(GL_MULTISAMPLE);
  glShadeModel(GL_FLAT);
  StartUp(32, 16);
  // clang-format off
  const struct {
    GLenum name;
    GLint expected;
  } enabled[] = {{GL_MULTISAMPLE, 1}, {GL_POINT_SMOOTH, 1}, {GL_LINE_SMOOTH, 1}, {GL_BLEND, 0},
                 {GL_SCISSOR_TEST, 0}, {GL_STENCIL_TEST, 0}, {GL_DEPTH_TEST, 0}, {GL_TEXTURE_2D, 0}},
    values[] = {{GL_SHADE_MODEL, GL_SMOOTH}, {GL_DEPTH_FUNC, GL_LEQUAL}, {GL_BLEND_SRC, GL_SRC_ALPHA},
                {GL_BLEND_DST, GL_ONE_MINUS_SRC_ALPHA}, {GL_POINT_SMOOTH_HINT, GL_NICEST},
                {GL_LINE_SMOOTH_HINT, GL_NICEST}, {GL_POLYGON_SMOOTH_HINT, GL_NICEST},
                {GL_PERSPECTIVE_CORRECTION_HINT, GL_NICEST}, {GL_MATRIX_MODE, GL_MODELVIEW}};
  // clang-format on
  for (const auto& c : enabled) EXPECT_EQ(glIsEnabled(c.name), c.expected) << std::hex << c.name;
  for (const auto& v : values) {
    GLint value = 0;
    glGetIntegerv(v.name, &value);
    EXPECT_EQ(value, v.expected) << "state 0x" << std::hex << v.name;
  }
  GLfloat depth[3];
  glGetFloatv(GL_DEPTH_RANGE, depth);
  glGetFloatv(GL_DEPTH_CLEAR_VALUE, depth + 2);
  EXPECT_EQ(std::vector<GLfloat>(depth, depth + 3), (std::vector<GLfloat>{1, 0, 1}));
  // The viewport follows the arguments, the camera the stored mode.
  GLint viewport[4];
  glGetIntegerv(GL_VIEWPORT, viewport);
  EXPECT_EQ(std::vector<GLint>(viewport, viewport + 4), (std::vector<GLint>{0, 0, 32, 16}));
  GLfloat projection[16], modelview[16];
  glGetFloatv(GL_PROJECTION_MATRIX, projection);
  glGetFloatv(GL_MODELVIEW_MATRIX, modelview);
  EXPECT_FLOAT_EQ(projection[0], 2.0f / kWidth);
  EXPECT_FLOAT_EQ(projection[5], 2.0f / kHeight);
  for (int i = 0; i < 16; ++i) EXPECT_EQ(modelview[i], i % 5 == 0 ? 1.0f : 0.0f) << i;
}

// Only the program made last is deleted; on the GLSL paths it stays in use,
// so GL only marks it for deletion.
TEST_F(StartupTest, ReleaseDeletesTheProgram) {
  StartUp();
  device.ReleaseGL();
  GLint deleted = GL_FALSE;
  switch (ExpectedColorPath()) {
    case ColorPath::Shader:
      Fetch<PFNGLGETPROGRAMIVPROC>("glGetProgramiv")(device.program, GL_DELETE_STATUS, &deleted);
      break;
    case ColorPath::ARBShader:
      Fetch<PFNGLGETOBJECTPARAMETERIVARBPROC>("glGetObjectParameterivARB")(
          device.program, GL_OBJECT_DELETE_STATUS_ARB, &deleted);
      break;
    case ColorPath::ARBProgram:
      deleted = !Fetch<PFNGLISPROGRAMARBPROC>("glIsProgramARB")(device.program);
      break;
    default:
      deleted = device.program == 0;
  }
  EXPECT_TRUE(deleted);
  device.shaderFlags = {};
}

TEST_F(StartupTest, SetColorSetsTheCurrentColourWithTheOpacityByte) {
  const struct {
    Color color;
    float alpha;
    GLfloat expected[4];
  } cases[] = {{{255, 0, 0}, 0.5f, {1.0f, 0.0f, 0.0f, 127 / 255.0f}},
               {{10, 51, 30}, 1.5f, {10 / 255.0f, 0.2f, 30 / 255.0f, 126 / 255.0f}}};
  for (const auto& c : cases) {
    device.SetColor(c.color, c.alpha);
    GLfloat current[4];
    glGetFloatv(GL_CURRENT_COLOR, current);
    for (int i = 0; i < 4; ++i) EXPECT_FLOAT_EQ(current[i], c.expected[i]) << "channel " << i;
  }
}

}  // namespace
}  // namespace Kelo
