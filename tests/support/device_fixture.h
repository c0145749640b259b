#pragma once

#include "shapes/vram.h"
#include "tests/support/gl_fixture.h"
#include "tests/support/log_capture.h"
#include "video/opengl_device.h"

namespace Kelo::Support {

// A device started on the suite's context as SetDisplayMode starts it: OpenGL
// start-up for the window's size, then the process's vertex storage.
class DeviceTest : public GLTest {
protected:
  void SetUp() override {
    GLTest::SetUp();
    device.currentMode = {kWidth, kHeight, 32, true, 60};
    device.InitGL(kWidth, kHeight);
    DrainGLErrors();
    if (!VRAMManager) {
      VRAMManager = new OGLVRAM;
      ASSERT_TRUE(VRAMManager->Init());
    }
    log.Clear();
  }
  void TearDown() override {
    device.ReleaseGL();
    GLTest::TearDown();
  }

  IOpenGL device;
  LogCapture log;
};

}  // namespace Kelo::Support
