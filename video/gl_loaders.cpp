#include "video/gl_loaders.h"

#include "platform/platform.h"
#include "video/gl_functions.h"

#define KELO_GL_FETCH(type, name) \
  gl::name = reinterpret_cast<type>(CurrentPlatform().GLProcAddress("gl" #name));

namespace Kelo {

void InitGL_ARB_VBO() { KELO_GL_ARB_VBO_FUNCTIONS(KELO_GL_FETCH) }
void InitGL_ARB_VAO() { KELO_GL_ARB_VAO_FUNCTIONS(KELO_GL_FETCH) }
void InitGL_ARB_shader() { KELO_GL_ARB_SHADER_FUNCTIONS(KELO_GL_FETCH) }
void InitGL_EXT_compiled_array() { KELO_GL_EXT_COMPILED_ARRAY_FUNCTIONS(KELO_GL_FETCH) }
void InitGL_ARB_program() { KELO_GL_ARB_PROGRAM_FUNCTIONS(KELO_GL_FETCH) }
void InitGL_Shader() { KELO_GL_SHADER_FUNCTIONS(KELO_GL_FETCH) }
void InitGL_ATI_shader() { KELO_GL_ATI_SHADER_FUNCTIONS(KELO_GL_FETCH) }

}  // namespace Kelo
