#include "reducemotion.h"

#include <QDBusConnection>
#include <QDBusMetaType>
#include <QDBusVariant>
#include <QProcess>
#include <QSaveFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

using SettingGroups = QMap<QString, QVariantMap>;

namespace
{
// The settings half of a desktop portal: answers ReadAll from `groups` and tells changes.
class FakePortal : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Settings")

public:
    SettingGroups groups;

public Q_SLOTS:
    SettingGroups ReadAll(const QStringList &) { return groups; }

Q_SIGNALS:
    void SettingChanged(const QString &group, const QString &key, const QDBusVariant &value);
};

bool writeKdeGlobals(const QString &dir, const QByteArray &text)
{
    // As KDE writes it: a new file renamed over the old one.
    QSaveFile file(dir + u"/kdeglobals"_s);
    return file.open(QIODevice::WriteOnly) && file.write(text) == text.size() && file.commit();
}
} // namespace

class ReduceMotionTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { qDBusRegisterMetaType<SettingGroups>(); }

    void decide_data()
    {
        QTest::addColumn<QString>("group");
        QTest::addColumn<QString>("key");
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<bool>("on");
        const QString kde = u"org.kde.kdeglobals.KDE"_s;
        QTest::addRow("nothing said") << QString() << QString() << QVariant() << false;
        QTest::addRow("appearance asks for less") << u"org.freedesktop.appearance"_s << u"reduced-motion"_s << QVariant(1u) << true;
        // Plain values come through the portal test; one may arrive wrapped in more than one variant.
        const QVariant wrappedTwice = QVariant::fromValue(QDBusVariant(QVariant::fromValue(QDBusVariant(false))));
        QTest::addRow("gnome value wrapped twice") << u"org.gnome.desktop.interface"_s << u"enable-animations"_s << wrappedTwice << true;
        QTest::addRow("kde factor 0 as text") << kde << u"AnimationDurationFactor"_s << QVariant(u"0"_s) << true;
        QTest::addRow("kde factor unreadable") << kde << u"AnimationDurationFactor"_s << QVariant(u"slow"_s) << false;
    }
    void decide()
    {
        QFETCH(QString, group);
        QFETCH(QString, key);
        QFETCH(QVariant, value);
        ReduceMotion::Reading reading;
        reading.take(group, key, value);
        QTEST(ReduceMotion::decide(reading), "on");
    }

    // Without a portal, KDE's file is followed across the renames that replace it.
    void followsKdeGlobalsLive()
    {
        QTemporaryDir config;
        QVERIFY(writeKdeGlobals(config.path(), "[KDE]\nAnimationDurationFactor=1\n"));
        ReduceMotion motion(QDBusConnection(u"no bus"_s), config.path());
        QVERIFY(!motion.isOn());
        QSignalSpy changed(&motion, &ReduceMotion::changed);
        QVERIFY(writeKdeGlobals(config.path(), "[KDE]\nAnimationDurationFactor=0\n"));
        QTRY_VERIFY(motion.isOn());
        QVERIFY(writeKdeGlobals(config.path(), "[KDE]\nAnimationDurationFactor=1\n"));
        QTRY_VERIFY(!motion.isOn());
        QCOMPARE(changed.count(), 2);
    }

    // The portal over a bus of the test's own: its answer wins over the local file (which says the
    // opposite), and its change signal is followed.
    void followsThePortal()
    {
        QProcess bus;
        bus.start(u"dbus-daemon"_s, { u"--session"_s, u"--nofork"_s, u"--print-address"_s });
        if (!bus.waitForStarted())
            QSKIP("dbus-daemon is not installed");
        QVERIFY(bus.waitForReadyRead(5000));
        const QString address = QString::fromUtf8(bus.readLine()).trimmed();
        auto cleanup = qScopeGuard([&] {
            QDBusConnection::disconnectFromBus(u"portal"_s);
            QDBusConnection::disconnectFromBus(u"app"_s);
            bus.kill();
            bus.waitForFinished();
        });

        FakePortal portal;
        portal.groups[u"org.gnome.desktop.interface"_s][u"enable-animations"_s] = false;
        QDBusConnection portalSide = QDBusConnection::connectToBus(address, u"portal"_s);
        QVERIFY(portalSide.registerService(u"org.freedesktop.portal.Desktop"_s));
        QVERIFY(portalSide.registerObject(u"/org/freedesktop/portal/desktop"_s, &portal, QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals));

        QTemporaryDir config;
        QVERIFY(writeKdeGlobals(config.path(), "[KDE]\nAnimationDurationFactor=1\n"));
        ReduceMotion motion(QDBusConnection::connectToBus(address, u"app"_s), config.path());
        QTRY_VERIFY(motion.isOn());

        Q_EMIT portal.SettingChanged(u"org.gnome.desktop.interface"_s, u"enable-animations"_s, QDBusVariant(true));
        QTRY_VERIFY(!motion.isOn());
    }
};

QTEST_GUILESS_MAIN(ReduceMotionTest)
#include "tst_reducemotion.moc"
