// Every GL entry point the plug-in fetches at run time, one list per loader.
// The lists expand into the pointers below and into the loaders
// (video/gl_loaders.cpp). Core GL 1.1 is linked directly and is not listed.
#pragma once

#include <GL/gl.h>
#include <GL/glext.h>

#define KELO_GL_SHADER_FUNCTIONS(X)                  \
  X(PFNGLCREATESHADERPROC, CreateShader)             \
  X(PFNGLSHADERSOURCEPROC, ShaderSource)             \
  X(PFNGLCOMPILESHADERPROC, CompileShader)           \
  X(PFNGLCREATEPROGRAMPROC, CreateProgram)           \
  X(PFNGLATTACHSHADERPROC, AttachShader)             \
  X(PFNGLDELETESHADERPROC, DeleteShader)             \
  X(PFNGLBINDATTRIBLOCATIONPROC, BindAttribLocation) \
  X(PFNGLLINKPROGRAMPROC, LinkProgram)               \
  X(PFNGLUSEPROGRAMPROC, UseProgram)                 \
  X(PFNGLDELETEPROGRAMPROC, DeleteProgram)           \
  X(PFNGLVERTEXATTRIB4FVPROC, VertexAttrib4fv)

#define KELO_GL_ARB_SHADER_FUNCTIONS(X)                      \
  X(PFNGLCREATESHADEROBJECTARBPROC, CreateShaderObjectARB)   \
  X(PFNGLSHADERSOURCEARBPROC, ShaderSourceARB)               \
  X(PFNGLCOMPILESHADERARBPROC, CompileShaderARB)             \
  X(PFNGLCREATEPROGRAMOBJECTARBPROC, CreateProgramObjectARB) \
  X(PFNGLATTACHOBJECTARBPROC, AttachObjectARB)               \
  X(PFNGLDELETEOBJECTARBPROC, DeleteObjectARB)               \
  X(PFNGLBINDATTRIBLOCATIONARBPROC, BindAttribLocationARB)   \
  X(PFNGLLINKPROGRAMARBPROC, LinkProgramARB)                 \
  X(PFNGLUSEPROGRAMOBJECTARBPROC, UseProgramObjectARB)       \
  X(PFNGLVERTEXATTRIB4FVARBPROC, VertexAttrib4fvARB)

#define KELO_GL_ARB_PROGRAM_FUNCTIONS(X)                         \
  X(PFNGLGENPROGRAMSARBPROC, GenProgramsARB)                     \
  X(PFNGLBINDPROGRAMARBPROC, BindProgramARB)                     \
  X(PFNGLPROGRAMSTRINGARBPROC, ProgramStringARB)                 \
  X(PFNGLPROGRAMENVPARAMETER4FARBPROC, ProgramEnvParameter4fARB) \
  X(PFNGLISPROGRAMARBPROC, IsProgramARB)                         \
  X(PFNGLDELETEPROGRAMSARBPROC, DeleteProgramsARB)

#define KELO_GL_ARB_VBO_FUNCTIONS(X)                           \
  X(PFNGLGENBUFFERSARBPROC, GenBuffersARB)                     \
  X(PFNGLBINDBUFFERARBPROC, BindBufferARB)                     \
  X(PFNGLBUFFERDATAARBPROC, BufferDataARB)                     \
  X(PFNGLBUFFERSUBDATAARBPROC, BufferSubDataARB)               \
  X(PFNGLISBUFFERARBPROC, IsBufferARB)                         \
  X(PFNGLGETBUFFERPARAMETERIVARBPROC, GetBufferParameterivARB) \
  X(PFNGLDELETEBUFFERSARBPROC, DeleteBuffersARB)

#define KELO_GL_ARB_VAO_FUNCTIONS(X)                 \
  X(PFNGLGENVERTEXARRAYSPROC, GenVertexArrays)       \
  X(PFNGLBINDVERTEXARRAYPROC, BindVertexArray)       \
  X(PFNGLDELETEVERTEXARRAYSPROC, DeleteVertexArrays) \
  X(PFNGLISVERTEXARRAYPROC, IsVertexArray)

#define KELO_GL_EXT_COMPILED_ARRAY_FUNCTIONS(X) \
  X(PFNGLLOCKARRAYSEXTPROC, LockArraysEXT)      \
  X(PFNGLUNLOCKARRAYSEXTPROC, UnlockArraysEXT)

#define KELO_GL_ATI_SHADER_FUNCTIONS(X)                        \
  X(PFNGLGENFRAGMENTSHADERSATIPROC, GenFragmentShadersATI)     \
  X(PFNGLBINDFRAGMENTSHADERATIPROC, BindFragmentShaderATI)     \
  X(PFNGLDELETEFRAGMENTSHADERATIPROC, DeleteFragmentShaderATI) \
  X(PFNGLBEGINFRAGMENTSHADERATIPROC, BeginFragmentShaderATI)   \
  X(PFNGLENDFRAGMENTSHADERATIPROC, EndFragmentShaderATI)       \
  X(PFNGLSETFRAGMENTSHADERCONSTANTATIPROC, SetFragmentShaderConstantATI)

#define KELO_GL_ALL_FUNCTIONS(X)          \
  KELO_GL_SHADER_FUNCTIONS(X)             \
  KELO_GL_ARB_SHADER_FUNCTIONS(X)         \
  KELO_GL_ARB_PROGRAM_FUNCTIONS(X)        \
  KELO_GL_ARB_VBO_FUNCTIONS(X)            \
  KELO_GL_ARB_VAO_FUNCTIONS(X)            \
  KELO_GL_EXT_COMPILED_ARRAY_FUNCTIONS(X) \
  KELO_GL_ATI_SHADER_FUNCTIONS(X)

// Called as gl::CreateShader(...). Null until the matching loader ran.
namespace Kelo {
namespace gl {
#define KELO_GL_DECLARE(type, name) extern type name;
KELO_GL_ALL_FUNCTIONS(KELO_GL_DECLARE)
#undef KELO_GL_DECLARE
}  // namespace gl
}  // namespace Kelo
