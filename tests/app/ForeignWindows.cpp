#include "tests/app/ForeignWindows.h"

#include <X11/Xlib.h>

#include <functional>

namespace pastille::tests {
namespace {

/// Shows each visible top-level window of the display with its title.
void EachWindow(const std::function<void(::Display*, ::Window, const std::string& title)>& look)
{
    ::Display* display = XOpenDisplay(nullptr);
    if (display == nullptr)
        return;
    // Windows of others come and go while they are looked at.
    const auto oldHandler = XSetErrorHandler([](::Display*, XErrorEvent*) { return 0; });
    ::Window root = 0;
    ::Window parent = 0;
    ::Window* children = nullptr;
    unsigned count = 0;
    XQueryTree(display, DefaultRootWindow(display), &root, &parent, &children, &count);
    for (unsigned i = 0; i < count; ++i) {
        XWindowAttributes attributes{};
        char* name = nullptr;
        if (XGetWindowAttributes(display, children[i], &attributes) == 0 ||
            attributes.map_state != IsViewable || XFetchName(display, children[i], &name) == 0)
            continue;
        look(display, children[i], name);
        XFree(name);
    }
    XFree(children);
    XSync(display, False);
    XSetErrorHandler(oldHandler);
    XCloseDisplay(display);
}

}  // namespace

std::vector<std::string> WindowTitles()
{
    std::vector<std::string> titles;
    EachWindow([&](::Display*, ::Window, const std::string& title) { titles.push_back(title); });
    return titles;
}

bool PressAltIn(const std::string& wanted, char letter)
{
    bool found = false;
    EachWindow([&](::Display* display, ::Window window, const std::string& title) {
        if (title != wanted)
            return;
        found = true;
        XEvent event{};
        if (letter == 0) {
            event.xclient.type = ClientMessage;
            event.xclient.window = window;
            event.xclient.format = 32;
            event.xclient.message_type = XInternAtom(display, "WM_PROTOCOLS", False);
            event.xclient.data.l[0] = static_cast<long>(XInternAtom(display, "WM_DELETE_WINDOW", False));
            XSendEvent(display, window, False, NoEventMask, &event);
            return;
        }
        event.xkey.window = window;
        event.xkey.root = DefaultRootWindow(display);
        event.xkey.same_screen = True;
        event.xkey.state = Mod1Mask;
        // The keys of Latin letters have the letters' own codes.
        event.xkey.keycode = XKeysymToKeycode(display, static_cast<KeySym>(letter));
        for (const auto& [type, mask] : {std::pair(KeyPress, KeyPressMask), {KeyRelease, KeyReleaseMask}}) {
            event.xkey.type = type;
            XSendEvent(display, window, False, mask, &event);
        }
    });
    return found;
}

}  // namespace pastille::tests
