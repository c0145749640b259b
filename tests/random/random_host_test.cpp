#include <GL/gl.h>
#include <SDL.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <map>
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

Rgba Opaque(Color c) { return {c.r, c.g, c.b, 255}; }

// Everything a check draws covers world [0, 9] x [0, 9], the window's bottom-left corner, and is
// probed at pixel (3, 3); the clip check also looks at pixel (13, 3), outside it.
constexpr int kProbe = 3, kOutside = 13;
const Point kStrip[] = {{0, 0}, {9, 0}, {0, 9}, {9, 9}};
const Point kQuad[] = {{0, 0}, {9, 0}, {0, 9}, {9, 0}, {9, 9}, {0, 9}};
const Point kQuadTexcoords[] = {{0, 0}, {1, 0}, {0, 1}, {1, 0}, {1, 1}, {0, 1}};
// The strip's corners over and over: a third of a storage buffer, so that shapes soon spread over
// several buffers.
const std::vector<Point> kLong = [] {
  std::vector<Point> points(30000);
  for (size_t i = 0; i < points.size(); ++i) points[i] = kStrip[i % 4];
  return points;
}();
const Point kWideQuad[] = {{0, 0}, {18, 0}, {0, 9}, {18, 9}};
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

// A crash ends the run before the test can report: the step under way is printed on the way out.
char stepUnderway[2048];
void SayStepUnderway() { std::fprintf(stderr, "\nthe random host stopped in %s\n", stepUnderway); }
void SayStepAndDie(int signal) {
  SayStepUnderway();
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
    const int x = kProbe * 2 + 1, y = x;
    for (int row = y * height / 18 - 1; row <= y * height / 18 + 1; ++row) {
      for (int column = x * width / 18 - 1; column <= x * width / 18 + 1; ++column) {
        if (row < 0 || column < 0 || row >= height || column >= width) continue;
        const Rgba want = texels[static_cast<size_t>(row) * width + column];
        if (std::abs(want.r - got.r) + std::abs(want.g - got.g) + std::abs(want.b - got.b) <= 3)
          return true;
      }
    }
    return false;
  }
};

struct Made {
  unsigned long handle;
  Image image;
};

struct HostWindow {
  SDL_Window* window;
  Uint32 ownFullScreen;  // the host's own SDL_WINDOW_FULLSCREEN_DESKTOP, or 0
  int handlers;          // successful SetDisplayMode calls through it by this device
};

// What the host may expect of the device after each step.
struct Model {
  std::vector<HostWindow> windows;
  std::vector<SDL_Window*> dead;
  bool hasContext = false;
  SDL_Window* contextWindow = nullptr;  // null also once that window is gone
  SDL_Window* fullScreen = nullptr;     // the window the device took full screen
  DisplayMode mode{};
  // Objects die with the device's context; handles kept past it can only be released.
  std::vector<Made> shapes, textures;
  std::vector<unsigned long> staleShapes, staleTextures;

  bool Current() const { return hasContext && contextWindow; }
  HostWindow* Find(SDL_Window* window) {
    for (HostWindow& live : windows)
      if (live.window == window) return &live;
    return nullptr;
  }
};

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
    desktopMode = model.mode;
    ASSERT_TRUE(device->EnumerateDisplayModes(display, Support::CollectInto<DisplayMode>, &listed));
    for (const char* file : kFiles) files.push_back(Decoded(file));
#if defined(__SANITIZE_ADDRESS__)
    __sanitizer_set_death_callback(SayStepUnderway);
#endif
    for (int signal : {SIGSEGV, SIGFPE, SIGABRT, SIGBUS}) std::signal(signal, SayStepAndDie);
  }
  void TearDown() override {
    device->ReleaseDevice(handle);
    for (const Made& shape : model.shapes) device->ReleaseShape(shape.handle);
    for (unsigned long shape : model.staleShapes) device->ReleaseShape(shape);
    for (const Made& texture : model.textures) device->ReleaseTexture(texture.handle);
    for (unsigned long texture : model.staleTextures) device->ReleaseTexture(texture);
    device.reset();
    for (const HostWindow& window : model.windows) SDL_DestroyWindow(window.window);
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
    device->GetDisplayMode(model.mode);
    for (HostWindow& window : model.windows) window.handlers = 0;
  }

  unsigned Random(unsigned below) { return static_cast<unsigned>(random() % below); }
  template <typename T>
  size_t Any(const std::vector<T>& items) {
    return Random(static_cast<unsigned>(items.size()));
  }
  Color AnyColour() {
    const auto any = [&] { return static_cast<unsigned char>(40 + Random(216)); };
    return Color(any(), any(), any());
  }
  void Say(const std::string& what) {
    this->what = what;
    earlier.push_back(what);
    if (earlier.size() > 8) earlier.erase(earlier.begin());
    std::snprintf(stepUnderway, sizeof stepUnderway, "seed %lu step %lu: %s\nafter: %s", seed, step,
                  what.c_str(), testing::PrintToString(earlier).c_str());
  }
  std::string NoContext() const { return model.Current() ? "" : " with no context current"; }
  void Expect(bool holds, const std::string& what) {
    if (!holds) problems += what + "; ";
  }

  // A live window mostly, one destroyed earlier sometimes.
  SDL_Window* AnyWindow() {
    if (model.windows.empty() || (!model.dead.empty() && Random(8) == 0))
      return model.dead.empty() ? nullptr : model.dead[Any(model.dead)];
    return model.windows[Any(model.windows)].window;
  }

  HostWindow* Borderless() {
    for (HostWindow& window : model.windows)
      if (window.ownFullScreen) return &window;
    return nullptr;
  }

  std::string Name(SDL_Window* window) {
    const auto id = names.try_emplace(window, SDL_GetWindowID(window)).first->second;
    return "window " + std::to_string(id);
  }

  void MakeWindow() {
    if (model.windows.size() == 3) return DestroyWindow();
    const int width = 64 + 32 * static_cast<int>(Random(3)),
              height = 48 + 16 * static_cast<int>(Random(3));
    Say("make a " + std::to_string(width) + "x" + std::to_string(height) + " window");
    SDL_Window* window =
        SDL_CreateWindow("host", 0, 0, width, height, SDL_WINDOW_OPENGL | SDL_WINDOW_RESIZABLE);
    Expect(window != nullptr, std::string("the window is made: ") + SDL_GetError());
    if (!window) return;
    names[window] = SDL_GetWindowID(window);
    model.windows.push_back({window, 0, 0});
  }

  void DestroyWindow() {
    if (model.windows.empty()) return MakeWindow();
    const size_t which = Any(model.windows);
    SDL_Window* window = model.windows[which].window;
    Say("destroy " + Name(window));
    SDL_DestroyWindow(window);
    model.windows.erase(model.windows.begin() + static_cast<long>(which));
    model.dead.push_back(window);
    if (model.contextWindow == window) model.contextWindow = nullptr;
    if (model.fullScreen == window) model.fullScreen = nullptr;
  }

  void SetMode(bool windowed) {
    SDL_Window* window = AnyWindow();
    DisplayMode mode{64u + 32 * Random(3), 48u + 16 * Random(3), 32, true, 60};
    if (HostWindow* borderless = Borderless(); borderless && !windowed) window = borderless->window;
    bool valid = model.Find(window) != nullptr;
    if (!windowed) {
      const bool listedOne = !listed.empty() && Random(3) != 0;
      mode = listedOne ? listed[Any(listed)]
                       : DisplayMode{desktopMode.width, desktopMode.height, 32, false, 60};
      if (!listedOne && Random(2)) mode.refreshRate += 1 + Random(20);
      valid = valid && std::find(listed.begin(), listed.end(), mode) != listed.end();
    }
    std::ostringstream what;
    what << "SetDisplayMode " << mode << " on " << (model.Find(window) ? "" : "destroyed ")
         << Name(window);
    Say(what.str());
    const bool done = device->SetDisplayMode(window, mode, Random(2));
    Expect(done == valid, done ? "it succeeds" : "it fails");
    if (!done) return;
    model.hasContext = true;
    model.contextWindow = window;
    model.fullScreen = windowed ? nullptr : window;
    model.mode = mode;
    model.Find(window)->handlers++;
  }

  // SDL gives a display the mode of each of its full-screen windows in turn, so this host keeps
  // one full screen at most: its own borderless one, or the device's.
  void OwnFullScreen() {
    if (model.windows.empty()) return MakeWindow();
    if (model.fullScreen) return Say("leave the device's full screen alone");
    HostWindow* borderless = Borderless();
    HostWindow& window = borderless ? *borderless : model.windows[Any(model.windows)];
    window.ownFullScreen ^= SDL_WINDOW_FULLSCREEN_DESKTOP;
    Say(std::string("the host's own borderless full screen ") +
        (window.ownFullScreen ? "on " : "off ") + Name(window.window));
    SDL_SetWindowFullscreen(window.window, window.ownFullScreen);
  }

  void ResizeWindow() {
    if (model.windows.empty()) return MakeWindow();
    HostWindow& window = model.windows[Any(model.windows)];
    if (window.window == model.fullScreen || window.ownFullScreen)
      return Say("no window to resize");
    Say("resize " + Name(window.window));
    SDL_SetWindowSize(window.window, 40 + static_cast<int>(Random(100)),
                      40 + static_cast<int>(Random(60)));
  }

  void ReleaseDevice() {
    Say("ReleaseDevice");
    Expect(device->ReleaseDevice(handle), "ReleaseDevice answers true");
    model.hasContext = false;
    model.contextWindow = model.fullScreen = nullptr;
    for (const Made& shape : model.shapes) model.staleShapes.push_back(shape.handle);
    for (const Made& texture : model.textures) model.staleTextures.push_back(texture.handle);
    model.shapes.clear();
    model.textures.clear();
  }

  void NewDevice() {
    ReleaseDevice();
    Say("ReleaseDevice, then a new device");
    StartDevice();
    Expect(model.mode == desktopMode, "a new device starts at the desktop");
  }

  void CreateShape() {
    const Color c = AnyColour(), each[] = {c, c, c, c};
    const unsigned kind = Random(8) == 0 ? 3 : Random(3);
    Say("CreateShape of kind " + std::to_string(kind) + NoContext());
    unsigned long shape = 0x5eed;
    const bool made =
        kind == 0   ? device->CreateShape(shape, SHAPE_TRIANGLE_STRIP, 4, c, 1.0f, kStrip, nullptr)
        : kind == 1 ? device->CreateShape(shape, SHAPE_TRIANGLES, 6, c, 1.0f, kQuad, kQuadTexcoords)
        : kind == 2 ? device->CreateShape(shape, SHAPE_TRIANGLE_STRIP, 4, each, 1.0f, kStrip)
                    : device->CreateShape(shape, SHAPE_TRIANGLE_STRIP, kLong.size(), c, 1.0f,
                                          kLong.data(), nullptr);
    // Storage comes with the first SetDisplayMode; with it but no context either answer will do,
    // as long as a shape said to be made draws.
    const bool storage = model.hasContext;
    if (!storage || model.Current()) Expect(made == storage, made ? "it is made" : "it is refused");
    if (made) model.shapes.push_back({shape, Image::Uniform(Opaque(c))});
    if (!made) Expect(shape == 0x5eed, "a refused shape leaves the handle alone");
  }

  // Blocks of one colour: RGBA, grey, grey glyphs, RGBA glyphs (square, since their rows are laid
  // out by height), then files, plain and colour-keyed.
  void CreateTexture() {
    const unsigned kind = Random(6);
    const Color c = AnyColour();
    const unsigned width = 1 + Random(5), height = kind == 3 ? width : 1 + Random(5);
    std::vector<unsigned char> rgba, grey(width * height, c.g);
    for (unsigned i = 0; i < width * height; ++i) rgba.insert(rgba.end(), {c.r, c.g, c.b, 255});
    const size_t file = Any(files);
    const std::string path = std::string(KELO_TEST_IMAGES) + "/" + kFiles[file];
    Say("CreateTexture of kind " + std::to_string(kind) + (kind > 3 ? " " + path : "") +
        NoContext());
    unsigned long texture = 0;
    bool made = false;
    std::optional<Image> image = files[file];
    if (kind == 0)
      made = device->CreateTexture(texture, IMAGE_RGBA8888, rgba.data(), width, height);
    if (kind == 1) made = device->CreateTexture(texture, IMAGE_L8, grey.data(), width, height);
    if (kind == 2) made = device->CreateFontTexture(texture, IMAGE_L8, grey.data(), width, height);
    if (kind == 3)
      made = device->CreateFontTexture(texture, IMAGE_RGBA8888, rgba.data(), width, height);
    if (kind == 4) made = device->CreateTexture(texture, path.c_str());
    if (kind == 5) made = device->CreateTexture(texture, path.c_str(), Color(255, 0, 255));
    const Rgba expected[] = {
        Opaque(c), {c.g, c.g, c.g, 255}, {255, 255, 255, c.g}, {c.r, c.r, c.r, c.r}};
    if (kind < 4)
      image = Image::Uniform(expected[kind], static_cast<int>(width), static_cast<int>(height));
    Expect(texture != 0, "the handle is set");
    Expect(made == (model.Current() && image), made ? "it is made" : "it is refused");
    if (made) model.textures.push_back({texture, *image});
    if (!made) model.staleTextures.push_back(texture);
  }

  template <typename Release>
  void ReleaseOne(std::vector<Made>& live, std::vector<unsigned long>& stale, const char* what,
                  Release release) {
    const bool staleOne = live.empty() || (!stale.empty() && Random(3) == 0);
    Say(std::string(what) + (staleOne ? " of a handle kept past its context" : ""));
    if (staleOne && stale.empty()) return;
    const size_t which = staleOne ? Any(stale) : Any(live);
    Expect(release(staleOne ? stale[which] : live[which].handle), "it answers true");
    if (staleOne)
      stale.erase(stale.begin() + static_cast<long>(which));
    else
      live.erase(live.begin() + static_cast<long>(which));
  }

  // A frame a host draws: a clip by a shape, then whatever the host likes inside the batch.
  void Frame() {
    Say("a frame clipped by a shape");
    if (!model.Current() || model.shapes.empty()) return;
    PlaceInCorner();
    const Color fill = AnyColour();
    device->Clear(BLACK);
    device->BeginShapeBatch();
    device->SetColor(WHITE, 1.0f);
    device->SelectShape(model.shapes[Any(model.shapes)].handle);
    device->ClipShape();
    device->SetColor(fill, 1.0f);
    device->DrawShape(SHAPE_TRIANGLE_STRIP, 4, kWideQuad, nullptr);
    Expect(Image::Uniform(Opaque(fill)).Shows(Support::ReadPixel(kProbe, kProbe)),
           "the clip shape lets drawing through");
    Expect(Image::Uniform({0, 0, 0, 255}).Shows(Support::ReadPixel(kOutside, kProbe)),
           "drawing outside the clip shape is held back");
    if (!model.textures.empty()) {
      device->BeginTextureBatch(model.textures[Any(model.textures)].handle);
      device->SelectShape(model.shapes[Any(model.shapes)].handle);
      device->DrawShape();
      device->EndTextureBatch();
    }
    device->EndShapeBatch();
    device->EndRender();
  }

  void PlaceInCorner() {
    const float width = static_cast<float>(model.mode.width),
                height = static_cast<float>(model.mode.height);
    device->SetViewport({0, 0, static_cast<int>(width), static_cast<int>(height)});
    device->SetCamera(width, height);
    device->SetWorldTransform({{1, 0, -width / 2, 0, 1, -height / 2}});
  }

  void ExpectDrawn(const Made& made, bool texture) {
    device->Clear(BLACK);
    device->SetColor(WHITE, 1.0f);
    if (texture) {
      device->BeginTextureBatch(made.handle);
      device->DrawShape(SHAPE_TRIANGLES, 6, kQuad, kQuadTexcoords);
      device->EndTextureBatch();
    } else {
      device->SelectShape(made.handle);
      device->DrawShape();
    }
    const Rgba got = Support::ReadPixel(kProbe, kProbe);
    std::ostringstream out;
    out << (texture ? "a texture" : "a shape") << " draws (" << got.r << ", " << got.g << ", "
        << got.b << ")";
    Expect(made.image.Shows(got), out.str());
  }

  void CheckDeviceAndDisplay() {
    DisplayMode mode{};
    device->GetDisplayMode(mode);
    Expect(mode == model.mode, "GetDisplayMode answers the mode last set");
    const bool current = SDL_GL_GetCurrentContext() != nullptr;
    Expect(current == model.Current() && device->IsReady() == current,
           current ? "a context is current" : "no context is current");
    // SDL tells nothing of a destroyed window: its handlers go by the next event, as a host's
    // frame always has.
    SDL_Event event{};
    event.type = SDL_USEREVENT;
    SDL_PushEvent(&event);
    SDL_FlushEvent(SDL_USEREVENT);
    const auto& sdl = static_cast<const SdlPlatform&>(CurrentPlatform());
    size_t handlers = 0;
    for (const HostWindow& window : model.windows) handlers += static_cast<size_t>(window.handlers);
    Expect(sdl.ContextCount() == (model.hasContext ? 1u : 0u),
           std::to_string(sdl.ContextCount()) + " contexts of the device's");
    Expect(sdl.WindowEventHandlerCount() == handlers,
           std::to_string(sdl.WindowEventHandlerCount()) + " window-event handlers");
    for (const HostWindow& window : model.windows) {
      const Uint32 want =
          window.window == model.fullScreen ? Uint32{SDL_WINDOW_FULLSCREEN} : window.ownFullScreen;
      const Uint32 got = SDL_GetWindowFlags(window.window) & SDL_WINDOW_FULLSCREEN_DESKTOP;
      Expect(got == want, Name(window.window) + " has full-screen flags " + std::to_string(got) +
                              ", not " + std::to_string(want));
    }
    SDL_DisplayMode now{};
    SDL_GetCurrentDisplayMode(0, &now);
    const bool full = model.fullScreen != nullptr;
    Expect(now.w == (full ? static_cast<int>(model.mode.width) : desktop.w) &&
               now.h == (full ? static_cast<int>(model.mode.height) : desktop.h),
           "the display is at " + std::to_string(now.w) + "x" + std::to_string(now.h));
  }

  // A few of the live objects a step, and a stale shape, which draws nothing.
  void CheckWhatTheHostSees() {
    CheckDeviceAndDisplay();
    if (!model.Current()) return;
    Expect(glGetError() == GL_NO_ERROR, "no GL error is pending");
    PlaceInCorner();
    for (int i = 0; i < 2 && !model.shapes.empty(); ++i)
      ExpectDrawn(model.shapes[Any(model.shapes)], false);
    if (!model.textures.empty()) {
      const Made& texture = model.textures[Any(model.textures)];
      ExpectDrawn(texture, true);
      Expect(device->GetWidthTexture(texture.handle) == texture.image.width &&
                 device->GetHeightTexture(texture.handle) == texture.image.height,
             "a texture keeps its size");
    }
    if (!model.staleShapes.empty()) {
      ExpectDrawn({model.staleShapes[Any(model.staleShapes)], Image::Uniform({0, 0, 0, 255})},
                  false);
    }
    Expect(glGetError() == GL_NO_ERROR, "drawing raises no GL error");
  }

  void SetWindowed() { SetMode(true); }
  void SetFullScreen() { SetMode(false); }
  void ReleaseShape() {
    ReleaseOne(model.shapes, model.staleShapes, "ReleaseShape",
               [&](unsigned long shape) { return device->ReleaseShape(shape); });
  }
  void ReleaseTexture() {
    ReleaseOne(model.textures, model.staleTextures, "ReleaseTexture",
               [&](unsigned long texture) { return device->ReleaseTexture(texture); });
  }

  // Steps are drawn by weight from what the interface allows, in any order.
  void Run(unsigned long steps) {
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
    for (step = 0; step < steps; ++step) {
      unsigned pick = Random(total);
      const auto* kind = kinds;
      while (pick >= kind->first) pick -= (kind++)->first;
      problems.clear();
      (this->*kind->second)();
      CheckWhatTheHostSees();
      std::string logged;
      for (const std::string& line : log.Lines()) logged += line;
      log.Clear();
      ASSERT_TRUE(problems.empty())
          << "seed " << seed << " step " << step << " (" << what << "): " << problems
          << "\nlogged: " << logged << "\nafter: " << testing::PrintToString(earlier)
          << "\nreplay with KELO_RANDOM_HOST_SEED=" << seed
          << " KELO_RANDOM_HOST_STEPS=" << step + 1;
    }
  }

  std::mt19937 random;
  unsigned long seed = 0, step = 0;
  std::string what, problems;
  std::map<SDL_Window*, Uint32> names;
  std::vector<std::string> earlier;  // the last few steps, for the report
  std::unique_ptr<IOpenGL> device;
  DeviceDescription display{};
  unsigned long handle = 0;
  SDL_DisplayMode desktop{};
  DisplayMode desktopMode{};
  std::vector<DisplayMode> listed;
  std::vector<std::optional<Image>> files;
  Model model;
  Support::LogCapture log;
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
