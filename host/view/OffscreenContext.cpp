#include "view/OffscreenContext.h"

#include "common/HostError.h"

#include <EGL/egl.h>
#include <EGL/eglext.h>

#include <cstring>
#include <string>

namespace mvgeo::host
{
/** Ends what was begun, in reverse order, wherever the constructor stopped. */
struct OffscreenContext::Handles
{
    EGLDisplay display = EGL_NO_DISPLAY;
    EGLSurface surface = EGL_NO_SURFACE;
    EGLContext context = EGL_NO_CONTEXT;

    ~Handles()
    {
        if (display == EGL_NO_DISPLAY) return;
        eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
        if (context != EGL_NO_CONTEXT) eglDestroyContext(display, context);
        if (surface != EGL_NO_SURFACE) eglDestroySurface(display, surface);
        eglTerminate(display);
    }
};

namespace
{
bool clientHas(const char* extension)
{
    const char* extensions = eglQueryString(EGL_NO_DISPLAY, EGL_EXTENSIONS);
    return extensions && std::strstr(extensions, extension);
}

/** Without a display server if that can be had, else the system's default. */
EGLDisplay openDisplay()
{
    if (clientHas("EGL_MESA_platform_surfaceless") && clientHas("EGL_EXT_platform_base"))
    {
        const auto getPlatformDisplay =
            reinterpret_cast<PFNEGLGETPLATFORMDISPLAYEXTPROC>(eglGetProcAddress("eglGetPlatformDisplayEXT"));
        const EGLDisplay display = getPlatformDisplay
                                       ? getPlatformDisplay(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr)
                                       : EGL_NO_DISPLAY;
        if (display != EGL_NO_DISPLAY && eglInitialize(display, nullptr, nullptr)) return display;
    }
    const EGLDisplay display = eglGetDisplay(EGL_DEFAULT_DISPLAY);
    return display != EGL_NO_DISPLAY && eglInitialize(display, nullptr, nullptr) ? display : EGL_NO_DISPLAY;
}

[[noreturn]] void fail(const char* step)
{
    throw HostError(std::string("Cannot draw: no OpenGL context without a display on this machine (") + step + ").");
}
} // namespace

OffscreenContext::OffscreenContext() : _handles(std::make_unique<Handles>())
{
    _handles->display = openDisplay();
    if (_handles->display == EGL_NO_DISPLAY) fail("no EGL display");
    if (!eglBindAPI(EGL_OPENGL_API)) fail("EGL knows no desktop OpenGL");

    const EGLint wanted[] = {EGL_SURFACE_TYPE, EGL_PBUFFER_BIT, EGL_RENDERABLE_TYPE, EGL_OPENGL_BIT, EGL_NONE};
    EGLConfig config = nullptr;
    EGLint count = 0;
    if (!eglChooseConfig(_handles->display, wanted, &config, 1, &count) || count == 0) fail("no EGL configuration");
    _handles->context = eglCreateContext(_handles->display, config, EGL_NO_CONTEXT, nullptr);
    if (_handles->context == EGL_NO_CONTEXT) fail("no EGL context");

    // Pictures are drawn into buffers of their own; the smallest surface makes the context complete everywhere.
    const EGLint size[] = {EGL_WIDTH, 1, EGL_HEIGHT, 1, EGL_NONE};
    _handles->surface = eglCreatePbufferSurface(_handles->display, config, size);
    if (!eglMakeCurrent(_handles->display, _handles->surface, _handles->surface, _handles->context))
        fail("the EGL context cannot be made current");
}

OffscreenContext::~OffscreenContext() = default;
} // namespace mvgeo::host
