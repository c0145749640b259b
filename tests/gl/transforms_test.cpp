#include <gtest/gtest.h>

#include "kelo/colors.h"
#include "tests/support/gl_fixture.h"
#include "tests/support/pixels.h"
#include "video/opengl_device.h"

namespace Kelo {
namespace {

using Support::GLTest;
using Support::Rgba;

const Rgba kRed{255, 0, 0, 255};
const Rgba kGreen{0, 255, 0, 255};
const Rgba kBlue{0, 0, 255, 255};
const Matrix kIdentity{{1, 0, 0, 0, 1, 0}};

// Fills an axis-aligned box in camera units through the current matrices.
void FillBox(float x0, float y0, float x1, float y1, const Rgba& c) {
  glColor3ub(c.r, c.g, c.b);
  glBegin(GL_QUADS);
  glVertex2f(x0, y0);
  glVertex2f(x1, y0);
  glVertex2f(x1, y1);
  glVertex2f(x0, y1);
  glEnd();
}

class TransformsTest : public GLTest {
protected:
  void SetUp() override {
    GLTest::SetUp();
    device.currentMode = {kWidth, kHeight, 32, true, 60};
    device.SetViewport({0, 0, kWidth, kHeight});
    device.SetCamera(kWidth, kHeight);
    device.SetWorldTransform(kIdentity);
    device.Clear(BLACK);
  }
  IOpenGL device;
};

TEST_F(TransformsTest, CameraPutsTheOriginAtTheCentreWithYUp) {
  FillBox(-32, -32, -28, -28, kRed);
  FillBox(28, 28, 32, 32, kGreen);
  EXPECT_PIXEL_NEAR(1, 1, kRed, 0);
  EXPECT_PIXEL_NEAR(62, 62, kGreen, 0);
  EXPECT_PIXEL_NEAR(62, 1, (Rgba{0, 0, 0, 255}), 0);
  GLint mode = 0;
  glGetIntegerv(GL_MATRIX_MODE, &mode);
  EXPECT_EQ(mode, GL_MODELVIEW) << "SetWorldTransform selects the modelview matrix";
  device.SetCamera(kWidth, kHeight);
  glGetIntegerv(GL_MATRIX_MODE, &mode);
  EXPECT_EQ(mode, GL_PROJECTION) << "SetCamera leaves the projection matrix selected";
}

TEST_F(TransformsTest, WorldTransformReplacesInsteadOfAccumulating) {
  const Matrix move{{1, 0, 5, 0, 1, 7}};
  device.SetWorldTransform(move);
  device.SetWorldTransform(move);
  FillBox(0, 0, 2, 2, kRed);
  EXPECT_PIXEL_NEAR(32 + 5, 32 + 7, kRed, 0);
  EXPECT_PIXEL_NEAR(32, 32, (Rgba{0, 0, 0, 255}), 0);

  device.Clear(BLACK);
  device.SetWorldTransform(kIdentity);
  FillBox(0, 0, 2, 2, kGreen);
  EXPECT_PIXEL_NEAR(32, 32, kGreen, 0);
  EXPECT_PIXEL_NEAR(32 + 5, 32 + 7, (Rgba{0, 0, 0, 255}), 0);
}

TEST_F(TransformsTest, WorldTransformScalesAndShearsLikeTheRowMajorMatrix) {
  // x' = 2x + y, y' = y: the box (1..2, 1..2) lands on x 3..6, y 1..2.
  device.SetWorldTransform(Matrix{{2, 1, 0, 0, 1, 0}});
  FillBox(1, 1, 2, 2, kBlue);
  EXPECT_PIXEL_NEAR(32 + 4, 33, kBlue, 0);
  EXPECT_PIXEL_NEAR(32 + 1, 33, (Rgba{0, 0, 0, 255}), 0);
}

TEST_F(TransformsTest, ViewTransformIsRecordedButChangesNothing) {
  float before[16];
  glGetFloatv(GL_MODELVIEW_MATRIX, before);
  device.SetViewTransform(Matrix{{2, 3, 4, 5, 6, 7}});
  FillBox(-2, -2, 2, 2, kRed);
  EXPECT_PIXEL_NEAR(32, 32, kRed, 0);
  EXPECT_PIXEL_NEAR(40, 40, (Rgba{0, 0, 0, 255}), 0);
  float after[16];
  glGetFloatv(GL_MODELVIEW_MATRIX, after);
  for (int i = 0; i < 16; ++i) EXPECT_EQ(before[i], after[i]) << "element " << i;
  const float expected[16] = {2, 5, 0, 0, 3, 6, 0, 0, 0, 0, 1, 0, 4, 7, 0, 1};
  for (int i = 0; i < 16; ++i) EXPECT_EQ(device.viewMatrix[i], expected[i]) << "element " << i;
}

TEST_F(TransformsTest, ViewportFlipsTheTopLeftRectangleAgainstTheModeHeight) {
  device.currentMode.height = 768;
  const struct {
    Rect rect;
    GLint expected[4];
  } cases[] = {
      {{0, 0, 1024, 768}, {0, 0, 1024, 768}},
      {{10, 20, 100, 50}, {10, 698, 100, 50}},
  };
  for (const auto& c : cases) {
    EXPECT_TRUE(device.SetViewport(c.rect));
    GLint viewport[4];
    GLint scissor[4];
    glGetIntegerv(GL_VIEWPORT, viewport);
    glGetIntegerv(GL_SCISSOR_BOX, scissor);
    for (int i = 0; i < 4; ++i) {
      EXPECT_EQ(viewport[i], c.expected[i]) << "viewport word " << i;
      EXPECT_EQ(scissor[i], c.expected[i]) << "scissor word " << i;
    }
  }
}

TEST_F(TransformsTest, ClearFillsColourAndStencilButSparesDepth) {
  GLint depthBits = 0;
  glGetIntegerv(GL_DEPTH_BITS, &depthBits);
  glClearStencil(1);
  glClearDepth(0.0);
  glClear(GL_STENCIL_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
  glClearStencil(0);
  glClearDepth(1.0);

  device.Clear(RED);
  EXPECT_PIXEL_NEAR(10, 10, kRed, 0);

  // Only where the stencil was cleared to 0 does the green box show.
  glEnable(GL_STENCIL_TEST);
  glStencilFunc(GL_EQUAL, 0, 0xFF);
  FillBox(-8, -8, 8, 8, kGreen);
  glDisable(GL_STENCIL_TEST);
  EXPECT_PIXEL_NEAR(32, 32, kGreen, 0);

  if (depthBits == 0) {
    GTEST_SKIP() << "the framebuffer has no depth buffer, so there is no depth to spare";
  }
  // The depth buffer still holds 0, so nothing at depth 0.5 passes GL_LESS.
  device.Clear(RED);
  glEnable(GL_DEPTH_TEST);
  glDepthFunc(GL_LESS);
  FillBox(-8, -8, 8, 8, kBlue);
  glDisable(GL_DEPTH_TEST);
  EXPECT_PIXEL_NEAR(32, 32, kRed, 0);
}

}  // namespace
}  // namespace Kelo
