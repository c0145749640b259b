#include <GL/gl.h>
#include <SDL.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "kelo/colors.h"
#include "platform/sdl/sdl_platform.h"
#include "tests/support/enumerated.h"
#include "tests/support/gl_fixture.h"
#include "tests/support/log_capture.h"
#include "tests/support/pixels.h"
#include "textures/image_file.h"
#include "video/opengl_device.h"

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/common_interface_defs.h>
#endif

namespace Kelo {
namespace {

using Support::Rgba;

// Everything a check draws covers world [0, 9] x [0, 9], the window's bottom-left corner, and is
// probed at pixel (3, 3); the clip check also looks at pixel (13, 3), outside it.
constexpr int kProbe = 3, kOutside = 13;
const Point kStrip[] = {{0, 0}, {9, 0}, {0, 9}, {9, 9}};
const Point kQuad[] = {{0, 0}, {9, 0}, {0, 9}, {9, 0}, {9, 9}, {0, 9}};
const Point kQuadTexcoords[] = {{0, 0}, {1, 0}, {0, 1}, {1, 0}, {1, 1}, {0, 1}};
const Point kWideQuad[] = {{0, 0}, {18, 0}, {0, 9}, {18, 9}};
// The strip's corners over and over: a third of a storage buffer, so that shapes soon spread over
// several buffers.
const std::vector<Point> kLong = [] {
  std::vector<Point> points(30000);
  for (size_t i = 0; i < points.size(); ++i) points[i] = kStrip[i % 4];
  return points;
}();
// clang-format off
const char* const kFiles[] = {"pngsuite/basn0g08.png", "pngsuite/basn2c08.png",
    "pngsuite/basn4a08.png", "pngsuite/basn6a16.png", "bmpsuite/g_pal8topdown.bmp",
    "bmpsuite/g_rgb24.bmp", "generated_cjpeg/gray_baseline.jpg", "pillow/cross_scan_line.tga",
    "pngsuite/missing.png"};
// clang-format on

unsigned long FromEnvironment(const char* name, unsigned long fallback) {
  const char* value = std::getenv(name);
  return value ? std::strtoul(value, nullptr, 10) : fallback;
}

// A crash ends the run before the test can report: the steps so far are printed on the way out.
char stepsSoFar[2048];
void SaySteps() { std::fprintf(stderr, "\nthe random host stopped in %s\n", stepsSoFar); }
void SayStepsAndDie(int signal) {
  SaySteps();
  std::signal(signal, SIG_DFL);
  std::raise(signal);
}

// What a host expects to see where it draws a shape or texture: texels, first uploaded row
// first. A shape is one texel of its colour.
struct Image {
  int width = 1, height = 1;
  std::vector<Rgba> texels;

  static Image Uniform(Rgba colour, int width = 1, int height = 1) {
    return {width, height, std::vector<Rgba>(static_cast<size_t>(width) * height, colour)};
  }
  // Nearest filtering at the probe may land on a neighbour of the texel it aims at.
  bool Shows(Rgba got) const {
    const int at = kProbe * 2 + 1;
    for (int row = at * height / 18 - 1; row <= at * height / 18 + 1; ++row) {
      for (int column = at * width / 18 - 1; column <= at * width / 18 + 1; ++column) {
        if (row < 0 || column < 0 || row >= height || column >= width) continue;
        const Rgba want = texels[static_cast<size_t>(row) * width + column];
        if (std::abs(want.r - got.r) + std::abs(want.g - got.g) + std::abs(want.b - got.b) <= 3)
          return true;
      }
    }
    return false;
  }
};
const Image kBlack = Image::Uniform({0, 0, 0, 255});

struct Made {
  unsigned long handle;
  Image image;
};

// Objects die with the device's context; handles kept past it can only be released.
struct Objects {
  std::vector<Made> live;
  std::vector<unsigned long> stale;
};

struct HostWindow {
  SDL_Window* window;
  Uint32 ownFullScreen;  // the host's own SDL_WINDOW_FULLSCREEN_DESKTOP, or 0
  int handlers;          // successful SetDisplayMode calls through it by this device
};

// The fixture's members after the device are the model: what the host may expect of the device
// after each step.
class RandomHost : public ::testing::Test {
protected:
  void SetUp() override {
    ASSERT_EQ(SDL_InitSubSystem(SDL_INIT_VIDEO), 0) << SDL_GetError();
    // Under the leak checker Mesa stays loaded to name its allocations, as SDL would unload it
    // with the last GL window; the device's own hold on it then goes untested.
    if (std::getenv("KELO_RANDOM_HOST_KEEP_GL")) {
      ASSERT_EQ(SDL_GL_LoadLibrary(nullptr), 0) << SDL_GetError();
    }
    Support::RequestDeviceFramebuffer();
    ASSERT_EQ(SDL_GetDesktopDisplayMode(0, &desktop), 0);
    StartDevice();
    desktopMode = mode;
    ASSERT_TRUE(device->EnumerateDisplayModes(display, Support::CollectInto<DisplayMode>, &listed));
    for (const char* file : kFiles) files.push_back(Decoded(file));
#if defined(__SANITIZE_ADDRESS__)
    __sanitizer_set_death_callback(SaySteps);
#endif
    for (int signal : {SIGSEGV, SIGFPE, SIGABRT, SIGBUS}) std::signal(signal, SayStepsAndDie);
  }
  void TearDown() override {
    ReleaseDevice();
    for (bool texture : {false, true})
      for (unsigned long kept : Of(texture).stale) Release(texture, kept);
    device.reset();
    for (const HostWindow& window : windows) SDL_DestroyWindow(window.window);
  }

  static std::optional<Image> Decoded(const char* file) {
    DecodedImage decoded;
    if (!DecodeImageFile((std::string(KELO_TEST_IMAGES) + "/" + file).c_str(), 4, decoded))
      return std::nullopt;
    Image image{decoded.width, decoded.height, {}};
    for (int i = 0; i < decoded.width * decoded.height; ++i) {
      const unsigned char* p = decoded.pixels.get() + 4 * i;
      image.texels.push_back({p[0], p[1], p[2], p[3]});
    }
    return image;
  }

  void StartDevice() {
    device = std::make_unique<IOpenGL>();
    ASSERT_TRUE(device->Init() && device->GetDefaultDevice(DEV_SUBCLASS_DISPLAY, display) &&
                device->InitDevice(display, handle));
    device->GetDisplayMode(mode);
    for (HostWindow& window : windows) window.handlers = 0;
  }

  unsigned Random(unsigned below) { return static_cast<unsigned>(random() % below); }
  template <typename T>
  size_t Any(const std::vector<T>& items) {
    return Random(static_cast<unsigned>(items.size()));
  }
  unsigned char AnyLevel() { return static_cast<unsigned char>(40 + Random(216)); }
  void Say(const std::string& what) {
    steps.push_back(what);
    if (steps.size() > 8) steps.erase(steps.begin());
    std::snprintf(stepsSoFar, sizeof stepsSoFar, "seed %lu step %lu, after %s", seed, step,
                  testing::PrintToString(steps).c_str());
  }
  void Expect(bool holds, const std::string& what) {
    if (!holds) problems += what + "; ";
  }
  void ExpectEqual(long got, long want, const std::string& what) {
    Expect(got == want, what + " " + std::to_string(got) + ", not " + std::to_string(want));
  }
  bool Current() const { return hasContext && contextWindow; }
  std::string NoContext() const { return Current() ? "" : " with no context current"; }
  HostWindow* Find(SDL_Window* window) {
    for (HostWindow& live : windows)
      if (live.window == window) return &live;
    return nullptr;
  }
  HostWindow* Borderless() {
    for (HostWindow& window : windows)
      if (window.ownFullScreen) return &window;
    return nullptr;
  }
  std::string Name(SDL_Window* window) {
    return (Find(window) ? "window " : "destroyed window ") +
           std::to_string(std::find(made.begin(), made.end(), window) - made.begin());
  }
  Objects& Of(bool texture) { return texture ? textures : shapes; }
  bool Release(bool texture, unsigned long object) {
    return texture ? device->ReleaseTexture(object) : device->ReleaseShape(object);
  }

  void MakeWindow() {
    if (windows.size() == 3) return DestroyWindow();
    const int width = 64 + 32 * static_cast<int>(Random(3)),
              height = 48 + 16 * static_cast<int>(Random(3));
    Say("make a " + std::to_string(width) + "x" + std::to_string(height) + " window");
    SDL_Window* window =
        SDL_CreateWindow("host", 0, 0, width, height, SDL_WINDOW_OPENGL | SDL_WINDOW_RESIZABLE);
    Expect(window != nullptr, std::string("the window is made: ") + SDL_GetError());
    if (!window) return;
    windows.push_back({window, 0, 0});
    made.push_back(window);
  }

  void DestroyWindow() {
    if (windows.empty()) return MakeWindow();
    const auto which = windows.begin() + static_cast<long>(Any(windows));
    SDL_Window* window = which->window;
    Say("destroy " + Name(window));
    SDL_DestroyWindow(window);
    windows.erase(which);
    dead.push_back(window);
    if (contextWindow == window) contextWindow = nullptr;
    if (fullScreen == window) fullScreen = nullptr;
  }

  // Through a live window mostly, one destroyed earlier sometimes; full screen goes through the
  // host's borderless window while it has one.
  void SetMode(bool windowed) {
    SDL_Window* window = windows.empty() || (!dead.empty() && Random(8) == 0)
                             ? (dead.empty() ? nullptr : dead[Any(dead)])
                             : windows[Any(windows)].window;
    if (HostWindow* borderless = Borderless(); borderless && !windowed) window = borderless->window;
    DisplayMode wanted{64u + 32 * Random(3), 48u + 16 * Random(3), 32, true, 60};
    bool valid = Find(window) != nullptr;
    if (!windowed) {
      const bool listedOne = !listed.empty() && Random(3) != 0;
      wanted = listedOne ? listed[Any(listed)]
                         : DisplayMode{desktopMode.width, desktopMode.height, 32, false, 60};
      if (!listedOne && Random(2)) wanted.refreshRate += 1 + Random(20);
      valid = valid && std::find(listed.begin(), listed.end(), wanted) != listed.end();
    }
    std::ostringstream what;
    what << "SetDisplayMode " << wanted << " on " << Name(window);
    Say(what.str());
    const bool done = device->SetDisplayMode(window, wanted, Random(2));
    Expect(done == valid, done ? "it succeeds" : "it fails");
    if (!done) return;
    hasContext = true;
    contextWindow = window;
    fullScreen = windowed ? nullptr : window;
    mode = wanted;
    Find(window)->handlers++;
  }

  void SetWindowed() { SetMode(true); }
  void SetFullScreen() { SetMode(false); }

  // SDL gives a display the mode of each of its full-screen windows in turn, so this host keeps
  // one full screen at most: its own borderless one, or the device's.
  void OwnFullScreen() {
    if (windows.empty()) return MakeWindow();
    if (fullScreen) return Say("leave the device's full screen alone");
    HostWindow* borderless = Borderless();
    HostWindow& window = borderless ? *borderless : windows[Any(windows)];
    window.ownFullScreen ^= SDL_WINDOW_FULLSCREEN_DESKTOP;
    Say(std::string("the host's own borderless full screen ") +
        (window.ownFullScreen ? "on " : "off ") + Name(window.window));
    SDL_SetWindowFullscreen(window.window, window.ownFullScreen);
  }

  void ResizeWindow() {
    if (windows.empty()) return MakeWindow();
    HostWindow& window = windows[Any(windows)];
    if (window.window == fullScreen || window.ownFullScreen) return Say("no window to resize");
    Say("resize " + Name(window.window));
    SDL_SetWindowSize(window.window, 40 + static_cast<int>(Random(100)),
                      40 + static_cast<int>(Random(60)));
  }

  void ReleaseDevice() {
    Say("ReleaseDevice");
    Expect(device->ReleaseDevice(handle), "ReleaseDevice answers true");
    hasContext = false;
    contextWindow = fullScreen = nullptr;
    for (Objects* objects : {&shapes, &textures}) {
      for (const Made& object : objects->live) objects->stale.push_back(object.handle);
      objects->live.clear();
    }
  }

  void NewDevice() {
    ReleaseDevice();
    Say("a new device");
    StartDevice();
    Expect(mode == desktopMode, "a new device starts at the desktop");
  }

  // A strip, a textured quad, a strip of per-vertex colours, or one long enough to need buffers
  // of its own.
  void CreateShape() {
    const Color c(AnyLevel(), AnyLevel(), AnyLevel()), each[] = {c, c, c, c};
    const unsigned kind = Random(8) == 0 ? 3 : Random(3);
    Say("CreateShape of kind " + std::to_string(kind) + NoContext());
    unsigned long shape = 0x5eed;
    const bool made =
        kind == 0   ? device->CreateShape(shape, SHAPE_TRIANGLE_STRIP, 4, c, 1.0f, kStrip, nullptr)
        : kind == 1 ? device->CreateShape(shape, SHAPE_TRIANGLES, 6, c, 1.0f, kQuad, kQuadTexcoords)
        : kind == 2 ? device->CreateShape(shape, SHAPE_TRIANGLE_STRIP, 4, each, 1.0f, kStrip)
                    : device->CreateShape(shape, SHAPE_TRIANGLE_STRIP, kLong.size(), c, 1.0f,
                                          kLong.data(), nullptr);
    Expect(made == Current(), made ? "it is made" : "it is refused");
    if (made) shapes.live.push_back({shape, Image::Uniform({c.r, c.g, c.b, 255})});
    if (!made) Expect(shape == 0x5eed, "a refused shape leaves the handle alone");
  }

  // Blocks of one colour: RGBA, grey, grey glyphs, RGBA glyphs (square, since their rows are laid
  // out by height), then files, plain and colour-keyed.
  void CreateTexture() {
    const unsigned kind = Random(6), width = 1 + Random(5),
                   height = kind == 3 ? width : 1 + Random(5);
    const unsigned char r = AnyLevel(), g = AnyLevel(), b = AnyLevel();
    std::vector<unsigned char> rgba, grey(width * height, g);
    for (unsigned i = 0; i < width * height; ++i) rgba.insert(rgba.end(), {r, g, b, 255});
    const size_t file = Any(files);
    const std::string path = std::string(KELO_TEST_IMAGES) + "/" + kFiles[file];
    Say("CreateTexture of kind " + std::to_string(kind) + (kind > 3 ? " " + path : "") +
        NoContext());
    unsigned long texture = 0;
    const bool made =
        kind == 0   ? device->CreateTexture(texture, IMAGE_RGBA8888, rgba.data(), width, height)
        : kind == 1 ? device->CreateTexture(texture, IMAGE_L8, grey.data(), width, height)
        : kind == 2 ? device->CreateFontTexture(texture, IMAGE_L8, grey.data(), width, height)
        : kind == 3 ? device->CreateFontTexture(texture, IMAGE_RGBA8888, rgba.data(), width, height)
        : kind == 4 ? device->CreateTexture(texture, path.c_str())
                    : device->CreateTexture(texture, path.c_str(), Color(255, 0, 255));
    const Rgba uniform[] = {{r, g, b, 255}, {g, g, g, 255}, {255, 255, 255, g}, {r, r, r, r}};
    const std::optional<Image> image =
        kind > 3 ? files[file]
                 : Image::Uniform(uniform[kind], static_cast<int>(width), static_cast<int>(height));
    Expect(texture != 0, "the handle is set");
    Expect(made == (Current() && image), made ? "it is made" : "it is refused");
    if (made) textures.live.push_back({texture, *image});
    if (!made) textures.stale.push_back(texture);
  }

  // A live object mostly, a handle kept past its context sometimes.
  void ReleaseOne(bool texture) {
    Objects& objects = Of(texture);
    const bool staleOne = objects.live.empty() || (!objects.stale.empty() && Random(3) == 0);
    Say(std::string(texture ? "ReleaseTexture" : "ReleaseShape") +
        (staleOne ? " of a handle kept past its context" : ""));
    if (staleOne && objects.stale.empty()) return;
    const auto which = static_cast<long>(staleOne ? Any(objects.stale) : Any(objects.live));
    const unsigned long object = staleOne ? objects.stale[which] : objects.live[which].handle;
    Expect(Release(texture, object), "it answers true");
    if (staleOne) objects.stale.erase(objects.stale.begin() + which);
    if (!staleOne) objects.live.erase(objects.live.begin() + which);
  }

  void ReleaseShape() { ReleaseOne(false); }
  void ReleaseTexture() { ReleaseOne(true); }

  // A frame a host draws: a clip by a shape, then whatever the host likes inside the batch.
  void Frame() {
    Say("a frame clipped by a shape");
    if (!Current() || shapes.live.empty()) return;
    PlaceInCorner();
    const Color fill(AnyLevel(), AnyLevel(), AnyLevel());
    device->Clear(BLACK);
    device->BeginShapeBatch();
    device->SetColor(WHITE, 1.0f);
    device->SelectShape(shapes.live[Any(shapes.live)].handle);
    device->ClipShape();
    device->SetColor(fill, 1.0f);
    device->DrawShape(SHAPE_TRIANGLE_STRIP, 4, kWideQuad, nullptr);
    Expect(Image::Uniform({fill.r, fill.g, fill.b, 255}).Shows(Support::ReadPixel(kProbe, kProbe)),
           "the clip shape lets drawing through");
    Expect(kBlack.Shows(Support::ReadPixel(kOutside, kProbe)),
           "drawing outside the clip shape is held back");
    if (!textures.live.empty()) {
      device->BeginTextureBatch(textures.live[Any(textures.live)].handle);
      device->SelectShape(shapes.live[Any(shapes.live)].handle);
      device->DrawShape();
      device->EndTextureBatch();
    }
    device->EndShapeBatch();
    device->EndRender();
  }

  void PlaceInCorner() {
    const float width = static_cast<float>(mode.width), height = static_cast<float>(mode.height);
    device->SetViewport({0, 0, static_cast<int>(width), static_cast<int>(height)});
    device->SetCamera(width, height);
    device->SetWorldTransform({{1, 0, -width / 2, 0, 1, -height / 2}});
  }

  void ExpectDrawn(bool texture, unsigned long object, const Image& image) {
    device->Clear(BLACK);
    device->SetColor(WHITE, 1.0f);
    if (texture) {
      device->BeginTextureBatch(object);
      device->DrawShape(SHAPE_TRIANGLES, 6, kQuad, kQuadTexcoords);
      device->EndTextureBatch();
    } else {
      device->SelectShape(object);
      device->DrawShape();
    }
    const Rgba got = Support::ReadPixel(kProbe, kProbe);
    Expect(image.Shows(got), std::string(texture ? "a texture" : "a shape") + " draws " +
                                 testing::PrintToString(std::vector<int>{got.r, got.g, got.b}));
  }

  void CheckWhatTheHostSees() {
    DisplayMode now{};
    device->GetDisplayMode(now);
    Expect(now == mode, "GetDisplayMode answers the mode last set");
    const bool current = SDL_GL_GetCurrentContext() != nullptr;
    Expect(current == Current() && device->IsReady() == current,
           current ? "a context is current" : "no context is current");
    // SDL tells nothing of a destroyed window: its handlers go by the next event, as a host's
    // frame always has.
    SDL_Event event{};
    event.type = SDL_USEREVENT;
    SDL_PushEvent(&event);
    SDL_FlushEvent(SDL_USEREVENT);
    long handlers = 0;
    for (const HostWindow& window : windows) {
      handlers += window.handlers;
      ExpectEqual(
          SDL_GetWindowFlags(window.window) & SDL_WINDOW_FULLSCREEN_DESKTOP,
          window.window == fullScreen ? Uint32{SDL_WINDOW_FULLSCREEN} : window.ownFullScreen,
          Name(window.window) + " has full-screen flags");
    }
    const auto& sdl = static_cast<const SdlPlatform&>(CurrentPlatform());
    ExpectEqual(static_cast<long>(sdl.ContextCount()), hasContext, "device contexts:");
    ExpectEqual(static_cast<long>(sdl.WindowEventHandlerCount()), handlers, "window handlers:");
    SDL_DisplayMode display{};
    SDL_GetCurrentDisplayMode(0, &display);
    ExpectEqual(display.w, fullScreen ? mode.width : desktop.w, "the display's width is");
    ExpectEqual(display.h, fullScreen ? mode.height : desktop.h, "the display's height is");
    // A few of the live objects a step, and a stale shape, which draws nothing.
    if (!Current()) return;
    Expect(glGetError() == GL_NO_ERROR, "no GL error is pending");
    PlaceInCorner();
    for (int i = 0; i < 2 && !shapes.live.empty(); ++i) {
      const Made& shape = shapes.live[Any(shapes.live)];
      ExpectDrawn(false, shape.handle, shape.image);
    }
    if (!textures.live.empty()) {
      const Made& texture = textures.live[Any(textures.live)];
      ExpectDrawn(true, texture.handle, texture.image);
      Expect(device->GetWidthTexture(texture.handle) == texture.image.width &&
                 device->GetHeightTexture(texture.handle) == texture.image.height,
             "a texture keeps its size");
    }
    if (!shapes.stale.empty()) ExpectDrawn(false, shapes.stale[Any(shapes.stale)], kBlack);
    Expect(glGetError() == GL_NO_ERROR, "drawing raises no GL error");
  }

  // Steps are drawn by weight from what the interface allows, in any order.
  void Run(unsigned long count) {
    // clang-format off
    const std::pair<unsigned, void (RandomHost::*)()> kinds[] = {
        {4, &RandomHost::MakeWindow}, {2, &RandomHost::DestroyWindow},
        {10, &RandomHost::SetWindowed}, {4, &RandomHost::SetFullScreen},
        {1, &RandomHost::OwnFullScreen}, {1, &RandomHost::ResizeWindow},
        {1, &RandomHost::ReleaseDevice}, {1, &RandomHost::NewDevice},
        {8, &RandomHost::CreateShape}, {4, &RandomHost::ReleaseShape},
        {8, &RandomHost::CreateTexture}, {4, &RandomHost::ReleaseTexture},
        {5, &RandomHost::Frame}};
    // clang-format on
    unsigned total = 0;
    for (const auto& kind : kinds) total += kind.first;
    for (step = 0; step < count; ++step) {
      unsigned pick = Random(total);
      const auto* kind = kinds;
      while (pick >= kind->first) pick -= (kind++)->first;
      problems.clear();
      (this->*kind->second)();
      CheckWhatTheHostSees();
      ASSERT_TRUE(problems.empty())
          << problems << "\n"
          << stepsSoFar << "\nlogged: " << testing::PrintToString(log.Lines())
          << "\nreplay with KELO_RANDOM_HOST_SEED=" << seed
          << " KELO_RANDOM_HOST_STEPS=" << step + 1;
      log.Clear();
    }
  }

  std::mt19937 random;
  unsigned long seed = 0, step = 0;
  std::string problems;
  std::vector<std::string> steps;  // the last few, for the report
  std::unique_ptr<IOpenGL> device;
  DeviceDescription display{};
  unsigned long handle = 0;
  SDL_DisplayMode desktop{};
  DisplayMode desktopMode{};
  std::vector<DisplayMode> listed;
  std::vector<std::optional<Image>> files;
  Support::LogCapture log;
  std::vector<HostWindow> windows;
  std::vector<SDL_Window*> dead, made;  // made: every window so far, to name them
  bool hasContext = false;
  SDL_Window* contextWindow = nullptr;  // null also once that window is gone
  SDL_Window* fullScreen = nullptr;     // the window the device took full screen
  DisplayMode mode{};
  Objects shapes, textures;
};

// A failure names the seed and the step; KELO_RANDOM_HOST_SEED and KELO_RANDOM_HOST_STEPS replay
// it.
TEST_F(RandomHost, SeesWhatItsModelExpectsAfterEveryStep) {
  seed = FromEnvironment("KELO_RANDOM_HOST_SEED", 1);
  random.seed(static_cast<std::mt19937::result_type>(seed));
  Run(FromEnvironment("KELO_RANDOM_HOST_STEPS", 1000));
}

}  // namespace
}  // namespace Kelo
