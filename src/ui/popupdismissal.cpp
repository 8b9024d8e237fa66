#include "popupdismissal.h"

#include <QApplication>
#include <QEvent>
#include <QMenu>
#include <QTimer>
#include <QWindow>

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
        connect(menu, &QMenu::aboutToHide, this, [this] {
            // A submenu closing hands the pointer back to its parent; only the whole chain's end stops watching.
            QTimer::singleShot(0, this, [this] {
                if (!QApplication::activePopupWidget())
                    m_away.stop();
            });
        });
        qApp->installEventFilter(this);
    }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        switch (event->type()) {
        case QEvent::Show:
            // Xwayland keeps an X pointer grab from hearing that the pointer went to a Wayland window: let the
            // grab go, so leaving her menus is heard. Clicks outside were never seen anyway.
            if (auto *menu = qobject_cast<QMenu *>(watched)) {
                QTimer::singleShot(0, menu, [menu] {
                    if (QWindow *window = menu->windowHandle())
                        window->setMouseGrabEnabled(false);
                });
            }
            break;
        case QEvent::Leave:
            // Leaving one of her windows for another is followed by that one's Enter, which stops the clock.
            if (watched->isWidgetType() && static_cast<QWidget *>(watched)->isWindow())
                m_away.start();
            break;
        case QEvent::Enter:
        case QEvent::MouseMove:
        case QEvent::HoverMove:
            m_away.stop();
            break;
        default:
            break;
        }
        return false;
    }

private:
    QTimer m_away;
};
} // namespace

void closeWhenLeft(QMenu *menu)
{
    if (menu)
        new Watcher(menu);
}
} // namespace PopupDismissal
