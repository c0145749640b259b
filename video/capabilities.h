// Capability queries on the current context's version and extension strings.
#pragma once

namespace Kelo {

// Whether `name` occurs anywhere in `extensions`: a plain substring search,
// so a prefix of a longer extension name counts as present.
bool ExtensionListed(const char* extensions, const char* name);
// Whether the number that `version` begins with is at least `required`.
bool VersionAtLeast(const char* version, float required);

// The two queries on the current context.
bool IsSupported(const char* name);
bool IsVersionSupported(float version);

}  // namespace Kelo
