// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include <xcb/xcb.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

/// close_window ID: asks a window of the X server to close, as a window manager does.

namespace {

struct Freer {
    void operator()(void *memory) const { std::free(memory); }
};

xcb_atom_t Atom(xcb_connection_t *server, const char *name)
{
    const auto asked = xcb_intern_atom(server, 0, std::strlen(name), name);
    const std::unique_ptr<xcb_intern_atom_reply_t, Freer> reply(
        xcb_intern_atom_reply(server, asked, nullptr));
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

} // namespace

int main(int argc, char *argv[])
{
    xcb_connection_t *server = xcb_connect(nullptr, nullptr);
    if (argc != 2 || xcb_connection_has_error(server) != 0) {
        (void)std::fputs("The window cannot be reached.\n", stderr);
        return 1;
    }
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = static_cast<xcb_window_t>(std::strtoul(argv[1], nullptr, 10));
    message.type = Atom(server, "WM_PROTOCOLS");
    message.data.data32[0] = Atom(server, "WM_DELETE_WINDOW");
    message.data.data32[1] = XCB_CURRENT_TIME;
    const auto sent = xcb_send_event_checked(server, 0, message.window, XCB_EVENT_MASK_NO_EVENT,
                                             reinterpret_cast<const char *>(&message));
    const std::unique_ptr<xcb_generic_error_t, Freer> error(xcb_request_check(server, sent));
    xcb_disconnect(server);
    return error ? 1 : 0;
}
