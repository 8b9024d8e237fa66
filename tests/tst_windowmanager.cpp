#include "fleetaccess.h"
#include "fonts.h"
#include "preferences.h"
#include "qmlregistration.h"
#include "sessionwatcher.h"
#include "windowmanager.h"

#include <QQmlComponent>
#include <QQmlEngine>

#include <QQuickItem>
#include <QQuickView>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>

using namespace Qt::StringLiterals;

class WindowManagerTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void window_data();
    void window();
    void showingAgainReusesTheWindow_data();
    void showingAgainReusesTheWindow();
    void movedWindowIsCentredAgain();
    void finishingTheWelcomeForgetsItsWindow();
    void singletonsReachQml_data();
    void singletonsReachQml();
};

void WindowManagerTest::initTestCase()
{
    // The shared preferences and folder grants must never see the real user's files.
    QStandardPaths::setTestModeEnabled(true);
    Preferences::shared()->defaults().clear();
    Fonts::registerAll();
}

namespace
{
QQuickView *show(const QString &kind)
{
    WindowManager *manager = WindowManager::shared();
    if (kind == u"welcome") {
        manager->showWelcome();
        return manager->welcome();
    }
    manager->showSettings();
    return manager->settings();
}
} // namespace

void WindowManagerTest::window_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QString>("title");
    QTest::addColumn<QSize>("size");
    QTest::addColumn<QColor>("background");
    QTest::addColumn<QString>("rootType");

    QTest::addRow("welcome") << u"welcome"_s << u"Welcome to Yuzuha"_s << QSize(560, 470) << QColor(231, 225, 210) << u"WelcomeView"_s;
    QTest::addRow("settings") << u"settings"_s << u"Yuzuha Settings"_s << QSize(560, 700) << QColor(250, 251, 252) << u"SettingsView"_s;
}

void WindowManagerTest::window()
{
    QFETCH(QString, kind);
    QQuickView *view = show(kind);
    QVERIFY(view);
    QCOMPARE(view->status(), QQuickView::Ready);
    QVERIFY(view->isVisible());
    QTEST(view->title(), "title");
    QTEST(view->size(), "size");
    // Fixed size: the user cannot drag it larger or smaller.
    QCOMPARE(view->minimumSize(), view->size());
    QCOMPARE(view->maximumSize(), view->size());
    QTEST(view->color(), "background");
    QCOMPARE(view->rootObject()->size(), QSizeF(view->size()));
    QFETCH(QString, rootType);
    QVERIFY(QString::fromLatin1(view->rootObject()->metaObject()->className()).startsWith(rootType));

    const Qt::WindowFlags flags = view->flags();
    QVERIFY(flags.testFlag(Qt::WindowCloseButtonHint));
    QVERIFY(flags.testFlag(Qt::WindowTitleHint));
    QVERIFY(!flags.testFlag(Qt::WindowMinimizeButtonHint));
    QVERIFY(!flags.testFlag(Qt::WindowMaximizeButtonHint));
    view->close();
}

void WindowManagerTest::showingAgainReusesTheWindow_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addRow("welcome") << u"welcome"_s;
    QTest::addRow("settings") << u"settings"_s;
}

void WindowManagerTest::showingAgainReusesTheWindow()
{
    QFETCH(QString, kind);
    QQuickView *first = show(kind);
    QQuickItem *root = first->rootObject();
    QVERIFY(show(kind) == first);
    // Closed with the title-bar button: hidden, kept, and the same view comes back with the next show.
    first->close();
    QVERIFY(!first->isVisible());
    QVERIFY(show(kind) == first);
    QVERIFY(first->rootObject() == root);
    QVERIFY(first->isVisible());
    first->close();
}

void WindowManagerTest::movedWindowIsCentredAgain()
{
    QQuickView *view = show(u"settings"_s);
    const QPoint centred = view->framePosition();
    view->setFramePosition(centred + QPoint(-40, 30));
    view->close();
    show(u"settings"_s);
    QCOMPARE(view->framePosition(), centred);
    const QRect area = view->screen()->availableGeometry();
    // Frame margins are only known once the window is on screen, so allow for them.
    const QMargins frame = view->frameMargins();
    const int slack = qMax(qMax(frame.left(), frame.right()), qMax(frame.top(), frame.bottom())) + 1;
    QVERIFY(qAbs(view->geometry().center().x() - area.center().x()) <= slack);
    QVERIFY(qAbs(view->geometry().center().y() - area.center().y()) <= slack);
    view->close();
}

void WindowManagerTest::finishingTheWelcomeForgetsItsWindow()
{
    QSettings &store = Preferences::shared()->defaults();
    store.remove(Preferences::hasSeenWelcomeKey.toString());
    QPointer<QQuickView> first = show(u"welcome"_s);
    QVERIFY(first);

    WindowManager::shared()->finishWelcome();
    QVERIFY(!WindowManager::shared()->welcome());
    QVERIFY(!first->isVisible());
    QVERIFY(store.value(Preferences::hasSeenWelcomeKey.toString()).toBool());
    QTRY_VERIFY(first.isNull());

    QQuickView *second = show(u"welcome"_s);
    QVERIFY(second);
    QCOMPARE(second->status(), QQuickView::Ready);
    second->close();
}

void WindowManagerTest::singletonsReachQml_data()
{
    QTest::addColumn<QString>("expression");
    QTest::addColumn<QVariant>("expected");

    Preferences::shared()->setBedtime(200'000);
    SessionWatcher::shared()->setPinnedIDText(u"/logs/a.jsonl"_s);
    QTest::addRow("Preferences, 64-bit count as a number") << u"Preferences.bedtime"_s << QVariant(200'000.0);
    QTest::addRow("Preferences enums") << u"Preferences.size === Preferences.Size.medium"_s << QVariant(true);
    QTest::addRow("FleetAccess grants") << u"FleetAccess.grantedIds.length"_s << QVariant(double(FleetAccess::shared()->grantedIds().size()));
    QTest::addRow("FleetAccess direct") << u"FleetAccess.direct"_s << QVariant(FleetAccess::direct());
    QTest::addRow("SessionWatcher pin") << u"SessionWatcher.pinnedID"_s << QVariant(u"/logs/a.jsonl"_s);
    QTest::addRow("Catalog outfit label") << u"Catalog.outfitLabel(Preferences.Outfit.demonslayer)"_s << QVariant(u"Slayer corps"_s);
    QTest::addRow("Catalog rejects an unknown outfit") << u"Catalog.outfitRawValue(99)"_s << QVariant(QString());
    QTest::addRow("Catalog bedtime value text") << u"Catalog.bedtimes[2].value"_s << QVariant(u"400K"_s);
    QTest::addRow("FolderGrants folders in order") << u"FolderGrants.folders.map(f => f.id).join()"_s << QVariant(u"claude,codex"_s);
    QTest::addRow("WindowManager") << u"typeof WindowManager.showSettings"_s << QVariant(u"function"_s);
}

void WindowManagerTest::singletonsReachQml()
{
    QFETCH(QString, expression);
    QFETCH(QVariant, expected);
    QQmlEngine engine;
    Yuzuha::prepareEngine(engine);
    QQmlComponent component(&engine);
    component.setData(u"import QtQml\nimport Yuzuha\nQtObject { property var value: "_s.toUtf8() + expression.toUtf8() + "}", QUrl());
    std::unique_ptr<QObject> object(component.create());
    QVERIFY2(object, qPrintable(component.errorString()));
    QCOMPARE(object->property("value"), expected);
}

QTEST_MAIN(WindowManagerTest)
#include "tst_windowmanager.moc"
