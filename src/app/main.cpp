#include "appdelegate.h"

#include <QApplication>
#include <QTimer>

#include <cstdio>

int main(int argc, char *argv[])
{
    AppDelegate::preparePlatform();
    if (!AppDelegate::hasGraphicalSession()) {
        std::fputs("Yuzuha needs a graphical session: neither DISPLAY nor WAYLAND_DISPLAY is set.\n", stderr);
        return 1;
    }
    QApplication app(argc, argv);
    AppDelegate delegate;
    if (!delegate.claimInstance())
        return 0;
    QTimer::singleShot(0, &delegate, &AppDelegate::launch);
    return app.exec();
}
