#include <GL/gl.h>

#include "kelo/log.h"
#include "shapes/vram.h"
#include "video/capabilities.h"
#include "video/gl_functions.h"
#include "video/gl_loaders.h"
#include "video/opengl_device.h"

namespace Kelo {
namespace {

constexpr GLenum kTransformHintApple = 0x85B1;

// The state all drawing relies on. Blending is left to shape batches, and the
// depth settings only prepare a buffer that nothing tests against.
void SetFixedState() {
  glEnable(GL_MULTISAMPLE);
  glShadeModel(GL_SMOOTH);
  glEnable(GL_POINT_SMOOTH);
  glEnable(GL_LINE_SMOOTH);
  glHint(GL_POINT_SMOOTH_HINT, GL_NICEST);
  glHint(GL_LINE_SMOOTH_HINT, GL_NICEST);
  glHint(GL_POLYGON_SMOOTH_HINT, GL_NICEST);
  glHint(GL_PERSPECTIVE_CORRECTION_HINT, GL_NICEST);
  glClearDepth(1.0);
  glDisable(GL_DEPTH_TEST);
  glDepthFunc(GL_LEQUAL);
  // Reversed on purpose, like the camera's near and far planes.
  glDepthRange(1.0, 0.0);
  glDisable(GL_SCISSOR_TEST);
  glDisable(GL_STENCIL_TEST);
  glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
  // Drivers other than Apple's reject this hint with GL_INVALID_ENUM.
  glHint(kTransformHintApple, GL_FASTEST);
}

}  // namespace

void IOpenGL::InitGL(unsigned width, unsigned height) {
  glViewport(0, 0, static_cast<GLsizei>(width), static_cast<GLsizei>(height));
  // The camera follows the stored mode, not the size passed in.
  SetCamera(static_cast<float>(currentMode.width), static_cast<float>(currentMode.height));
  glMatrixMode(GL_MODELVIEW);
  glLoadIdentity();
  SetFixedState();
  if (ChooseColorPath()) InitGLPrograms();
}

// The first rule that holds wins. Flags are only ever added, so a later
// start-up adds to what an earlier one chose; readers take the first set flag.
// The OpenGL 2.0 rule looks at the version alone, although its line names
// the shader extension.
bool IOpenGL::ChooseColorPath() {
  if (IsVersionSupported(2.0f)) {
    Log::Output("[kelo-opengl] will use OpenGL 2.0 [%s] shader.\n", "GL_ARB_vertex_shader");
    shaderFlags.useShader = 1;
    InitGL_Shader();
    return true;
  }
  if (IsSupported("GL_ARB_shader_objects") && IsSupported("GL_ARB_vertex_shader")) {
    Log::Output("[kelo-opengl] will use [%s] shader.\n", "GL_ARB_vertex_shader");
    shaderFlags.useARBShader = 1;
    InitGL_ARB_shader();
    return true;
  }
  if (IsSupported("GL_ARB_vertex_program")) {
    Log::Output("[kelo-opengl] will use [%s] shader.\n", "GL_ARB_vertex_program");
    shaderFlags.useARBProgram = 1;
    InitGL_ARB_program();
    return true;
  }
  Log::Output("[kelo-opengl] no vertex shader found, will use texture combine.\n");
  return false;
}

// Only the last program made is deleted; neither the flags nor `program`
// are cleared.
void IOpenGL::ReleaseGL() {
  DeleteColorProgram();
  if (VRAMManager) {
    VRAMManager->Release();
    delete VRAMManager;
    VRAMManager = nullptr;
  }
}

void IOpenGL::DeleteColorProgram() {
  if (shaderFlags.useShader) {
    gl::DeleteProgram(program);
  } else if (shaderFlags.useARBShader) {
    gl::DeleteObjectARB(program);
  } else if (shaderFlags.useARBProgram) {
    if (gl::IsProgramARB(program)) gl::DeleteProgramsARB(1, &program);
  }
}

}  // namespace Kelo
