#include "quickdriver.h"

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
    void init() { m_app->preferences()->defaults().remove(Preferences::hasSeenWelcomeKey.toString()); }
    void cleanup() { forgetWelcome(); }

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
        QVERIFY(prefs->defaults().value(Preferences::hasSeenWelcomeKey.toString()).toBool() && prefs->petVisible());
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
};

QTEST_MAIN(WelcomeViewTest)
#include "tst_welcomeview.moc"
