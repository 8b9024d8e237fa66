#include "testsupport.h"

#include <QDir>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using TestSupport::ScriptedPrompt;

namespace
{
const FleetFolder &claude()
{
    return FleetAccess::folders().at(0);
}
const FleetFolder &codex()
{
    return FleetAccess::folders().at(1);
}
} // namespace

class TestFleetAccess : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    QString home() const { return m_dir.path() + u"/home/a"_s; }
    std::unique_ptr<QSettings> store() const { return std::make_unique<QSettings>(m_dir.filePath(u"settings.ini"_s), QSettings::IniFormat); }

private Q_SLOTS:
    void launchGrantsEverythingDirectly()
    {
        auto settings = store();
        FleetAccess gate(home(), settings.get());
        QCOMPARE(gate.grantedIdList(), (QStringList { u"claude"_s, u"codex"_s }));
        const auto snapshots = gate.snapshots();
        QCOMPARE(snapshots->size(), 2);
        QCOMPARE(snapshots->at(0), (FleetAccess::Snapshot { home() + u"/.claude/projects"_s, home() + u"/.claude/projects"_s, u"CLAUDE"_s }));
        QCOMPARE(snapshots->at(1), (FleetAccess::Snapshot { home() + u"/.codex/sessions"_s, home() + u"/.codex/sessions"_s, u"CODEX"_s }));
    }

    void covers_data()
    {
        QTest::addColumn<QString>("path"); // ~ is the home folder
        QTest::addColumn<bool>("covered");
        QTest::addRow("the home folder covers every agent folder") << u"~"_s << true;
        QTest::addRow("the agent's own folder") << u"~/.claude"_s << true;
        QTest::addRow("the expected folder") << u"~/.claude/projects"_s << true;
        QTest::addRow("a trailing slash-dot") << u"~/.claude/projects/."_s << true;
        QTest::addRow("a .. step that resolves to it") << u"~/.claude/x/../projects"_s << true;
        QTest::addRow("a folder below the expected one") << u"~/.claude/projects/-Users-a-web"_s << false;
        QTest::addRow("a sibling sharing a name prefix") << u"~/.claudex"_s << false;
        QTest::addRow("a truncated name") << u"~/.clau"_s << false;
        QTest::addRow("the other agent's folder") << u"~/.codex"_s << false;
        QTest::addRow("a .. step that leaves the home") << u"~/../b/.claude/projects"_s << false;
        QTest::addRow("the folder holding the home folders") << u"~/.."_s << false;
        QTest::addRow("the root folder") << u"/"_s << false;
    }
    void covers()
    {
        QFETCH(QString, path);
        auto settings = store();
        FleetAccess gate(home(), settings.get());
        QTEST(gate.covers(path.replace(u'~', home()), claude()), "covered");
    }

    void revokeDropsTheSnapshotAndTheStoredRecord_data()
    {
        QTest::addColumn<QVariant>("stored");
        QTest::addColumn<QVariantMap>("left");
        QTest::addRow("nothing stored leaves an empty record") << QVariant() << QVariantMap();
        QTest::addRow("a malformed record is replaced") << QVariant(u"not a dictionary"_s) << QVariantMap();
        QTest::addRow("only the revoked id is removed")
            << QVariant(QVariantMap { { u"codex"_s, QByteArray("c") }, { u"claude"_s, QByteArray("a") } }) << QVariantMap { { u"claude"_s, QByteArray("a") } };
    }
    void revokeDropsTheSnapshotAndTheStoredRecord()
    {
        QFETCH(QVariant, stored);
        QFETCH(QVariantMap, left);
        auto settings = store();
        settings->clear();
        if (stored.isValid())
            settings->setValue(FleetAccess::bookmarksKey.toString(), stored);
        FleetAccess gate(home(), settings.get());
        QSignalSpy changed(&gate, &FleetAccess::grantedIdsChanged);
        const auto before = gate.snapshots();

        gate.revoke(codex());

        QCOMPARE(changed.size(), 1);
        QCOMPARE(gate.grantedIds(), QSet<QString> { u"claude"_s });
        QCOMPARE(before->size(), 2); // a reader holding the old list keeps it whole
        QCOMPARE(gate.snapshots()->size(), 1);
        QCOMPARE(gate.snapshots()->at(0).provider, u"CLAUDE"_s);
        QSettings reread(m_dir.filePath(u"settings.ini"_s), QSettings::IniFormat);
        QVERIFY(reread.contains(FleetAccess::bookmarksKey.toString()));
        QCOMPARE(reread.value(FleetAccess::bookmarksKey.toString()).toMap(), left);
    }

    void requestGrantsThroughACoveringPick()
    {
        auto settings = store();
        FleetAccess gate(home(), settings.get());
        gate.revoke(codex());
        auto prompt = std::make_unique<ScriptedPrompt>();
        ScriptedPrompt *user = prompt.get();
        user->picks = { home() + u"/"_s };
        gate.setPrompt(std::move(prompt));
        QSignalSpy changed(&gate, &FleetAccess::grantedIdsChanged);

        gate.request(codex());

        QCOMPARE(user->startFolders, QStringList { home() + u"/.codex/sessions"_s });
        QCOMPARE(user->messages.value(0),
            u"Let Yuzuha read how full your Codex sessions are. She reads the token counts in ~/.codex/sessions and nothing leaves your Mac. | Allow"_s);
        QCOMPARE(changed.size(), 1);
        QCOMPARE(gate.grantedIds(), (QSet<QString> { u"claude"_s, u"codex"_s }));
        const auto snapshots = gate.snapshots();
        QCOMPARE(snapshots->size(), 2);
        QCOMPARE(snapshots->at(1), (FleetAccess::Snapshot { home(), home() + u"/.codex/sessions"_s, u"CODEX"_s }));
    }

    void requestRefusalAsksAgainOrStops_data()
    {
        QTest::addColumn<QList<std::optional<QString>>>("picks");
        QTest::addColumn<QList<bool>>("answers");
        QTest::addColumn<int>("choosers");
        QTest::addColumn<bool>("granted");
        const QString wrong = u"/Documents"_s;
        QTest::addRow("cancelling the chooser changes nothing") << QList<std::optional<QString>> { std::nullopt } << QList<bool> {} << 1 << false;
        QTest::addRow("a wrong pick then Cancel changes nothing") << QList<std::optional<QString>> { wrong } << QList<bool> { false } << 1 << false;
        QTest::addRow("a wrong pick, Choose Again, then the right folder grants")
            << QList<std::optional<QString>> { wrong, u"/.claude"_s } << QList<bool> { true } << 2 << true;
        QTest::addRow("Choose Again then cancelling changes nothing")
            << QList<std::optional<QString>> { wrong, std::nullopt } << QList<bool> { true } << 2 << false;
    }
    void requestRefusalAsksAgainOrStops()
    {
        QFETCH(QList<std::optional<QString>>, picks);
        QFETCH(QList<bool>, answers);
        QFETCH(int, choosers);
        QFETCH(bool, granted);
        auto settings = store();
        FleetAccess gate(home(), settings.get());
        gate.revoke(claude());
        auto prompt = std::make_unique<ScriptedPrompt>();
        ScriptedPrompt *user = prompt.get();
        for (const auto &pick : picks)
            user->picks.append(pick ? std::optional<QString>(home() + *pick) : std::nullopt);
        user->answers = answers;
        gate.setPrompt(std::move(prompt));

        gate.request(claude());

        QCOMPARE(user->startFolders.size(), choosers);
        for (const QString &start : std::as_const(user->startFolders))
            QCOMPARE(start, home() + u"/.claude/projects"_s);
        QCOMPARE(user->alerts.size(), answers.size());
        if (!user->alerts.isEmpty())
            QCOMPARE(user->alerts.first(),
                u"That is not where Claude Code writes | Choose ~/.claude/projects, or a folder above it. Yuzuha cannot read anywhere else, so any other pick would leave it seeing nothing. | Choose Again,Cancel"_s);
        QCOMPARE(gate.grantedIds().contains(u"claude"_s), granted);
        QCOMPARE(gate.snapshots()->size(), granted ? 2 : 1);
    }
};

QTEST_GUILESS_MAIN(TestFleetAccess)
#include "tst_fleetaccess.moc"
