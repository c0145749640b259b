#include "kelo/colors.h"
#include "tests/support/gl_fixture.h"
#include "tests/support/pixels.h"
#include "video/gl_functions.h"

namespace Kelo {

using Support::State;
using Floats = std::vector<GLfloat>;
using GLStateTest = Support::DeviceTest;

// The view transform is only recorded.
TEST_F(GLStateTest, TheWorldTransformReplacesTheLastAndTheViewTransformIsOnlyRecorded) {
  const std::tuple<Matrix, std::vector<float>, int, int, int, int> cases[] = {
      {{{1, 0, 0, 0, 1, 0}}, {-32, -32, -28, -28}, 1, 1, 62, 1},
      {{{1, 0, 5, 0, 1, 7}}, {0, 0, 2, 2}, 37, 39, 32, 32},
      {{{2, 1, 0, 1, 2, 0}}, {1, 1, 2, 2}, 36, 36, 33, 33}};
  for (const auto& [world, box, inX, inY, outX, outY] : cases) {
    device.SetViewTransform(Matrix{{2, 3, 4, 5, 6, 7}});
    device.SetWorldTransform(world);
    device.SetWorldTransform(world);
    device.Clear(BLACK);
    glRectf(box[0], box[1], box[2], box[3]);
    EXPECT_PIXEL_NEAR(inX, inY, (Support::Rgba{255, 255, 255, 255}), 0);
    EXPECT_PIXEL_NEAR(outX, outY, (Support::Rgba{0, 0, 0, 255}), 0);
  }
  EXPECT_EQ(Floats(device.viewMatrix, device.viewMatrix + 16),
            (Floats{2, 5, 0, 0, 3, 6, 0, 0, 0, 0, 1, 0, 4, 7, 0, 1}));
}

// The viewport takes the size passed in; the camera follows the stored mode.
TEST_F(GLStateTest, StartUpSetsTheFixedStateWhateverTheHostLeft) {
  for (GLenum on : {GL_SCISSOR_TEST, GL_STENCIL_TEST, GL_DEPTH_TEST}) glEnable(on);
  glDisable(GL_MULTISAMPLE);
  glShadeModel(GL_FLAT);
  glTranslatef(1, 0, 0);
  device.InitGL(32, 16);
  Support::DrainGLErrors();
  const Floats projection = State(GL_PROJECTION_MATRIX, 16), range = State(GL_DEPTH_RANGE, 2);
  EXPECT_EQ((Floats{projection[0] * kWidth, projection[5] * kHeight, range[0], range[1],
                    State(GL_MODELVIEW_MATRIX, 16)[12]}),
            (Floats{2, 2, 1, 0, 0}));
  Floats actual;
  for (GLenum name :
       {GL_MULTISAMPLE, GL_POINT_SMOOTH, GL_LINE_SMOOTH, GL_BLEND, GL_SCISSOR_TEST, GL_STENCIL_TEST,
        GL_DEPTH_TEST, GL_TEXTURE_2D, GL_SHADE_MODEL, GL_DEPTH_FUNC, GL_BLEND_SRC, GL_BLEND_DST,
        GL_POINT_SMOOTH_HINT, GL_LINE_SMOOTH_HINT, GL_POLYGON_SMOOTH_HINT,
        GL_PERSPECTIVE_CORRECTION_HINT, GL_MATRIX_MODE, GL_DEPTH_CLEAR_VALUE})
    actual.push_back(State(name, 1)[0]);
  EXPECT_EQ(actual, (Floats{1, 1, 1, 0, 0, 0, 0, 0, GL_SMOOTH, GL_LEQUAL, GL_SRC_ALPHA,
                            GL_ONE_MINUS_SRC_ALPHA, GL_NICEST, GL_NICEST, GL_NICEST, GL_NICEST,
                            GL_MODELVIEW, 1}));
  EXPECT_EQ(State(GL_VIEWPORT, 4), (Floats{0, 0, 32, 16}));
}

// Top-left rectangles, flipped against the height of the mode in use.
TEST_F(GLStateTest, TheViewportAndScissorBoxAreFlippedAgainstTheModesHeight) {
  device.currentMode.height = 80;
  EXPECT_TRUE(device.SetViewport({10, 20, 30, 50}));
  EXPECT_EQ(State(GL_VIEWPORT, 4), (Floats{10, 10, 30, 50}));
  EXPECT_EQ(State(GL_SCISSOR_BOX, 4), (Floats{10, 10, 30, 50}));
}

TEST_F(GLStateTest, StartUpLogsTheColourPathAndStorageTheEntryExpects) {
  const auto path = Support::ExpectedColorPath();
  if (path == Support::ColorPath::Unknown) GTEST_SKIP() << "KELO_EXPECT_COLOR_PATH is not set";
  const char* const lines[] = {"[kelo-opengl] will use OpenGL 2.0 [GL_ARB_vertex_shader] shader.\n",
                               "[kelo-opengl] will use [GL_ARB_vertex_shader] shader.\n",
                               "[kelo-opengl] will use [GL_ARB_vertex_program] shader.\n",
                               "[kelo-opengl] no vertex shader found, will use texture combine.\n"};
  EXPECT_EQ(log.Lines().at(0), lines[static_cast<int>(path) - 1]);
  EXPECT_EQ(log.Lines().at(1), Support::ExpectedStorage() == "ram"
                                   ? "[kelo-opengl] Will use vertex arrays "
                                   : "[kelo-opengl] Will use [GL_ARB_vertex_buffer_object]\n");
}

// On the GLSL paths the released program stays in use: GL only marks it.
TEST_F(GLStateTest, ReleaseDeletesTheLastColourProgram) {
  const auto path = Support::ExpectedColorPath();
  if (path == Support::ColorPath::Unknown) GTEST_SKIP() << "KELO_EXPECT_COLOR_PATH is not set";
  device.ReleaseGL();
  GLint deleted = path == Support::ColorPath::ARBProgram && !gl::IsProgramARB(device.program);
  if (path < Support::ColorPath::ARBProgram) {
    reinterpret_cast<PFNGLGETOBJECTPARAMETERIVARBPROC>(SDL_GL_GetProcAddress(
        "glGetObjectParameterivARB"))(device.program, GL_OBJECT_DELETE_STATUS_ARB, &deleted);
  }
  EXPECT_EQ(deleted && device.program, path != Support::ColorPath::TextureCombine);
  device.shaderFlags = {};
}

}  // namespace Kelo
