#include "session.h"

#include <QTest>

#include <limits>

using namespace Qt::StringLiterals;

using OptionalCount = std::optional<qint64>;
Q_DECLARE_METATYPE(OptionalCount)

class TestTiers : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void fill_data()
    {
        QTest::addColumn<OptionalCount>("tokens");
        QTest::addColumn<qint64>("window");
        QTest::addColumn<int>("percent");
        QTest::addColumn<int>("tier");
        constexpr qint64 max = std::numeric_limits<qint64>::max();
        QTest::addRow("no tokens") << OptionalCount() << qint64(200'000) << 0 << 0;
        QTest::addRow("zero window") << OptionalCount(150'000) << qint64(0) << 0 << 0;
        QTest::addRow("negative tokens read as empty") << OptionalCount(-50'000) << qint64(200'000) << 0 << 0;
        QTest::addRow("14.9995 percent truncates to 14") << OptionalCount(29'999) << qint64(200'000) << 14 << 0;
        QTest::addRow("15 percent is tier 1") << OptionalCount(30'000) << qint64(200'000) << 15 << 1;
        QTest::addRow("94 percent is still tier 5") << OptionalCount(189'999) << qint64(200'000) << 94 << 5;
        QTest::addRow("95 percent is bedtime") << OptionalCount(190'000) << qint64(200'000) << 95 << 6;
        QTest::addRow("over the window caps at 100") << OptionalCount(250'000) << qint64(200'000) << 100 << 6;
        QTest::addRow("largest count in the largest window") << OptionalCount(max) << max << 100 << 6;
    }
    void fill()
    {
        QFETCH(OptionalCount, tokens);
        QFETCH(qint64, window);
        QTEST(Tiers::percent(tokens, window), "percent");
        QTEST(Tiers::tier(tokens, window), "tier");
    }
};

QTEST_GUILESS_MAIN(TestTiers)
#include "tst_tiers.moc"
