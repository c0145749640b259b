#include "video/gl_functions.h"

namespace Kelo {
namespace gl {
#define KELO_GL_DEFINE(type, name) type name = nullptr;
KELO_GL_ALL_FUNCTIONS(KELO_GL_DEFINE)
#undef KELO_GL_DEFINE
}  // namespace gl
}  // namespace Kelo
