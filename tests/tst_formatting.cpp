#include "formatting.h"

#include <QLocale>
#include <QTest>

using namespace Qt::StringLiterals;

class TestFormatting : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
        qputenv("TZ", "JST-9"); // any zone but UTC, or a time shown in UTC could not be told from local time
    }

    void shortTokens_data()
    {
        QTest::addColumn<qint64>("count");
        QTest::addColumn<QString>("text");
        QTest::addRow("below a thousand has no suffix or grouping") << qint64(999) << u"999"_s;
        QTest::addRow("a thousand is the first K") << qint64(1'000) << u"1K"_s;
        QTest::addRow("thousands round the half away from zero") << qint64(1'500) << u"2K"_s;
        QTest::addRow("just below a million stays in K") << qint64(999'999) << u"1000K"_s;
        QTest::addRow("whole millions have no decimal") << qint64(1'000'000) << u"1M"_s;
        QTest::addRow("an exact tie rounds to even as printf does") << qint64(1'250'000) << u"1.2M"_s;
        QTest::addRow("rounds up to the next whole with .0") << qint64(1'960'000) << u"2.0M"_s;
        QTest::addRow("largest count does not overflow") << std::numeric_limits<qint64>::max() << u"9223372036854.8M"_s;
    }
    // Figures never follow the number locale: "1.1M", not "1,1M".
    void shortTokens()
    {
        QFETCH(qint64, count);
        QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
        const QString text = ::shortTokens(count);
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
        QTEST(text, "text");
    }

    void clock_data()
    {
        QTest::addColumn<QDateTime>("date");
        QTest::addColumn<QDateTime>("now");
        QTest::addColumn<QString>("text");
        const QDate tuesday(2024, 3, 12);
        QTest::addRow("today shows the time only") << QDateTime(tuesday, QTime(8, 7)) << QDateTime(tuesday, QTime(17, 30)) << u"08:07"_s;
        QTest::addRow("a minute before midnight is another day, shown with its weekday")
            << QDateTime(tuesday, QTime(23, 59)) << QDateTime(tuesday.addDays(1), QTime(0, 0, 30)) << u"Tue 23:59"_s;
        QTest::addRow("a time given in UTC is shown in local time")
            << QDateTime(tuesday, QTime(8, 7)).toUTC() << QDateTime(tuesday, QTime(12, 0)) << u"08:07"_s;
    }
    void clock()
    {
        QFETCH(QDateTime, date);
        QFETCH(QDateTime, now);
        QTEST(::clock(date, now), "text");
    }

    void ago_data()
    {
        QTest::addColumn<qint64>("msecsBeforeNow");
        QTest::addColumn<QString>("text");
        QTest::addRow("59.9 s is still now") << qint64(59'900) << u"now"_s;
        QTest::addRow("60 s is a minute") << qint64(60'000) << u"1m ago"_s;
        QTest::addRow("exactly an hour") << qint64(3'600'000) << u"1h ago"_s;
        QTest::addRow("the future reads as now") << qint64(-10'000) << u"now"_s;
    }
    void ago()
    {
        QFETCH(qint64, msecsBeforeNow);
        const QDateTime now(QDate(2024, 3, 12), QTime(12, 0));
        QTEST(::ago(now.addMSecs(-msecsBeforeNow), now), "text");
    }
};

QTEST_GUILESS_MAIN(TestFormatting)
#include "tst_formatting.moc"
