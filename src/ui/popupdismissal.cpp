#include "popupdismissal.h"

#include "x11desktop.h"

#include <QApplication>
#include <QCursor>
#include <QEvent>
#include <QMenu>
#include <QScreen>
#include <QTimer>
#include <QWindow>

#include <algorithm>

namespace PopupDismissal
{
namespace
{
class Watcher : public QObject
{
public:
    Watcher(QObject *owner, std::function<void()> close)
        : QObject(owner)
    {
        m_away.setSingleShot(true);
        m_away.setInterval(patience);
        connect(&m_away, &QTimer::timeout, this, std::move(close));
        m_look.setInterval(lookInterval);
        connect(&m_look, &QTimer::timeout, this, &Watcher::look);
        m_look.start();
    }

private:
    void look()
    {
        // Her windows are found where the X pointer is only while the pointer is on some X window: on
        // a Wayland window Xwayland leaves its position where it was but puts it on the root.
        const bool onHers = X11Desktop::pointerOnAWindow() && QGuiApplication::topLevelAt(QCursor::pos());
        if (onHers)
            m_away.stop();
        else if (!m_away.isActive())
            m_away.start();
    }

    QTimer m_away;
    QTimer m_look;
};

// Xwayland keeps an X pointer grab from hearing that the pointer went to a Wayland window: the menus
// let the grab go, so the pointer is seen leaving. Clicks outside were never seen anyway.
class GrabRelease : public QObject
{
public:
    explicit GrabRelease(QMenu *menu)
        : QObject(menu)
    {
        qApp->installEventFilter(this);
    }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::Show) {
            if (auto *menu = qobject_cast<QMenu *>(watched)) {
                QTimer::singleShot(0, menu, [menu] {
                    if (QWindow *window = menu->windowHandle())
                        window->setMouseGrabEnabled(false);
                });
            }
        }
        return false;
    }
};
} // namespace

QPoint besidePointer(QPoint pointer, QSize size, const QRect &available)
{
    QPoint corner = pointer + QPoint(1, 1);
    if (available.isEmpty())
        return corner;
    if (corner.x() + size.width() - 1 > available.right())
        corner.setX(pointer.x() - size.width());
    if (corner.y() + size.height() - 1 > available.bottom())
        corner.setY(pointer.y() - size.height());
    return { std::max(corner.x(), available.left()), std::max(corner.y(), available.top()) };
}

void popupBeside(QMenu *menu, QPoint pointer)
{
    if (!menu)
        return;
    new GrabRelease(menu);
    closeWhenAway(menu, [] {
        while (QWidget *popup = QApplication::activePopupWidget())
            popup->close();
    });
    const QScreen *screen = QGuiApplication::screenAt(pointer);
    menu->popup(besidePointer(pointer, menu->sizeHint(), screen ? screen->availableGeometry() : QRect()));
}

void closeWhenAway(QObject *owner, std::function<void()> close)
{
    new Watcher(owner, std::move(close));
}
} // namespace PopupDismissal
