#include "qmlregistration.h"
#include "quickdriver.h"
#include "windowmanager.h"

#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickView>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;

class WindowManagerTest : public QObject
{
    Q_OBJECT

    QTemporaryDir m_config;
    std::unique_ptr<Application> m_app;

    QQuickView *show(const QString &kind)
    {
        WindowManager *manager = m_app->windows();
        if (kind == u"welcome") {
            manager->showWelcome();
            return manager->welcome();
        }
        manager->showSettings();
        return manager->settings();
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_config.isValid());
        m_app = QuickDriver::scratchApplication(m_config.path());
    }
    void cleanupTestCase() { m_app.reset(); }

    void window_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QSize>("size");
        QTest::addRow("welcome") << u"welcome"_s << QSize(560, 470);
        QTest::addRow("settings") << u"settings"_s << QSize(560, 700);
    }
    // Fixed size with only a close button; closing hides and keeps it, and the next show brings back the same view.
    void window()
    {
        QFETCH(QString, kind);
        QQuickView *view = show(kind);
        QVERIFY(view);
        QCOMPARE(view->status(), QQuickView::Ready);
        QTEST(view->size(), "size");
        QCOMPARE(view->minimumSize(), view->size());
        QCOMPARE(view->maximumSize(), view->size());
        QCOMPARE(view->rootObject()->size(), QSizeF(view->size()));
        const Qt::WindowFlags flags = view->flags();
        QVERIFY(flags.testFlag(Qt::WindowCloseButtonHint) && !flags.testFlag(Qt::WindowMinimizeButtonHint) && !flags.testFlag(Qt::WindowMaximizeButtonHint));

        QQuickItem *root = view->rootObject();
        QCOMPARE(show(kind), view);
        view->close();
        QVERIFY(!view->isVisible());
        QCOMPARE(show(kind), view);
        QCOMPARE(view->rootObject(), root);
        QVERIFY(view->isVisible());
        view->close();
    }

    void movedWindowIsCentredAgain()
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

    void singletonsReachQml_data()
    {
        QTest::addColumn<QString>("expression");
        QTest::addColumn<QVariant>("expected");
        m_app->preferences()->setBedtime(200'000);
        QTest::addRow("Preferences, 64-bit count as a number") << u"Preferences.bedtime"_s << QVariant(200'000.0);
        QTest::addRow("Preferences enums") << u"Preferences.size === Preferences.Size.medium"_s << QVariant(true);
        QTest::addRow("Catalog outfit label") << u"Catalog.outfitLabel(Preferences.Outfit.demonslayer)"_s << QVariant(u"Slayer corps"_s);
        QTest::addRow("Catalog rejects an unknown outfit") << u"Catalog.outfitRawValue(99)"_s << QVariant(QString());
        QTest::addRow("Catalog bedtime value text") << u"Catalog.bedtimes[2].value"_s << QVariant(u"400K"_s);
        QTest::addRow("FleetAccess folders") << u"FleetAccess.folders.map(f => f.id).join()"_s << QVariant(u"claude,codex"_s);
    }
    void singletonsReachQml()
    {
        QFETCH(QString, expression);
        QQmlComponent component(m_app->engine());
        component.setData(u"import QtQml\nimport Yuzuha\nQtObject { property var value: "_s.toUtf8() + expression.toUtf8() + "}", QUrl());
        std::unique_ptr<QObject> object(component.create());
        QVERIFY2(object, qPrintable(component.errorString()));
        QTEST(object->property("value"), "expected");
    }
};

QTEST_MAIN(WindowManagerTest)
#include "tst_windowmanager.moc"
