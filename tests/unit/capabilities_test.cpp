#include "video/capabilities.h"

#include <gtest/gtest.h>

namespace Kelo {
namespace {

TEST(VersionAtLeast, ReadsOnlyTheLeadingNumber) {
  const struct {
    const char* version;
    float required;
    bool expected;
  } cases[] = {
      {"1.21", 2.0f, false},           {"2.0 vendor", 2.0f, true},
      {"2.1 Mesa 22.3.6", 2.0f, true}, {"1.5.1", 1.5f, true},
      {"1.5.1", 1.6f, false},          {"4.5 (Compatibility Profile) Mesa 22.3.6", 2.0f, true},
      {"vendor 3.0", 1.0f, false},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(VersionAtLeast(c.version, c.required), c.expected)
        << '"' << c.version << "\" >= " << c.required;
  }
}

TEST(ExtensionListed, MatchesAnySubstringAndNothingEmpty) {
  const char* extensions = "GL_ARB_multitexture GL_ARB_vertex_program GL_EXT_bgra";
  const struct {
    const char* list;
    const char* name;
    bool expected;
  } cases[] = {
      {extensions, "GL_ARB_vertex_program", true},
      {extensions, "GL_ARB_vertex", true},
      {extensions, "ARB_multi", true},
      {extensions, "GL_ARB_vertex_shader", false},
      {extensions, "", false},
      {extensions, nullptr, false},
      {"", "GL_EXT_bgra", false},
      {nullptr, "GL_EXT_bgra", false},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(ExtensionListed(c.list, c.name), c.expected)
        << (c.name ? c.name : "(null)") << " in " << (c.list ? c.list : "(null)");
  }
  // Without a name the query answers before asking OpenGL for its string.
  EXPECT_FALSE(IsSupported(nullptr));
  EXPECT_FALSE(IsSupported(""));
}

}  // namespace
}  // namespace Kelo
