#include <GL/gl.h>
#include <GL/glext.h>
#include <SDL.h>
#include <gtest/gtest.h>

#include <string>

#include "tests/support/gl_fixture.h"
#include "tests/support/log_capture.h"
#include "video/capabilities.h"
#include "video/color_programs.h"
#include "video/opengl_device.h"

namespace Kelo {
namespace {

using Support::ColorPath;
using Support::ExpectedColorPath;
using Support::GLTest;

template <typename F>
F Fetch(const char* name) {
  return reinterpret_cast<F>(SDL_GL_GetProcAddress(name));
}

class StartupTest : public GLTest {
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
    // The Apple transform hint is refused by every other driver.
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_INVALID_ENUM));
  }
  IOpenGL device;
  Kelo::Support::LogCapture log;
};

TEST_F(StartupTest, ChoosesTheExpectedColourPathAndSaysSo) {
  StartUp();
  const struct {
    ColorPath path;
    const char* line;
    unsigned shader, arbShader, arbProgram;
    bool programmed;
  } cases[] = {
      {ColorPath::Shader, "[kelo-opengl] will use OpenGL 2.0 [GL_ARB_vertex_shader] shader.\n", 1,
       0, 0, true},
      {ColorPath::ARBShader, "[kelo-opengl] will use [GL_ARB_vertex_shader] shader.\n", 0, 1, 0,
       true},
      {ColorPath::ARBProgram, "[kelo-opengl] will use [GL_ARB_vertex_program] shader.\n", 0, 0, 1,
       true},
      {ColorPath::TextureCombine,
       "[kelo-opengl] no vertex shader found, will use texture combine.\n", 0, 0, 0, false},
  };
  for (const auto& c : cases) {
    if (c.path != ExpectedColorPath()) continue;
    ASSERT_EQ(log.Lines().size(), 1u);
    EXPECT_EQ(log.Lines()[0], c.line);
    EXPECT_EQ(device.shaderFlags.useShader, c.shader);
    EXPECT_EQ(device.shaderFlags.useARBShader, c.arbShader);
    EXPECT_EQ(device.shaderFlags.useARBProgram, c.arbProgram);
    EXPECT_EQ(device.program != 0, c.programmed);
  }
}

TEST_F(StartupTest, MakesAWorkingProgramForItsPath) {
  StartUp();
  switch (ExpectedColorPath()) {
    case ColorPath::Shader: {
      GLint linked = 0;
      GLint current = 0;
      Fetch<PFNGLGETPROGRAMIVPROC>("glGetProgramiv")(device.program, GL_LINK_STATUS, &linked);
      glGetIntegerv(GL_CURRENT_PROGRAM, &current);
      EXPECT_EQ(linked, GL_TRUE);
      EXPECT_EQ(static_cast<unsigned>(current), device.program) << "the program stays in use";
      EXPECT_EQ(
          Fetch<PFNGLGETATTRIBLOCATIONPROC>("glGetAttribLocation")(device.program, "constColor"),
          1);
      break;
    }
    case ColorPath::ARBShader: {
      GLint linked = 0;
      Fetch<PFNGLGETOBJECTPARAMETERIVARBPROC>("glGetObjectParameterivARB")(
          device.program, GL_OBJECT_LINK_STATUS_ARB, &linked);
      EXPECT_EQ(linked, GL_TRUE);
      EXPECT_EQ(Fetch<PFNGLGETHANDLEARBPROC>("glGetHandleARB")(GL_PROGRAM_OBJECT_ARB),
                device.program);
      EXPECT_EQ(Fetch<PFNGLGETATTRIBLOCATIONARBPROC>("glGetAttribLocationARB")(device.program,
                                                                               "constColor"),
                1);
      break;
    }
    case ColorPath::ARBProgram: {
      GLint errorPosition = 0;
      glGetIntegerv(GL_PROGRAM_ERROR_POSITION_ARB, &errorPosition);
      EXPECT_EQ(errorPosition, -1) << "the 976-character program is accepted whole";
      EXPECT_TRUE(Fetch<PFNGLISPROGRAMARBPROC>("glIsProgramARB")(device.program));
      EXPECT_FALSE(glIsEnabled(GL_VERTEX_PROGRAM_ARB)) << "enabled only around stored draws";
      break;
    }
    default:
      EXPECT_EQ(device.program, 0u);
  }
}

TEST_F(StartupTest, LeavesTheFixedStateDrawingReliesOn) {
  glEnable(GL_SCISSOR_TEST);
  glEnable(GL_STENCIL_TEST);
  glEnable(GL_DEPTH_TEST);
  StartUp();
  GLfloat depthRange[2];
  GLfloat clearDepth = 0;
  GLint value = 0;
  glGetFloatv(GL_DEPTH_RANGE, depthRange);
  glGetFloatv(GL_DEPTH_CLEAR_VALUE, &clearDepth);
  EXPECT_EQ(depthRange[0], 1.0f);
  EXPECT_EQ(depthRange[1], 0.0f);
  EXPECT_EQ(clearDepth, 1.0f);
  const struct {
    GLenum capability;
    bool enabled;
  } capabilities[] = {
      {GL_MULTISAMPLE, true}, {GL_POINT_SMOOTH, true},  {GL_LINE_SMOOTH, true},
      {GL_BLEND, false},      {GL_SCISSOR_TEST, false}, {GL_STENCIL_TEST, false},
      {GL_DEPTH_TEST, false}, {GL_TEXTURE_2D, false},
  };
  for (const auto& c : capabilities) {
    EXPECT_EQ(glIsEnabled(c.capability) == GL_TRUE, c.enabled)
        << "capability 0x" << std::hex << c.capability;
  }
  const struct {
    GLenum name;
    GLint expected;
  } values[] = {
      {GL_SHADE_MODEL, GL_SMOOTH},         {GL_DEPTH_FUNC, GL_LEQUAL},
      {GL_BLEND_SRC, GL_SRC_ALPHA},        {GL_BLEND_DST, GL_ONE_MINUS_SRC_ALPHA},
      {GL_POINT_SMOOTH_HINT, GL_NICEST},   {GL_LINE_SMOOTH_HINT, GL_NICEST},
      {GL_POLYGON_SMOOTH_HINT, GL_NICEST}, {GL_PERSPECTIVE_CORRECTION_HINT, GL_NICEST},
      {GL_MATRIX_MODE, GL_MODELVIEW},
  };
  for (const auto& v : values) {
    glGetIntegerv(v.name, &value);
    EXPECT_EQ(value, v.expected) << "state 0x" << std::hex << v.name;
  }
}

TEST_F(StartupTest, TakesTheViewportFromItsArgumentsAndTheCameraFromTheStoredMode) {
  StartUp(32, 16);
  GLint viewport[4];
  glGetIntegerv(GL_VIEWPORT, viewport);
  EXPECT_EQ(viewport[0], 0);
  EXPECT_EQ(viewport[1], 0);
  EXPECT_EQ(viewport[2], 32);
  EXPECT_EQ(viewport[3], 16);
  GLfloat projection[16];
  GLfloat modelview[16];
  glGetFloatv(GL_PROJECTION_MATRIX, projection);
  glGetFloatv(GL_MODELVIEW_MATRIX, modelview);
  EXPECT_FLOAT_EQ(projection[0], 2.0f / kWidth);
  EXPECT_FLOAT_EQ(projection[5], 2.0f / kHeight);
  for (int i = 0; i < 16; ++i) EXPECT_EQ(modelview[i], i % 5 == 0 ? 1.0f : 0.0f) << i;
}

TEST_F(StartupTest, ASecondStartUpMakesANewProgramAndReleaseDeletesOnlyThatOne) {
  StartUp();
  const unsigned first = device.program;
  StartUp();
  const unsigned second = device.program;
  device.ReleaseGL();
  switch (ExpectedColorPath()) {
    case ColorPath::Shader: {
      const auto getProgram = Fetch<PFNGLGETPROGRAMIVPROC>("glGetProgramiv");
      GLint deleted = GL_TRUE;
      getProgram(first, GL_DELETE_STATUS, &deleted);
      EXPECT_EQ(deleted, GL_FALSE) << "the first program is never deleted";
      // The second is still in use, so GL only marks it for deletion.
      getProgram(second, GL_DELETE_STATUS, &deleted);
      EXPECT_EQ(deleted, GL_TRUE);
      Fetch<PFNGLUSEPROGRAMPROC>("glUseProgram")(0);
      Fetch<PFNGLDELETEPROGRAMPROC>("glDeleteProgram")(first);
      break;
    }
    case ColorPath::ARBProgram: {
      const auto isProgram = Fetch<PFNGLISPROGRAMARBPROC>("glIsProgramARB");
      EXPECT_TRUE(isProgram(first));
      EXPECT_FALSE(isProgram(second));
      Fetch<PFNGLDELETEPROGRAMSARBPROC>("glDeleteProgramsARB")(1, &first);
      break;
    }
    case ColorPath::ARBShader:
      EXPECT_NE(first, second);
      Fetch<PFNGLUSEPROGRAMOBJECTARBPROC>("glUseProgramObjectARB")(0);
      Fetch<PFNGLDELETEOBJECTARBPROC>("glDeleteObjectARB")(first);
      break;
    default:
      EXPECT_EQ(first, 0u);
      EXPECT_EQ(second, 0u);
  }
  device.shaderFlags = {};
}

TEST_F(StartupTest, AddsToTheFlagsOfAnEarlierStartUp) {
  if (ExpectedColorPath() != ColorPath::Shader) {
    GTEST_SKIP() << "needs the OpenGL 2.0 path to add a flag beside a preset one";
  }
  device.shaderFlags.useARBProgram = 1;
  StartUp();
  EXPECT_EQ(device.shaderFlags.useShader, 1u);
  EXPECT_EQ(device.shaderFlags.useARBProgram, 1u);
}

TEST_F(StartupTest, SetColorSetsTheCurrentColourWithTheOpacityByte) {
  const struct {
    Color color;
    float alpha;
    GLfloat expected[4];
  } cases[] = {
      {{255, 0, 0}, 0.5f, {1.0f, 0.0f, 0.0f, 127 / 255.0f}},
      {{0, 51, 255}, 1.0f, {0.0f, 0.2f, 1.0f, 1.0f}},
      {{10, 20, 30}, 1.5f, {10 / 255.0f, 20 / 255.0f, 30 / 255.0f, 126 / 255.0f}},
  };
  for (const auto& c : cases) {
    device.SetColor(c.color, c.alpha);
    GLfloat current[4];
    glGetFloatv(GL_CURRENT_COLOR, current);
    for (int i = 0; i < 4; ++i) EXPECT_FLOAT_EQ(current[i], c.expected[i]) << "channel " << i;
  }
}

TEST_F(StartupTest, IsSupportedFindsSubstringsOfTheExtensionString) {
  EXPECT_FALSE(IsSupported(nullptr));
  EXPECT_FALSE(IsSupported(""));
  const std::string extensions = reinterpret_cast<const char*>(glGetString(GL_EXTENSIONS));
  const std::string listed = extensions.substr(0, extensions.find(' '));
  EXPECT_TRUE(IsSupported(listed.c_str())) << listed;
  EXPECT_TRUE(IsSupported(listed.substr(0, listed.size() - 3).c_str())) << "a prefix counts";
  EXPECT_FALSE(IsSupported("GL_KELO_no_such_extension"));
  EXPECT_EQ(IsVersionSupported(2.0f), ExpectedColorPath() == ColorPath::Shader);
  EXPECT_TRUE(IsVersionSupported(1.5f));
}

}  // namespace
}  // namespace Kelo
