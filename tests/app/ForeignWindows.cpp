#include "tests/app/ForeignWindows.h"

#include <X11/Xatom.h>
#include <X11/Xlib.h>

#include <cstring>
#include <memory>
#include <optional>
#include <utility>

namespace pastille::tests {
namespace {

/// Windows of others come and go while they are looked at.
int IgnoreError(::Display*, XErrorEvent*)
{
    return 0;
}

class CDisplay {
public:
    CDisplay() : m_display(XOpenDisplay(nullptr)), m_oldHandler(XSetErrorHandler(IgnoreError)) {}
    ~CDisplay()
    {
        if (m_display != nullptr)
            XCloseDisplay(m_display);
        XSetErrorHandler(m_oldHandler);
    }
    CDisplay(const CDisplay&) = delete;
    CDisplay& operator=(const CDisplay&) = delete;
    ::Display* Get() const { return m_display; }

private:
    ::Display* m_display;
    XErrorHandler m_oldHandler;
};

std::string Property(::Display* display, ::Window window, const char* name)
{
    Atom type = 0;
    int format = 0;
    unsigned long count = 0;
    unsigned long rest = 0;
    unsigned char* data = nullptr;
    const Atom atom = XInternAtom(display, name, False);
    if (XGetWindowProperty(display, window, atom, 0, 1024, False, AnyPropertyType, &type, &format, &count,
                           &rest, &data) != Success ||
        data == nullptr)
        return {};
    // Numbers of 32 bits come as longs.
    const std::size_t unit = format == 32 ? sizeof(long) : static_cast<std::size_t>(format / 8);
    std::string bytes(reinterpret_cast<const char*>(data), count * unit);
    XFree(data);
    return bytes;
}

long long ProcessOf(::Display* display, ::Window window)
{
    long id = 0;
    const std::string bytes = Property(display, window, "_NET_WM_PID");
    if (bytes.size() == sizeof id)
        std::memcpy(&id, bytes.data(), sizeof id);
    return id;
}

std::vector<std::pair<::Window, std::string>> Windows(::Display* display, long long processId)
{
    std::vector<std::pair<::Window, std::string>> found;
    ::Window root = 0;
    ::Window parent = 0;
    ::Window* children = nullptr;
    unsigned count = 0;
    if (XQueryTree(display, DefaultRootWindow(display), &root, &parent, &children, &count) == 0)
        return found;
    for (unsigned i = 0; i < count; ++i) {
        XWindowAttributes attributes{};
        if (XGetWindowAttributes(display, children[i], &attributes) != 0 &&
            attributes.map_state == IsViewable && ProcessOf(display, children[i]) == processId)
            found.emplace_back(children[i], Property(display, children[i], "_NET_WM_NAME"));
    }
    if (children != nullptr)
        XFree(children);
    return found;
}

}  // namespace

std::vector<std::string> WindowTitles(long long processId)
{
    const CDisplay display;
    std::vector<std::string> titles;
    if (display.Get() == nullptr)
        return titles;
    for (auto& [window, title] : Windows(display.Get(), processId))
        titles.push_back(std::move(title));
    return titles;
}

bool CloseWindowOf(long long processId, const std::string& title)
{
    const CDisplay display;
    if (display.Get() == nullptr)
        return false;
    for (const auto& [window, name] : Windows(display.Get(), processId)) {
        if (name != title)
            continue;
        XEvent event{};
        event.xclient.type = ClientMessage;
        event.xclient.window = window;
        event.xclient.message_type = XInternAtom(display.Get(), "WM_PROTOCOLS", False);
        event.xclient.format = 32;
        event.xclient.data.l[0] = static_cast<long>(XInternAtom(display.Get(), "WM_DELETE_WINDOW", False));
        XSendEvent(display.Get(), window, False, NoEventMask, &event);
        XSync(display.Get(), False);
        return true;
    }
    return false;
}

bool PressAltIn(long long processId, const std::string& title, char letter)
{
    const CDisplay display;
    if (display.Get() == nullptr)
        return false;
    bool found = false;
    for (const auto& [window, name] : Windows(display.Get(), processId)) {
        if (name != title)
            continue;
        found = true;
        XEvent event{};
        event.xkey.window = window;
        event.xkey.root = DefaultRootWindow(display.Get());
        event.xkey.same_screen = True;
        event.xkey.state = Mod1Mask;
        // The keys of Latin letters have the letters' own codes.
        event.xkey.keycode = XKeysymToKeycode(display.Get(), static_cast<KeySym>(letter));
        for (const int type : {KeyPress, KeyRelease}) {
            event.xkey.type = type;
            XSendEvent(display.Get(), window, False, type == KeyPress ? KeyPressMask : KeyReleaseMask,
                       &event);
        }
        XSync(display.Get(), False);
    }
    return found;
}

}  // namespace pastille::tests
