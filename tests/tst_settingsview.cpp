#include "quickdriver.h"

#include "qmlregistration.h"
#include "sessionwatcher.h"
#include "windowmanager.h"

#include <QAccessible>
#include <QQuickView>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;
using QuickDriver::click;
using QuickDriver::find;

class SettingsViewTest : public QObject
{
    Q_OBJECT

    QTemporaryDir m_config;
    std::unique_ptr<Application> m_app;
    QQuickView *m_view = nullptr;
    QSet<QString> m_unreadable; // played folder permissions, by path

    QQuickItem *item(const QString &name) const { return find(m_view->rootObject(), name); }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_config.isValid());
        m_app = QuickDriver::scratchApplication(m_config.path(),
            [this](const QString &path) { return m_unreadable.contains(path) ? FleetAccess::State::unreadable : FleetAccess::State::missing; });
        m_app->windows()->showSettings();
        m_view = m_app->windows()->settings();
        QVERIFY(m_view && QTest::qWaitForWindowExposed(m_view));
        QCOMPARE(m_view->status(), QQuickView::Ready);
    }
    void cleanupTestCase() { m_app.reset(); }

    void switchWritesItsSetting_data()
    {
        QTest::addColumn<QString>("property"); // also the stored key, and the switch's name without "Switch"
        for (const QString &property : { u"keepOnTop"_s, u"allSpaces"_s, u"speechBubbles"_s, u"percentTag"_s })
            QTest::addRow("%s", qPrintable(property)) << property;
    }

    void switchWritesItsSetting()
    {
        QFETCH(QString, property);
        Preferences *prefs = m_app->preferences();
        QQuickItem *control = item(property + u"Switch"_s);
        QVERIFY(control);

        // A stored value shows; a click writes the other one through.
        for (const bool stored : { false, true }) {
            prefs->setProperty(property.toUtf8(), stored);
            QCOMPARE(QAccessible::queryAccessibleInterface(control)->state().checked, stored);

            click(control);
            QCOMPARE(prefs->property(property.toUtf8()).toBool(), !stored);
        }
    }

    // The last tile, below the fold: it is scrolled to, written, and the only card selected.
    void pickingAnOutfitWritesIt()
    {
        const Preferences::Outfit to = Preferences::Outfit::seifuku;
        Preferences *prefs = m_app->preferences();
        prefs->setOutfit(Preferences::Outfit::seasonal);
        click(item(u"tile_"_s + Preferences::rawValue(to)));
        QCOMPARE(prefs->outfit(), to);

        // Exactly one card is selected, and assistive tools hear which.
        for (const Preferences::OutfitName &name : Preferences::outfits) {
            QQuickItem *each = item(u"tile_"_s + name.raw.toString());
            QCOMPARE(each->property("selected").toBool(), name.outfit == to);
            QCOMPARE(QAccessible::queryAccessibleInterface(each)->state().checked, name.outfit == to);
        }
    }

    // A count written by hand selects no row; each click writes its count, selects only its row and hands it to the watcher.
    void bedtimeRows()
    {
        Preferences *prefs = m_app->preferences();
        prefs->setBedtime(123);
        const auto selected = [this] {
            QList<int> rows;
            for (int row = 0; row < 3; ++row) {
                QQuickItem *bedtime = item(u"bedtime_%1"_s.arg(row));
                if (bedtime->property("selected").toBool() && QAccessible::queryAccessibleInterface(bedtime)->state().checked)
                    rows.append(row);
            }
            return rows;
        };
        QCOMPARE(selected(), QList<int>());
        for (const auto &[row, tokens] : { std::pair { 2, qint64(400'000) }, std::pair { 1, qint64(200'000) }, std::pair { 0, qint64(0) } }) {
            click(item(u"bedtime_%1"_s.arg(row)));
            QCOMPARE(prefs->bedtime(), tokens);
            QCOMPARE(m_app->watcher()->bedtime(), tokens);
            QCOMPARE(selected(), QList<int> { row });
        }
    }

    void folderRowsSayWhatSheCannotRead()
    {
        const auto badges = [this] {
            QStringList texts;
            for (const QString &id : { u"claude"_s, u"codex"_s })
                texts << find(item(u"folder_"_s + id), u"readingBadge"_s)->property("text").toString();
            return texts;
        };
        QCOMPARE(badges(), (QStringList { u"Reading"_s, u"Reading"_s }));
        m_unreadable.insert(m_app->access()->home() + u"/.codex/sessions"_s);
        m_app->access()->check();
        QCOMPARE(badges(), (QStringList { u"Reading"_s, u"Cannot read"_s }));
    }
};

QTEST_MAIN(SettingsViewTest)
#include "tst_settingsview.moc"
