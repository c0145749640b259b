// The host framework's logger. Plug-ins write whole lines (tag and final
// newline included in `format`) through Output. By default lines go to stderr;
// a host redirects them with SetSink, or replaces Output altogether by
// defining and exporting its own (the plug-ins bind to it at load time).
#pragma once

#define KELO_HOST_API __attribute__((visibility("default")))

namespace Kelo {
namespace Log {

using Sink = void (*)(const char* line, void* user);

KELO_HOST_API void Output(const char* format, ...) __attribute__((format(printf, 1, 2)));

// Sends every later line to `sink` with `user`; a null sink restores stderr.
KELO_HOST_API void SetSink(Sink sink, void* user);

}  // namespace Log
}  // namespace Kelo
