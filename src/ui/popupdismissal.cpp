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
    explicit Watcher(QMenu *menu)
        : QObject(menu)
    {
        m_away.setSingleShot(true);
        m_away.setInterval(patience);
        connect(&m_away, &QTimer::timeout, this, [] {
            while (QWidget *popup = QApplication::activePopupWidget())
                popup->close();
        });
        m_look.setInterval(lookInterval);
        connect(&m_look, &QTimer::timeout, this, &Watcher::look);
        m_look.start();
        qApp->installEventFilter(this);
    }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        // Xwayland keeps an X pointer grab from hearing that the pointer went to a Wayland window: let
        // the grab go, so the pointer is seen leaving. Clicks outside were never seen anyway.
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
    new Watcher(menu);
    const QScreen *screen = QGuiApplication::screenAt(pointer);
    menu->popup(besidePointer(pointer, menu->sizeHint(), screen ? screen->availableGeometry() : QRect()));
}
} // namespace PopupDismissal
