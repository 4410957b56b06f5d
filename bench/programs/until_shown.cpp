// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include <xcb/damage.h>
#include <xcb/xcb.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include <spawn.h>
#include <sys/wait.h>

namespace {

constexpr int DialogWidth = 556;
constexpr int DialogHeight = 341;

struct Freed {
    void operator()(void *memory) const { std::free(memory); }
};

xcb_atom_t Atom(xcb_connection_t *display, const char *name)
{
    const auto cookie =
        xcb_intern_atom(display, 0, static_cast<std::uint16_t>(std::strlen(name)), name);
    const std::unique_ptr<xcb_intern_atom_reply_t, Freed> reply(
        xcb_intern_atom_reply(display, cookie, nullptr));
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

/// Returns the first window of the dialogs' size into which a picture of that size was drawn.
xcb_window_t AwaitDialog(xcb_connection_t *display, std::uint8_t firstDamageEvent)
{
    while (true) {
        const std::unique_ptr<xcb_generic_event_t, Freed> event(xcb_wait_for_event(display));
        if (!event) {
            return XCB_WINDOW_NONE;
        }
        const int type = event->response_type & 0x7f;
        if (type == XCB_CREATE_NOTIFY) {
            const auto *created = reinterpret_cast<xcb_create_notify_event_t *>(event.get());
            if (created->width == DialogWidth && created->height == DialogHeight) {
                xcb_damage_create(display, xcb_generate_id(display), created->window,
                                  XCB_DAMAGE_REPORT_LEVEL_RAW_RECTANGLES);
                xcb_flush(display);
            }
        } else if (type == firstDamageEvent + XCB_DAMAGE_NOTIFY) {
            const auto *drawn = reinterpret_cast<xcb_damage_notify_event_t *>(event.get());
            if (drawn->area.width == DialogWidth && drawn->area.height == DialogHeight) {
                return drawn->drawable;
            }
        }
    }
}

/// Closes a window as a window manager would.
void Close(xcb_connection_t *display, xcb_window_t window)
{
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = Atom(display, "WM_PROTOCOLS");
    message.data.data32[0] = Atom(display, "WM_DELETE_WINDOW");
    xcb_send_event(display, 0, window, XCB_EVENT_MASK_NO_EVENT,
                   reinterpret_cast<const char *>(&message));
    xcb_flush(display);
}

} // namespace

/// until_shown PROGRAM [ARGUMENT...]: prints the milliseconds from the program's start until its
/// dialog is painted on the screen, closes the dialog and waits for the program's end.
int main(int argc, char *argv[])
{
    xcb_connection_t *display = xcb_connect(nullptr, nullptr);
    if (argc < 2 || xcb_connection_has_error(display)) {
        return 2;
    }
    const auto *damage = xcb_get_extension_data(display, &xcb_damage_id);
    const std::unique_ptr<xcb_damage_query_version_reply_t, Freed> version(
        xcb_damage_query_version_reply(display, xcb_damage_query_version(display, 1, 1), nullptr));
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(display)).data->root;
    const std::uint32_t events = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
    const std::unique_ptr<xcb_generic_error_t, Freed> error(xcb_request_check(
        display, xcb_change_window_attributes_checked(display, root, XCB_CW_EVENT_MASK, &events)));
    if (!damage->present || error) {
        return 2;
    }

    const auto start = std::chrono::steady_clock::now();
    pid_t program = 0;
    if (posix_spawn(&program, argv[1], nullptr, nullptr, argv + 1, environ) != 0) {
        return 2;
    }
    const xcb_window_t window = AwaitDialog(display, damage->first_event);
    const std::chrono::duration<double, std::milli> elapsed =
        std::chrono::steady_clock::now() - start;
    std::printf("%.3f\n", elapsed.count());
    Close(display, window);
    (void)waitpid(program, nullptr, 0);
    xcb_disconnect(display);
    return 0;
}
