#include "kelo/colors.h"
#include "tests/support/gl_fixture.h"
#include "tests/support/pixels.h"

namespace Kelo {
namespace {

using Support::Rgba;
using TransformsTest = Support::DeviceTest;

const Rgba kWhite{255, 255, 255, 255}, kBlack{0, 0, 0, 255};

// The camera puts the origin at the centre with y up; the world transform is
// the row-major 2 x 3 matrix and replaces the last one; the view transform is
// only recorded.
TEST_F(TransformsTest, PlaceWhatIsDrawn) {
  const struct {
    Matrix world;
    float box[4];
    int inside[2], outside[2];
  } cases[] = {{{{1, 0, 0, 0, 1, 0}}, {-32, -32, -28, -28}, {1, 1}, {62, 1}},
               {{{1, 0, 5, 0, 1, 7}}, {0, 0, 2, 2}, {37, 39}, {32, 32}},
               {{{2, 1, 0, 0, 1, 0}}, {1, 1, 2, 2}, {36, 33}, {33, 33}},
               {{{1, 0, 0, 1, 2, 0}}, {1, 1, 2, 2}, {33, 36}, {33, 33}}};
  for (const auto& c : cases) {
    device.SetViewTransform(Matrix{{2, 3, 4, 5, 6, 7}});
    device.SetWorldTransform(c.world);
    device.SetWorldTransform(c.world);
    device.Clear(BLACK);
    glRectf(c.box[0], c.box[1], c.box[2], c.box[3]);
    EXPECT_PIXEL_NEAR(c.inside[0], c.inside[1], kWhite, 0);
    EXPECT_PIXEL_NEAR(c.outside[0], c.outside[1], kBlack, 0);
  }
  EXPECT_EQ(std::vector<float>(device.viewMatrix, device.viewMatrix + 16),
            (std::vector<float>{2, 5, 0, 0, 3, 6, 0, 0, 0, 0, 1, 0, 4, 7, 0, 1}));
}

// The viewport and the scissor box take the top-left rectangle flipped
// against the mode's height; Clear fills colour and stencil.
TEST_F(TransformsTest, ViewportFlipsAndClearFills) {
  device.currentMode.height = 80;
  EXPECT_TRUE(device.SetViewport({10, 20, 30, 50}));
  EXPECT_EQ(Support::State<GLint>(GL_VIEWPORT, 4), (std::vector<GLint>{10, 10, 30, 50}));
  EXPECT_EQ(Support::State<GLint>(GL_SCISSOR_BOX, 4), (std::vector<GLint>{10, 10, 30, 50}));
  glViewport(0, 0, kWidth, kHeight);
  glClearStencil(1);
  glClear(GL_STENCIL_BUFFER_BIT);
  glClearStencil(0);
  device.Clear(LIME);
  glEnable(GL_STENCIL_TEST);
  glStencilFunc(GL_EQUAL, 0, 0xFF);
  glRectf(-8, -8, 8, 8);
  glDisable(GL_STENCIL_TEST);
  EXPECT_PIXEL_NEAR(10, 10, (Rgba{0, 255, 0, 255}), 0);
  EXPECT_PIXEL_NEAR(32, 32, kWhite, 0);
}

}  // namespace
}  // namespace Kelo
