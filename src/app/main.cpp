#include "appdelegate.h"

#include <QApplication>
#include <QTimer>

int main(int argc, char *argv[])
{
    AppDelegate::preparePlatform();
    QApplication app(argc, argv);
    AppDelegate delegate;
    if (!delegate.claimInstance())
        return 0;
    QTimer::singleShot(0, &delegate, &AppDelegate::launch);
    return app.exec();
}
