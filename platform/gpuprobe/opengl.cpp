// SPDX-License-Identifier: MIT
#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <dlfcn.h>

#include <initializer_list>

#include "platform/gpuprobe/probe.h"

namespace {

constexpr unsigned int kGlVendor = 0x1F00;
constexpr unsigned int kGlRenderer = 0x1F01;
constexpr unsigned int kGlVersion = 0x1F02;

PFNEGLGETPROCADDRESSPROC getProcAddress = nullptr;

/// A function of EGL or OpenGL by the type that it has; null when there is none.
template <typename Function>
Function Get(const char* name) {
  return reinterpret_cast<Function>(getProcAddress(name));
}

bool LoadEgl() {
  void* const library = dlopen("libEGL.so.1", RTLD_NOW);
  if (library == nullptr) return false;
  getProcAddress = reinterpret_cast<PFNEGLGETPROCADDRESSPROC>(dlsym(library, "eglGetProcAddress"));
  return getProcAddress != nullptr;
}

EGLDisplay Initialized(EGLDisplay display) {
  const auto initialize = Get<PFNEGLINITIALIZEPROC>("eglInitialize");
  const bool isReady =
      display != EGL_NO_DISPLAY && initialize != nullptr && initialize(display, nullptr, nullptr);
  return isReady ? display : EGL_NO_DISPLAY;
}

/// A display without a window system: of no device in particular, of the first one, or whatever EGL
/// has for everybody.
EGLDisplay OpenDisplay() {
  const auto getPlatformDisplay = Get<PFNEGLGETPLATFORMDISPLAYEXTPROC>("eglGetPlatformDisplayEXT");
  const auto queryDevices = Get<PFNEGLQUERYDEVICESEXTPROC>("eglQueryDevicesEXT");
  const auto getDisplay = Get<PFNEGLGETDISPLAYPROC>("eglGetDisplay");
  EGLDisplay display = EGL_NO_DISPLAY;
  EGLDeviceEXT device = EGL_NO_DEVICE_EXT;
  EGLint count = 0;
  if (getPlatformDisplay != nullptr)
    display = Initialized(getPlatformDisplay(EGL_PLATFORM_SURFACELESS_MESA, nullptr, nullptr));
  const bool hasDevice = display == EGL_NO_DISPLAY && getPlatformDisplay != nullptr &&
                         queryDevices != nullptr && queryDevices(1, &device, &count) && count > 0;
  if (hasDevice)
    display = Initialized(getPlatformDisplay(EGL_PLATFORM_DEVICE_EXT, device, nullptr));
  if (display == EGL_NO_DISPLAY && getDisplay != nullptr)
    display = Initialized(getDisplay(EGL_DEFAULT_DISPLAY));
  return display;
}

struct Interface {
  EGLenum name;
  EGLint renderable;
};

/// Makes a context the current one. It gets the smallest of surfaces, which every implementation
/// knows, where one without a surface is an extension.
bool MakeCurrent(EGLDisplay display, const Interface& interface) {
  const auto bind = Get<PFNEGLBINDAPIPROC>("eglBindAPI");
  const auto choose = Get<PFNEGLCHOOSECONFIGPROC>("eglChooseConfig");
  const auto createContext = Get<PFNEGLCREATECONTEXTPROC>("eglCreateContext");
  const auto createSurface = Get<PFNEGLCREATEPBUFFERSURFACEPROC>("eglCreatePbufferSurface");
  const auto makeCurrent = Get<PFNEGLMAKECURRENTPROC>("eglMakeCurrent");
  if (!bind || !choose || !createContext || !createSurface || !makeCurrent) return false;
  const EGLint wanted[] = {EGL_SURFACE_TYPE, EGL_PBUFFER_BIT, EGL_RENDERABLE_TYPE,
                           interface.renderable, EGL_NONE};
  const EGLint size[] = {EGL_WIDTH, 1, EGL_HEIGHT, 1, EGL_NONE};
  const EGLint versionOfEs[] = {EGL_CONTEXT_CLIENT_VERSION, 2, EGL_NONE};
  const bool isEs = interface.name == EGL_OPENGL_ES_API;
  EGLConfig config = nullptr;
  EGLint count = 0;
  if (!bind(interface.name) || !choose(display, wanted, &config, 1, &count) || count == 0)
    return false;
  EGLContext context = createContext(display, config, EGL_NO_CONTEXT, isEs ? versionOfEs : nullptr);
  EGLSurface surface = createSurface(display, config, size);
  return context != EGL_NO_CONTEXT && makeCurrent(display, surface, surface, context);
}

}  // namespace

void AskOpenGL(std::FILE* answer) {
  if (!LoadEgl()) return;
  EGLDisplay display = OpenDisplay();
  if (display == EGL_NO_DISPLAY) return;
  constexpr Interface kInterfaces[] = {{EGL_OPENGL_API, EGL_OPENGL_BIT},
                                       {EGL_OPENGL_ES_API, EGL_OPENGL_ES2_BIT}};
  for (const Interface& interface : kInterfaces) {
    if (!MakeCurrent(display, interface)) continue;
    using GetString = const unsigned char* (*)(unsigned int);
    const auto getString = Get<GetString>("glGetString");
    if (getString == nullptr) return;
    for (const unsigned int name : {kGlVendor, kGlRenderer, kGlVersion}) {
      const auto* const text = reinterpret_cast<const char*>(getString(name));
      WriteField(answer, text == nullptr ? "" : text, name == kGlVersion ? '\n' : '\t');
    }
    return;
  }
}
