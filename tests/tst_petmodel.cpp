#include "petmodel.h"
#include "testsupport.h"

#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;
using Mood = PetModel::Mood;

class TestPetModel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // What she says and shows: the mood decides before the tier, and only a working session shows its fill.
    void lineAndTag_data()
    {
        QTest::addColumn<Mood>("mood");
        QTest::addColumn<std::optional<Session>>("shown");
        QTest::addColumn<int>("tier");
        QTest::addColumn<QString>("romaji");
        QTest::addColumn<QString>("label");
        QTest::addColumn<bool>("alarm");
        const auto at = [](std::optional<qint64> tokens, qint64 window = 200'000) { return std::optional(TestSupport::session(u"p"_s, tokens, window)); };
        QTest::addRow("empty ignores the tier") << Mood::empty << std::optional<Session>() << 4 << u"Ohayou!"_s << u"--%"_s << false;
        QTest::addRow("blind hides the session") << Mood::blind << at(150'000) << 4 << u"Mienai..."_s << u"--%"_s << false;
        QTest::addRow("working at tier 3, percent truncated") << Mood::working << at(92'999) << 3 << u"Kata ga koru..."_s << u"46%"_s << false;
        QTest::addRow("coral from tier 5") << Mood::working << at(160'000) << 5 << u"Nemui... demo ganbaru."_s << u"80%"_s << true;
    }
    void lineAndTag()
    {
        QFETCH(Mood, mood);
        QFETCH(std::optional<Session>, shown);
        QFETCH(int, tier);
        PetModel model;
        model.setMood(mood);
        model.setSession(shown);
        model.setTier(tier);
        QTEST(model.romaji(), "romaji");
        QTEST(model.tagLabel(), "label");
        QTEST(model.alarm(), "alarm");
    }
};

QTEST_GUILESS_MAIN(TestPetModel)
#include "tst_petmodel.moc"
