// Debian's stb_image removes the white matte of every Photoshop pixel whose
// alpha lies strictly between 0 and 255, and casts the float result to a
// byte without clamping it. Where a colour byte and the alpha add up to less
// than 255 the result is below -1, where that cast is undefined; such files
// are refused before decoding.
#pragma once

#include <cstddef>

namespace Kelo {

// False for a Photoshop file with such a pixel; true for any other bytes. Its
// width times height must already have passed the pixel cap.
bool PsdMatteSafe(const unsigned char* bytes, size_t size);

}  // namespace Kelo
