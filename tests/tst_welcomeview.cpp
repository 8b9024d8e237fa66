#include "quickdriver.h"

#include "fleetaccess.h"
#include "qmlregistration.h"
#include "windowmanager.h"

#include <QPointer>
#include <QQuickView>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;
using QuickDriver::click;
using QuickDriver::find;

class WelcomeViewTest : public QObject
{
    Q_OBJECT

    QTemporaryDir m_config;
    std::unique_ptr<Application> m_app;

    void grantOnly(const QStringList &ids)
    {
        FleetAccess *access = m_app->access();
        for (const FleetFolder &folder : FleetAccess::folders()) {
            if (ids.contains(folder.id))
                access->store(access->home(), folder);
            else
                access->revoke(folder);
        }
    }

    QQuickView *welcome()
    {
        m_app->windows()->showWelcome();
        QQuickView *view = m_app->windows()->welcome();
        if (view)
            std::ignore = QTest::qWaitForWindowExposed(view);
        return view;
    }

    // Drops the welcome window the way its own button does, so the next test builds a fresh one.
    void forgetWelcome()
    {
        QPointer<QQuickView> old = m_app->windows()->welcome();
        if (!old)
            return;
        m_app->windows()->finishWelcome();
        QTRY_VERIFY(old.isNull());
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_config.isValid());
        m_app = QuickDriver::scratchApplication(m_config.path());
    }
    void cleanupTestCase() { m_app.reset(); }
    void init()
    {
        m_app->grants()->setDirect(true);
        grantOnly({});
        m_app->preferences()->defaults().remove(Preferences::hasSeenWelcomeKey.toString());
    }
    void cleanup()
    {
        forgetWelcome();
        grantOnly({});
    }

    void contentFollowsTheGrants_data()
    {
        QTest::addColumn<bool>("direct");
        QTest::addColumn<QStringList>("granted");
        QTest::addColumn<QString>("title");
        QTest::addColumn<bool>("box");
        QTest::addRow("direct access with every folder: no box, start") << true << QStringList { u"claude"_s, u"codex"_s } << u"Start the day"_s << false;
        QTest::addRow("grants needed, none given: box, later") << false << QStringList {} << u"Later"_s << true;
        QTest::addRow("grants needed, one given: box, start") << false << QStringList { u"codex"_s } << u"Start the day"_s << true;
    }
    void contentFollowsTheGrants()
    {
        QFETCH(bool, direct);
        QFETCH(QStringList, granted);
        QFETCH(QString, title);
        m_app->grants()->setDirect(direct);
        grantOnly(granted);
        QQuickView *view = welcome();
        QVERIFY(view);
        QQuickItem *button = find(view->rootObject(), u"closingButton"_s);
        QCOMPARE(button->property("text").toString(), title);
        QCOMPARE(button->property("prominent").toBool(), title != u"Later");
        QQuickItem *folderBox = find(view->rootObject(), u"folderBox"_s);
        QTEST(folderBox != nullptr, "box");
        if (!folderBox)
            return;
        QVERIFY(find(find(folderBox, u"folder_claude"_s), u"allowButton"_s));
        // A grant arriving while it is open turns Later into the prominent start button.
        grantOnly({ u"claude"_s, u"codex"_s });
        QCOMPARE(button->property("text").toString(), u"Start the day"_s);
        QVERIFY(button->property("prominent").toBool());
        QVERIFY(find(find(folderBox, u"folder_claude"_s), u"allowedBadge"_s));
    }

    void closingButtonFinishesTheWelcome_data()
    {
        QTest::addColumn<bool>("byKeyboard");
        QTest::addRow("clicked") << false;
        QTest::addRow("Return pressed") << true;
    }
    void closingButtonFinishesTheWelcome()
    {
        QFETCH(bool, byKeyboard);
        Preferences *prefs = m_app->preferences();
        prefs->setPetVisible(false);
        QPointer<QQuickView> view = welcome();
        QVERIFY(view);
        if (byKeyboard) {
            view->requestActivate();
            QTest::keyClick(view.data(), Qt::Key_Return);
        } else {
            click(find(view->rootObject(), u"closingButton"_s));
        }
        QVERIFY(prefs->defaults().value(Preferences::hasSeenWelcomeKey.toString()).toBool());
        QVERIFY(prefs->petVisible());
        QVERIFY(!m_app->windows()->welcome());
        QTRY_VERIFY(view.isNull());
        // The next welcome is a new window with a new view.
        QQuickView *next = welcome();
        QVERIFY(next && next->isVisible());
        QCOMPARE(next->status(), QQuickView::Ready);
    }

    void titleBarCloseKeepsTheWelcomeForNextTime()
    {
        QQuickView *view = welcome();
        view->close();
        QVERIFY(!m_app->preferences()->defaults().contains(Preferences::hasSeenWelcomeKey.toString()));
        QCOMPARE(m_app->windows()->welcome(), view);
    }

    void portraitWearsTheOutfitOfWhenItWasBuilt()
    {
        m_app->preferences()->setOutfit(Preferences::Outfit::frieren);
        QQuickItem *portrait = find(welcome()->rootObject(), u"portrait"_s);
        QVERIFY(portrait);
        QCOMPARE(portrait->property("source").toUrl(), QUrl(u"image://sprites/frieren/0"_s));
        QCOMPARE(portrait->height(), 360.0);
        m_app->preferences()->setOutfit(Preferences::Outfit::hero);
        QCOMPARE(portrait->property("source").toUrl(), QUrl(u"image://sprites/frieren/0"_s));
    }
};

QTEST_MAIN(WelcomeViewTest)
#include "tst_welcomeview.moc"
