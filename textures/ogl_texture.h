// The plug-in's record of one OpenGL texture: only its name. Size and format
// live in OpenGL. Every method needs a current context; each returns whether
// the record names a texture afterwards.
#pragma once

#include <GL/gl.h>

#include "kelo/types.h"

struct OGLTexture {
  // Deletes the texture if there is one; always true.
  bool Release();
  // Uploads a tightly packed block, rows top-down.
  bool Load(Kelo::IMAGE_FORMAT format, const void* pixels, unsigned width, unsigned height);
  // A texture of that size with undefined contents, always under a new name.
  bool Load(Kelo::IMAGE_FORMAT format, unsigned width, unsigned height);
  // A glyph block as a white luminance-alpha texture with the glyphs' coverage
  // as alpha.
  bool LoadFont(Kelo::IMAGE_FORMAT format, const void* pixels, unsigned width, unsigned height);
  // An image file with its own channel count.
  bool Load(const char* filename);
  // An image file as RGBA, pixels of exactly `colorKey` made transparent when
  // the file has an alpha channel of its own.
  bool Load(const char* filename, const Kelo::Color& colorKey);

  GLuint glName;
};
