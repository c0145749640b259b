#include <GL/gl.h>

#include "textures/ogl_texture.h"
#include "video/opengl_device.h"

namespace Kelo {
namespace {

// A texture record and the generation of the device's textures it was made
// in; the handle is the record's address.
struct Made {
  OGLTexture texture;
  unsigned long generation;
};

Made* MadeOf(unsigned long handle) { return reinterpret_cast<Made*>(handle); }

// The handle is the host's from the moment it is written, whether or not the
// load that follows succeeds.
OGLTexture* NewTexture(unsigned long& handle, unsigned long generation) {
  Made* made = new Made{{0}, generation};
  handle = reinterpret_cast<unsigned long>(&made->texture);
  return &made->texture;
}

// The record, or null for the null handle and for a texture of an earlier
// generation.
OGLTexture* LiveTexture(unsigned long handle, unsigned long generation) {
  Made* made = MadeOf(handle);
  return made && made->generation == generation ? &made->texture : nullptr;
}

// A texture is made only while the device's own context is current, as with
// no context at all (the texture library would crash looking for one): a
// texture made in a context of the host's would live in the host's share
// group, where the device's draws never find it and the host's own texture
// of that name could later be deleted in its place. The creation then fails
// as it would without a context: false, the handle set, no texture name.
bool CanMakeTextures(const IOpenGL& device) { return device.OwnContextCurrent(); }

GLuint NameOf(unsigned long handle, unsigned long generation) {
  const OGLTexture* texture = LiveTexture(handle, generation);
  return texture ? texture->glName : 0;
}

// Leaves the texture bound; a texture without storage measures 0.
int LevelZero(unsigned long handle, unsigned long generation, GLenum parameter) {
  if (!handle) return 0;
  GLint value = 0;
  glBindTexture(GL_TEXTURE_2D, NameOf(handle, generation));
  glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, parameter, &value);
  return value;
}

}  // namespace

bool IOpenGL::CreateTexture(unsigned long& handle, IMAGE_FORMAT format, const void* pixels,
                            unsigned width, unsigned height) {
  OGLTexture* texture = NewTexture(handle, textureGeneration);
  return CanMakeTextures(*this) && texture->Load(format, pixels, width, height);
}

bool IOpenGL::CreateFontTexture(unsigned long& handle, IMAGE_FORMAT format, const void* pixels,
                                unsigned width, unsigned height) {
  OGLTexture* texture = NewTexture(handle, textureGeneration);
  return CanMakeTextures(*this) && texture->LoadFont(format, pixels, width, height);
}

bool IOpenGL::CreateTexture(unsigned long& handle, const char* filename) {
  OGLTexture* texture = NewTexture(handle, textureGeneration);
  return CanMakeTextures(*this) && texture->Load(filename);
}

bool IOpenGL::CreateTexture(unsigned long& handle, const char* filename, const Color& colorKey) {
  OGLTexture* texture = NewTexture(handle, textureGeneration);
  return CanMakeTextures(*this) && texture->Load(filename, colorKey);
}

bool IOpenGL::CreateTexture(unsigned long& handle, IMAGE_FORMAT format, unsigned width,
                            unsigned height) {
  OGLTexture* texture = NewTexture(handle, textureGeneration);
  return CanMakeTextures(*this) && texture->Load(format, width, height);
}

unsigned long IOpenGL::NextTextureGeneration() {
  static unsigned long generations = 0;
  return ++generations;
}

bool IOpenGL::ReleaseTexture(unsigned long handle) {
  if (OGLTexture* texture = LiveTexture(handle, textureGeneration)) texture->Release();
  delete MadeOf(handle);
  return true;
}

int IOpenGL::GetWidthTexture(unsigned long handle) const {
  return LevelZero(handle, textureGeneration, GL_TEXTURE_WIDTH);
}

int IOpenGL::GetHeightTexture(unsigned long handle) const {
  return LevelZero(handle, textureGeneration, GL_TEXTURE_HEIGHT);
}

// The mode is set afresh on every batch: stored draws on the texture-combine
// path leave it at GL_BLEND.
void IOpenGL::BeginTextureBatch(unsigned long handle) {
  glEnable(GL_TEXTURE_2D);
  glBindTexture(GL_TEXTURE_2D, NameOf(handle, textureGeneration));
  glTexEnvf(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, static_cast<GLfloat>(GL_MODULATE));
}

void IOpenGL::EndTextureBatch() { glDisable(GL_TEXTURE_2D); }

}  // namespace Kelo
