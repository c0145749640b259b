// The two programs that multiply every vertex colour by a constant colour.
#pragma once

namespace Kelo {

// ARB vertex program: the constant colour is program environment parameter 0.
extern const char vtxBlenderProgram[];
constexpr int kVtxBlenderProgramLength = 976;
// GLSL vertex shader: the constant colour is the attribute "constColor",
// bound to index 1 before linking.
extern const char* const vtxBlenderShader;
constexpr unsigned kConstColorAttribute = 1;

}  // namespace Kelo
