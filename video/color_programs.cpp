#include "video/color_programs.h"

#include <GL/gl.h>

#include <cstring>

#include "platform/platform.h"
#include "video/gl_functions.h"
#include "video/opacity.h"
#include "video/opengl_device.h"

namespace Kelo {

const char vtxBlenderProgram[] =
    "!!ARBvp1.0\n"
    "\n"
    "# Constant Parameters\n"
    "PARAM mvp[4]   = { state.matrix.mvp }; # modelview projection matrix\n"
    "PARAM tvp[4]\t= { state.matrix.texture }; # texture matrix\n"
    "PARAM constColor = program.env[0];       # constant color (defined by the application)\n"
    "\n"
    "DP4 result.position.x, mvp[0], vertex.position;   # Transform the x component of the "
    "per-vertex position into clip-space\n"
    "DP4 result.position.y, mvp[1], vertex.position;   # Transform the y component of the "
    "per-vertex position into clip-space\n"
    "DP4 result.position.z, mvp[2], vertex.position;   # Transform the z component of the "
    "per-vertex position into clip-space\n"
    "DP4 result.position.w, mvp[3], vertex.position;   # Transform the w component of the "
    "per-vertex position into clip-space\n"
    "\n"
    "DP4 result.texcoord.x, tvp[0], vertex.texcoord;\n"
    "DP4 result.texcoord.y, tvp[1], vertex.texcoord;\n"
    "DP4 result.texcoord.z, tvp[2], vertex.texcoord;\n"
    "DP4 result.texcoord.w, tvp[3], vertex.texcoord;\n"
    "\n"
    "MUL result.color, vertex.color, constColor;\n"
    "\n"
    "END\n";

static_assert(sizeof(vtxBlenderProgram) - 1 == kVtxBlenderProgramLength);

const char* const vtxBlenderShader =
    "\n"
    "attribute vec4 constColor;\n"
    "\n"
    "void main (void)\n"
    "{\n"
    "\tgl_TexCoord[0] = gl_MultiTexCoord0;\n"
    "\tgl_Position = ftransform();\n"
    "\tgl_FrontColor = gl_Color * constColor;\n"
    "\tgl_BackColor  = gl_Color * constColor;\n"
    "}\n";

namespace {

// A new context starts the constant colour at (0, 0, 0, 1), which would draw
// unstored shapes black until the first stored draw hands a colour over.
constexpr GLfloat kNoTint[4] = {1.0f, 1.0f, 1.0f, 1.0f};

void MakeShaderProgram(unsigned& program) {
  const GLuint shader = gl::CreateShader(GL_VERTEX_SHADER);
  gl::ShaderSource(shader, 1, &vtxBlenderShader, nullptr);
  gl::CompileShader(shader);
  program = gl::CreateProgram();
  // The program keeps the shader alive once attached.
  gl::AttachShader(program, shader);
  gl::DeleteShader(shader);
  gl::BindAttribLocation(program, kConstColorAttribute, "constColor");
  gl::LinkProgram(program);
  gl::UseProgram(program);
  gl::VertexAttrib4fv(kConstColorAttribute, kNoTint);
}

void MakeARBShaderProgram(unsigned& program) {
  const GLhandleARB shader = gl::CreateShaderObjectARB(GL_VERTEX_SHADER_ARB);
  const GLint length = static_cast<GLint>(std::strlen(vtxBlenderShader));
  const GLcharARB* text = vtxBlenderShader;
  gl::ShaderSourceARB(shader, 1, &text, &length);
  gl::CompileShaderARB(shader);
  program = gl::CreateProgramObjectARB();
  gl::AttachObjectARB(program, shader);
  gl::DeleteObjectARB(shader);
  gl::BindAttribLocationARB(program, kConstColorAttribute, "constColor");
  gl::LinkProgramARB(program);
  gl::UseProgramObjectARB(program);
  gl::VertexAttrib4fvARB(kConstColorAttribute, kNoTint);
}

// The vertex program is only enabled around each stored draw, not here.
void MakeVertexProgram(unsigned& program) {
  gl::GenProgramsARB(1, &program);
  gl::BindProgramARB(GL_VERTEX_PROGRAM_ARB, program);
  gl::ProgramStringARB(GL_VERTEX_PROGRAM_ARB, GL_PROGRAM_FORMAT_ASCII_ARB, kVtxBlenderProgramLength,
                       vtxBlenderProgram);
}

// The constant colour last handed to a program, and the context it went to.
// Attribute 1 and program parameter 0 are set by nothing but this device, so
// they still hold it while the context is the same; a start-up forgets it.
struct HandedOver {
  void* context = nullptr;
  float colour[4] = {};
};
HandedOver handedOver;

bool StillHandedOver(const float c[4]) {
  void* context = CurrentPlatform().CurrentContext();
  if (context == handedOver.context &&
      std::memcmp(c, handedOver.colour, sizeof handedOver.colour) == 0) {
    return true;
  }
  handedOver.context = context;
  std::memcpy(handedOver.colour, c, sizeof handedOver.colour);
  return false;
}

void GiveProgramColour(IOpenGL::ShaderFlags flags, const float c[4]) {
  if (flags.useShader) {
    gl::VertexAttrib4fv(kConstColorAttribute, c);
  } else if (flags.useARBShader) {
    gl::VertexAttrib4fvARB(kConstColorAttribute, c);
  } else {
    gl::ProgramEnvParameter4fARB(GL_VERTEX_PROGRAM_ARB, 0, c[0], c[1], c[2], c[3]);
  }
}

}  // namespace

// Compile and link results are not checked: a program the driver rejects is
// used as it is, and the path chosen never changes.
void IOpenGL::InitGLPrograms() {
  handedOver = {};
  if (shaderFlags.useShader) {
    MakeShaderProgram(program);
  } else if (shaderFlags.useARBShader) {
    MakeARBShaderProgram(program);
  } else if (shaderFlags.useARBProgram) {
    MakeVertexProgram(program);
  }
}

// Only OpenGL's current colour changes; stored draws read it back and hand it
// to the colour path.
void IOpenGL::SetColor(const Color& color, float alpha) {
  glColor4ub(color.r, color.g, color.b, OpacityByte(alpha));
}

// Without a program the colour enters through the texture environment, which
// only acts while a texture is enabled; the mode stays GL_BLEND afterwards.
// The host's texture calls change that environment, so it is set every time.
void IOpenGL::HandOverColor(const float c[4]) {
  if (!shaderFlags.useShader && !shaderFlags.useARBShader && !shaderFlags.useARBProgram) {
    glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_BLEND);
    glTexEnvfv(GL_TEXTURE_ENV, GL_TEXTURE_ENV_COLOR, c);
    return;
  }
  if (!StillHandedOver(c)) GiveProgramColour(shaderFlags, c);
  if (!shaderFlags.useShader && !shaderFlags.useARBShader) {
    gl::BindProgramARB(GL_VERTEX_PROGRAM_ARB, program);
    glEnable(GL_VERTEX_PROGRAM_ARB);
  }
}

// Drawing with a colour array leaves OpenGL's current colour undefined.
void IOpenGL::TakeBackColor(const float c[4]) {
  glColor4fv(c);
  if (shaderFlags.useARBProgram) glDisable(GL_VERTEX_PROGRAM_ARB);
}

}  // namespace Kelo
