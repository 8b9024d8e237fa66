#include "preferences.h"
#include "systemlog.h"
#include "testsupport.h"

#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

class TestPreferences : public QObject
{
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_dir;
    QString settingsFile() const { return m_dir->filePath(u"settings.ini"_s); }
    QString autostart() const { return m_dir->filePath(u"config/autostart"_s); }

    std::unique_ptr<Preferences> make(QString folder = {})
    {
        return std::make_unique<Preferences>(
            std::make_unique<QSettings>(settingsFile(), QSettings::IniFormat), LoginItem(folder.isEmpty() ? autostart() : folder, u"/opt/yuzuha/bin/yuzuha"_s));
    }
    QByteArray fileBytes() const
    {
        QFile file(settingsFile());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    QVariant stored(QStringView key) const { return QSettings(settingsFile(), QSettings::IniFormat).value(key.toString()); }

private Q_SLOTS:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }
    void init() { m_dir = std::make_unique<QTemporaryDir>(); }

    void badStoredValuesFallBack_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<QString>("property");
        QTest::addColumn<QVariant>("loaded");
        const QVariant medium = QVariant::fromValue(Preferences::Size::medium);
        QTest::addRow("petSize 7") << u"petSize"_s << QVariant(7) << u"size"_s << medium;
        QTest::addRow("petSize 0") << u"petSize"_s << QVariant(0) << u"size"_s << QVariant::fromValue(Preferences::Size::small);
        const QVariant seasonal = QVariant::fromValue(Preferences::Outfit::seasonal);
        QTest::addRow("outfit with a capital") << u"outfit"_s << QVariant(u"Office"_s) << u"outfit"_s << seasonal;
        QTest::addRow("a known outfit") << u"outfit"_s << QVariant(u"frieren"_s) << u"outfit"_s << QVariant::fromValue(Preferences::Outfit::frieren);
        QTest::addRow("a garbage Boolean keeps the default") << u"keepOnTop"_s << QVariant(u"perhaps"_s) << u"keepOnTop"_s << QVariant(true);
        QTest::addRow("a bedtime outside the table is kept") << u"bedtimeTokens"_s << QVariant(123) << u"bedtime"_s << QVariant(qint64(123));
        QTest::addRow("a garbage bedtime reads 0") << u"bedtimeTokens"_s << QVariant(u"soon"_s) << u"bedtime"_s << QVariant(qint64(0));
    }
    void badStoredValuesFallBack()
    {
        QFETCH(QString, key);
        QFETCH(QVariant, value);
        QFETCH(QString, property);
        QSettings(settingsFile(), QSettings::IniFormat).setValue(key, value);
        const QByteArray before = fileBytes();
        QTEST(make()->property(property.toLatin1().constData()), "loaded");
        // Loading never rewrites what the user has stored.
        QCOMPARE(fileBytes(), before);
    }

    void writesOnlyWhatChanges_data()
    {
        QTest::addColumn<QByteArray>("file");
        // Qt reads an unterminated quote as one long value, here swallowing petVisible, and would write
        // it back so at any write.
        QTest::addRow("a hand edit with an open quote") << QByteArray("[General]\npetSize=2\nkeepOnTop=false\noutfit=\"eva\npetVisible=true\n");
        QTest::addRow("no settings yet") << QByteArray();
    }
    void writesOnlyWhatChanges()
    {
        QFETCH(QByteArray, file);
        if (!file.isEmpty())
            QVERIFY(!TestSupport::writeFile(settingsFile(), file).isEmpty());
        const auto prefs = make();
        QSignalSpy keepOnTop(prefs.get(), &Preferences::keepOnTopChanged);

        // What a launch assigns, and settings assigned as they are stored: everyone is told, nothing is written.
        prefs->setPetVisible(true);
        prefs->setSize(prefs->size());
        prefs->setKeepOnTop(prefs->keepOnTop());
        QCOMPARE(keepOnTop.size(), 1);
        QCOMPARE(fileBytes(), file);

        prefs->setSpeechBubbles(false);
        QCOMPARE(stored(Preferences::speechBubblesKey), QVariant(u"false"_s));
        prefs->setOutfit(Preferences::Outfit::frieren);
        QCOMPARE(stored(Preferences::outfitKey).toString(), u"frieren"_s);
    }

    void seasonalOutfit_data()
    {
        QTest::addColumn<Preferences::Outfit>("outfit");
        QTest::addColumn<QDate>("day");
        QTest::addColumn<Preferences::Outfit>("resolved");
        using O = Preferences::Outfit;
        QTest::addRow("1 October") << O::seasonal << QDate(2026, 10, 1) << O::halloween;
        QTest::addRow("30 November") << O::seasonal << QDate(2026, 11, 30) << O::office;
        QTest::addRow("1 December") << O::seasonal << QDate(2026, 12, 1) << O::christmas;
        QTest::addRow("a costume stays itself in October") << O::eva << QDate(2026, 10, 15) << O::eva;
    }
    void seasonalOutfit()
    {
        QFETCH(Preferences::Outfit, outfit);
        QFETCH(QDate, day);
        QTEST(Preferences::resolved(outfit, day), "resolved");
    }

    void openAtLogin()
    {
        const auto prefs = make();
        QSignalSpy changed(prefs.get(), &Preferences::openAtLoginChanged);
        QVERIFY(!prefs->openAtLogin());
        prefs->setOpenAtLogin(true);
        QVERIFY(prefs->openAtLogin());
        QFile entry(autostart() + u"/yuzuha.desktop"_s);
        const QByteArray text = entry.open(QIODevice::ReadOnly) ? entry.readAll() : QByteArray();
        QVERIFY2(text.startsWith("[Desktop Entry]\n") && text.contains("\nExec=/opt/yuzuha/bin/yuzuha\n"), text.constData());
        prefs->setOpenAtLogin(false);
        QVERIFY(!prefs->openAtLogin() && !entry.exists());
        QCOMPARE(changed.size(), 2);
    }

    void openAtLoginReadsTheRealEntry_data()
    {
        QTest::addColumn<QByteArray>("entry");
        QTest::addColumn<bool>("enabled");
        QTest::addRow("ours with a quoted path") << QByteArray("[Desktop Entry]\nType=Application\nExec=\"/home/a b/bin/yuzuha\" --x\n") << true;
        QTest::addRow("hidden by the user") << QByteArray("[Desktop Entry]\nType=Application\nExec=yuzuha\nHidden=true\n") << false;
        QTest::addRow("switched off in GNOME") << QByteArray("[Desktop Entry]\nType=Application\nExec=yuzuha\nX-GNOME-Autostart-enabled=false\n") << false;
        QTest::addRow("another program under our name") << QByteArray("[Desktop Entry]\nType=Application\nExec=yuzuha-books\n") << false;
    }
    void openAtLoginReadsTheRealEntry()
    {
        QFETCH(QByteArray, entry);
        QVERIFY(!TestSupport::writeFile(autostart() + u"/yuzuha.desktop"_s, entry).isEmpty());
        QTEST(make()->openAtLogin(), "enabled");
    }

    void openAtLoginFailureIsLogged()
    {
        // A file where the autostart folder's parent should be: no account, not even root, can create the folder.
        QVERIFY(!TestSupport::writeFile(m_dir->filePath(u"blocked"_s), {}).isEmpty());
        const auto prefs = make(m_dir->filePath(u"blocked/autostart"_s));
        QStringList lines;
        const SystemLog::Capture capture([&lines](const QString &, const QString &message) { lines.append(message); });
        QSignalSpy changed(prefs.get(), &Preferences::openAtLoginChanged);
        prefs->setOpenAtLogin(true);
        QCOMPARE(lines.size(), 1);
        QVERIFY2(lines.first().startsWith(u"Yuzuha: open at login change failed: "_s) && lines.first().size() > 40, qPrintable(lines.first()));
        QVERIFY(!prefs->openAtLogin());
        QCOMPARE(changed.size(), 1);
    }
};

QTEST_GUILESS_MAIN(TestPreferences)
#include "tst_preferences.moc"
