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
    QPointer<QQuickView> m_view;

private Q_SLOTS:
    // Each test starts the program over settings that have not seen the welcome, its window up.
    void init()
    {
        m_app = QuickDriver::scratchApplication(m_config.path());
        m_app->preferences()->defaults().remove(Preferences::hasSeenWelcomeKey.toString());
        m_app->windows()->showWelcome();
        m_view = m_app->windows()->welcome();
        QVERIFY(m_view && QTest::qWaitForWindowExposed(m_view));
    }
    void cleanup() { m_app.reset(); }

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
        if (byKeyboard) {
            m_view->requestActivate();
            QTest::keyClick(m_view.data(), Qt::Key_Return);
        } else {
            click(find(m_view->rootObject(), u"closingButton"_s));
        }
        QVERIFY(prefs->defaults().value(Preferences::hasSeenWelcomeKey.toString()).toBool() && prefs->petVisible());
        QTRY_VERIFY(m_view.isNull());
    }

    void titleBarCloseKeepsTheWelcomeForNextTime()
    {
        m_view->close();
        QVERIFY(!m_app->preferences()->defaults().contains(Preferences::hasSeenWelcomeKey.toString()));
        QCOMPARE(m_app->windows()->welcome(), m_view.data());
    }
};

QTEST_MAIN(WelcomeViewTest)
#include "tst_welcomeview.moc"
