#pragma once

// Helpers for tests that drive the QML views the way a person does: find a control by its
// objectName, scroll it into view and click it through the window.

#include "application.h"

#include <QQuickItem>
#include <QQuickWindow>
#include <QStandardPaths>
#include <QTest>

namespace QuickDriver
{
/// The program's objects over empty settings, a home folder and an autostart folder in `folder`,
/// never the user's own; `probe` plays the agent folders' permissions.
inline std::unique_ptr<Application> scratchApplication(const QString &folder, FleetAccess::Probe probe = {})
{
    QStandardPaths::setTestModeEnabled(true);
    Application::Environment environment;
    environment.store = std::make_unique<QSettings>(folder + QStringLiteral("/Yuzuha.conf"), QSettings::IniFormat);
    environment.home = folder + QStringLiteral("/home");
    environment.loginItem = LoginItem(folder + QStringLiteral("/autostart"), QStringLiteral("/opt/yuzuha/bin/yuzuha"));
    environment.folderProbe = std::move(probe);
    return std::make_unique<Application>(std::move(environment));
}

/// Every visible item called `name` below `root`, walking the visual tree, which also holds what Repeaters
/// and Loaders create.
inline QList<QQuickItem *> findAll(QQuickItem *root, const QString &name)
{
    QList<QQuickItem *> found;
    for (QQuickItem *child : root->childItems()) {
        if (!child->isVisible())
            continue;
        if (child->objectName() == name)
            found.append(child);
        found += findAll(child, name);
    }
    return found;
}

/// The one visible item called `name` below `root`, or null when there is none or more than one.
inline QQuickItem *find(QQuickItem *root, const QString &name)
{
    const QList<QQuickItem *> found = findAll(root, name);
    return found.size() == 1 ? found.first() : nullptr;
}

/// Scrolls every Flickable around `item` so that its centre is inside the window.
inline void reveal(QQuickItem *item)
{
    for (QQuickItem *up = item->parentItem(); up; up = up->parentItem()) {
        if (!up->inherits("QQuickFlickable"))
            continue;
        QQuickItem *content = up->property("contentItem").value<QQuickItem *>();
        const qreal y = item->mapToItem(content, QPointF(0, item->height() / 2)).y();
        const qreal most = qMax<qreal>(0, up->property("contentHeight").toReal() - up->height());
        up->setProperty("contentY", qBound<qreal>(0, y - up->height() / 2, most));
    }
}

/// Clicks the centre of `item` with the left button, after scrolling it into view.
inline void click(QQuickItem *item)
{
    reveal(item);
    const QPoint centre = item->mapToScene(QPointF(item->width() / 2, item->height() / 2)).toPoint();
    QTest::mouseClick(item->window(), Qt::LeftButton, Qt::NoModifier, centre);
}
} // namespace QuickDriver
