#include "pointerpresses.h"

#include <QGuiApplication>
#include <QSocketNotifier>

#include <cstdlib>

#ifdef YUZUHA_HAVE_XCB_XINPUT
#include <xcb/xinput.h>
#endif

struct PointerPresses::Connection {
#ifdef YUZUHA_HAVE_XCB_XINPUT
    xcb_connection_t *connection = nullptr;
    uint8_t inputOpcode = 0;
#endif
};

PointerPresses::PointerPresses(QObject *parent)
    : QObject(parent)
{
#ifdef YUZUHA_HAVE_XCB_XINPUT
    if (QGuiApplication::platformName() != QLatin1StringView("xcb"))
        return;
    // A connection of its own: selecting raw events on the root window through Qt's connection would
    // replace the event mask Qt keeps there for its own input handling.
    int screen = 0;
    xcb_connection_t *connection = xcb_connect(nullptr, &screen);
    const xcb_query_extension_reply_t *extension = xcb_connection_has_error(connection) ? nullptr : xcb_get_extension_data(connection, &xcb_input_id);
    bool usable = extension && extension->present;
    if (usable) {
        // Raw events that reach every client whatever grabs are active need XI 2.1 or later.
        xcb_input_xi_query_version_reply_t *version = xcb_input_xi_query_version_reply(connection, xcb_input_xi_query_version(connection, 2, 2), nullptr);
        usable = version && (version->major_version > 2 || (version->major_version == 2 && version->minor_version >= 1));
        std::free(version);
    }
    if (!usable) {
        xcb_disconnect(connection);
        return;
    }
    xcb_screen_iterator_t roots = xcb_setup_roots_iterator(xcb_get_setup(connection));
    for (int i = 0; i < screen && roots.rem > 0; ++i)
        xcb_screen_next(&roots);
    struct {
        xcb_input_event_mask_t head;
        uint32_t bits;
    } mask {};
    mask.head.deviceid = XCB_INPUT_DEVICE_ALL_MASTER;
    mask.head.mask_len = 1;
    mask.bits = XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_PRESS;
    xcb_input_xi_select_events(connection, roots.data->root, 1, &mask.head);
    xcb_flush(connection);

    m_x = new Connection { connection, extension->major_opcode };
    m_notifier = new QSocketNotifier(xcb_get_file_descriptor(connection), QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &PointerPresses::drain);
#endif
}

PointerPresses::~PointerPresses()
{
#ifdef YUZUHA_HAVE_XCB_XINPUT
    delete m_notifier;
    if (m_x)
        xcb_disconnect(m_x->connection);
#endif
    delete m_x;
}

void PointerPresses::drain()
{
#ifdef YUZUHA_HAVE_XCB_XINPUT
    bool pressedNow = false;
    while (xcb_generic_event_t *event = xcb_poll_for_event(m_x->connection)) {
        if ((event->response_type & 0x7f) == XCB_GE_GENERIC) {
            const auto *generic = reinterpret_cast<const xcb_ge_generic_event_t *>(event);
            if (generic->extension == m_x->inputOpcode && generic->event_type == XCB_INPUT_RAW_BUTTON_PRESS) {
                // Buttons 4 to 7 are the wheel's turns.
                const auto *raw = reinterpret_cast<const xcb_input_raw_button_press_event_t *>(event);
                if (raw->detail < 4 || raw->detail > 7)
                    pressedNow = true;
            }
        }
        std::free(event);
    }
    if (xcb_connection_has_error(m_x->connection)) {
        m_notifier->setEnabled(false);
        return;
    }
    if (pressedNow)
        Q_EMIT pressed();
#endif
}
