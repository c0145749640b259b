// Value types that cross the boundary between the engine's host and its
// video plug-ins. Both sides compile against this header and pass these
// records by reference, so field order and widths are part of the contract
// and are pinned by the static assertions at the end.
#pragma once

#include <cstddef>
#include <cstdint>

namespace Kelo {

// An opaque colour. Opacity never lives here: operations that need it take a
// separate float in 0..1 beside the colour.
struct Color {
  unsigned char r, g, b;

  constexpr Color() : r(0), g(0), b(0) {}
  constexpr Color(unsigned char red, unsigned char green, unsigned char blue)
      : r(red), g(green), b(blue) {}
};

// A position in camera units, or a texture coordinate in 0..1.
struct Point {
  float x, y;
};

// A rectangle on the display in pixels, origin at the top left.
struct Rect {
  int x, y, width, height;
};

// A 2-D affine transform stored row by row as a 2 x 3 matrix: (x, y) maps to
// (m[0]x + m[1]y + m[2], m[3]x + m[4]y + m[5]).
struct Matrix {
  float m[6];
};

// One display mode. `windowed` asks for rendering into the host's window at
// this size instead of switching the display. `refreshRate` is in whole hertz.
struct DisplayMode {
  unsigned int width;
  unsigned int height;
  unsigned int bitsPerPixel;
  bool windowed;
  unsigned int refreshRate;
};

enum DEV_CLASS : unsigned int {
  DEV_CLASS_SYSTEM = 0,
  DEV_CLASS_AUDIO = 1,
  DEV_CLASS_INPUT = 2,
  DEV_CLASS_VIDEO = 3,
};

// The kind of device a host asks to enumerate. Video plug-ins always list
// displays and report them as DEV_SUBCLASS_DISPLAY.
enum DEV_SUBCLASS : unsigned int {
  DEV_SUBCLASS_NONE = 0,
  DEV_SUBCLASS_DISPLAY = 1,
};

// One display device. `name` is NUL-terminated, at most 63 characters.
struct DeviceDescription {
  unsigned int deviceClass;
  DEV_SUBCLASS subClass;
  char name[64];
  unsigned int displayId;
};

// The primitive kind of a shape. Values outside 0..3 must not be passed.
enum SHAPE_TYPE : unsigned int {
  SHAPE_LINES = 0,
  SHAPE_LINE_STRIP = 1,
  SHAPE_TRIANGLE_STRIP = 2,
  SHAPE_TRIANGLES = 3,
};

// OpenGL primitive modes (GL_LINES, GL_LINE_STRIP, GL_TRIANGLE_STRIP,
// GL_TRIANGLES) indexed by SHAPE_TYPE.
static constexpr unsigned int KELOMODE_TO_GLMODE[4] = {0x0001, 0x0003, 0x0005, 0x0004};

// Pixel layout of a raw block handed to CreateTexture or CreateFontTexture.
// Only IMAGE_L8, IMAGE_RGB888 and IMAGE_RGBA8888 are accepted by the loaders.
enum IMAGE_FORMAT : unsigned int {
  IMAGE_UNKNOWN = 0,
  IMAGE_L8 = 1,
  IMAGE_A8 = 2,
  IMAGE_L8A8 = 3,
  IMAGE_RGB888 = 4,
  IMAGE_RGBA8888 = 5,
};

static_assert(sizeof(Color) == 3, "Color is three packed bytes");
static_assert(offsetof(Color, r) == 0 && offsetof(Color, g) == 1 && offsetof(Color, b) == 2);
static_assert(sizeof(Point) == 8 && offsetof(Point, y) == 4);
static_assert(sizeof(Rect) == 16 && offsetof(Rect, y) == 4 && offsetof(Rect, width) == 8 &&
              offsetof(Rect, height) == 12);
static_assert(sizeof(Matrix) == 24);
static_assert(sizeof(DisplayMode) == 20 && offsetof(DisplayMode, height) == 4 &&
              offsetof(DisplayMode, bitsPerPixel) == 8 && offsetof(DisplayMode, windowed) == 12 &&
              offsetof(DisplayMode, refreshRate) == 16);
static_assert(sizeof(DeviceDescription) == 76 && offsetof(DeviceDescription, subClass) == 4 &&
              offsetof(DeviceDescription, name) == 8 &&
              offsetof(DeviceDescription, displayId) == 72);
static_assert(sizeof(SHAPE_TYPE) == 4 && sizeof(IMAGE_FORMAT) == 4 && sizeof(DEV_SUBCLASS) == 4);
// Shape and texture handles are the addresses of the plug-in's records.
static_assert(sizeof(unsigned long) >= sizeof(void*), "handles hold record addresses");

}  // namespace Kelo
