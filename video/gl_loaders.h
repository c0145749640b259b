// Fetch the entry points of one capability path (lists in gl_functions.h)
// through the platform's proc-address lookup. A context must be current.
#pragma once

namespace Kelo {

void InitGL_ARB_VBO();
void InitGL_ARB_VAO();
void InitGL_ARB_shader();
void InitGL_EXT_compiled_array();
void InitGL_ARB_program();
void InitGL_Shader();
void InitGL_ATI_shader();

}  // namespace Kelo
