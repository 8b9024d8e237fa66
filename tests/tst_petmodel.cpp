#include "petmodel.h"

#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{
Session session(std::optional<qint64> tokens, qint64 window, QString project = u"billing-api"_s)
{
    Session s;
    s.id = u"/home/u/.claude/projects/x/a.jsonl"_s;
    s.project = std::move(project);
    s.tokens = tokens;
    s.window = window;
    return s;
}
} // namespace

class TestPetModel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void lineFollowsMoodAndTier_data()
    {
        QTest::addColumn<PetModel::Mood>("mood");
        QTest::addColumn<int>("tier");
        QTest::addColumn<QString>("romaji");
        QTest::addColumn<QString>("english");
        QTest::addRow("empty ignores the tier") << PetModel::Mood::empty << 4 << u"Ohayou!"_s << u"Start Claude Code or Codex and I'll keep the books."_s;
        QTest::addRow("blind ignores the tier") << PetModel::Mood::blind << 6 << u"Mienai..."_s << u"I can't see your sessions yet. Click me to let me in."_s;
        QTest::addRow("working tier 0") << PetModel::Mood::working << 0 << u"Makasete!"_s << u"Leave it to me!"_s;
        QTest::addRow("working tier 3") << PetModel::Mood::working << 3 << u"Kata ga koru..."_s << u"My shoulders are so stiff..."_s;
        QTest::addRow("working tier 6") << PetModel::Mood::working << 6 << u"Kyou wa koko made. Oyasumi!"_s << u"That's it for today. Good night!"_s;
    }
    void lineFollowsMoodAndTier()
    {
        QFETCH(PetModel::Mood, mood);
        QFETCH(int, tier);
        PetModel model;
        model.setSession(session(1000, 2000));
        model.setTier(tier);
        model.setMood(mood);
        QFETCH(QString, romaji);
        QFETCH(QString, english);
        QCOMPARE(model.romaji(), romaji);
        QCOMPARE(model.english(), english);
    }

    void freshModelGreets()
    {
        PetModel model;
        QCOMPARE(model.line(), (PetModel::Line { u"Ohayou!"_s, u"Start Claude Code or Codex and I'll keep the books."_s }));
        QCOMPARE(model.tagLabel(), u"--%"_s);
        QVERIFY(!model.alarm());
    }

    void tierStaysInTable()
    {
        PetModel model;
        model.setTier(9);
        QCOMPARE(model.tier(), 6);
        model.setTier(-2);
        QCOMPARE(model.tier(), 0);
    }

    void equalAssignmentStillNotifies()
    {
        PetModel model;
        QSignalSpy hovering(&model, &PetModel::hoveringChanged);
        QSignalSpy any(&model, &PetModel::changed);
        model.setHovering(false);
        model.setHovering(false);
        model.setMood(PetModel::Mood::empty);
        QCOMPARE(hovering.count(), 2);
        QCOMPARE(any.count(), 3);
    }

    void tag_data()
    {
        QTest::addColumn<PetModel::Mood>("mood");
        QTest::addColumn<std::optional<Session>>("shown");
        QTest::addColumn<int>("tier");
        QTest::addColumn<QString>("label");
        QTest::addColumn<bool>("alarm");
        QTest::addRow("no session") << PetModel::Mood::empty << std::optional<Session>() << 0 << u"--%"_s << false;
        QTest::addRow("blind with a session") << PetModel::Mood::blind << std::optional(session(150'000, 200'000)) << 4 << u"--%"_s << false;
        QTest::addRow("46 percent truncated") << PetModel::Mood::working << std::optional(session(92'999, 200'000)) << 3 << u"46%"_s << false;
        QTest::addRow("coral from tier 5") << PetModel::Mood::working << std::optional(session(160'000, 200'000)) << 5 << u"80%"_s << true;
        QTest::addRow("beyond the window caps at 100") << PetModel::Mood::working << std::optional(session(250'000, 200'000)) << 6 << u"100%"_s << true;
        QTest::addRow("window of 0") << PetModel::Mood::working << std::optional(session(5'000, 0)) << 0 << u"0%"_s << false;
        QTest::addRow("no token count") << PetModel::Mood::working << std::optional(session(std::nullopt, 200'000)) << 0 << u"0%"_s << false;
    }
    void tag()
    {
        QFETCH(PetModel::Mood, mood);
        QFETCH(std::optional<Session>, shown);
        QFETCH(int, tier);
        PetModel model;
        model.setMood(mood);
        model.setSession(shown);
        model.setTier(tier);
        QFETCH(QString, label);
        QCOMPARE(model.tagLabel(), label);
        QFETCH(bool, alarm);
        QCOMPARE(model.alarm(), alarm);
    }

    void detail_data()
    {
        QTest::addColumn<Session>("shown");
        QTest::addColumn<QString>("detail");
        QTest::addRow("counts") << session(84'200, 200'000) << u"billing-api \u00B7 84K / 200K"_s;
        QTest::addRow("fresh without a count") << session(std::nullopt, 200'000) << u"billing-api \u00B7 fresh"_s;
    }
    void detail()
    {
        QFETCH(Session, shown);
        QFETCH(QString, detail);
        QCOMPARE(PetModel::detail(shown), detail);
    }
};

QTEST_GUILESS_MAIN(TestPetModel)
#include "tst_petmodel.moc"
