#include "fleetaccess.h"

#include <QDir>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using State = FleetAccess::State;

class TestFleetAccess : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void examine_data()
    {
        QTest::addColumn<QString>("made"); // what is made at the examined path: a folder, a file or nothing
        QTest::addColumn<State>("state");
        QTest::addRow("a folder") << u"folder"_s << State::readable;
        QTest::addRow("nothing there") << QString() << State::missing;
        QTest::addRow("a file where the folder belongs") << u"file"_s << State::missing;
    }
    void examine()
    {
        QFETCH(QString, made);
        QTemporaryDir dir;
        const QString path = dir.filePath(u"logs"_s);
        if (made == u"file")
            QVERIFY(QFile(path).open(QIODevice::WriteOnly));
        else if (made == u"folder")
            QVERIFY(QDir().mkpath(path));
        QTEST(FleetAccess::examine(path), "state");
    }

    // Root reads every folder, so what the file system would say is played by the probe.
    void reportsTheFoldersShutToHer()
    {
        QHash<QString, State> states;
        const FleetAccess::Probe probe = [&states](const QString &path) { return states.value(path, State::missing); };
        states.insert(u"/home/u/.codex/sessions"_s, State::unreadable);
        states.insert(u"/home/u/.claude/projects"_s, State::readable);
        FleetAccess access(u"/home/u/"_s, probe);
        QCOMPARE(access.unreadableIds(), QStringList { u"codex"_s });

        QSignalSpy changed(&access, &FleetAccess::unreadableIdsChanged);
        access.check();
        QCOMPARE(changed.size(), 0);
        states.insert(u"/home/u/.claude/projects"_s, State::unreadable);
        access.check();
        QCOMPARE(changed.size(), 1);
        QCOMPARE(access.unreadableIds(), (QStringList { u"claude"_s, u"codex"_s }));
        states.clear();
        access.check();
        QCOMPARE(changed.size(), 2);
        QVERIFY(access.unreadableIds().isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestFleetAccess)
#include "tst_fleetaccess.moc"
