#include "sessionlistmodel.h"
#include "testsupport.h"

#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{
const QDateTime now(QDate(2025, 3, 4), QTime(10, 0));

Session session(const QString &name, std::optional<qint64> tokens = 50'000, int minutesAgo = 5)
{
    return TestSupport::session(name, tokens, 200'000, now.addSecs(-60 * minutesAgo));
}

/// One session per letter, each named by it.
QList<Session> sessions(QStringView letters)
{
    QList<Session> list;
    for (const QChar letter : letters)
        list.append(session(letter));
    return list;
}

QVariantList column(const SessionListModel &model, int role)
{
    QVariantList values;
    for (int i = 0; i < model.rowCount(); ++i)
        values.append(model.index(i).data(role));
    return values;
}
} // namespace

class SessionListModelTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void publicationIsMergedInPlace_data()
    {
        QTest::addColumn<QList<Session>>("before");
        QTest::addColumn<QList<Session>>("after");
        QTest::addColumn<int>("inserted");
        QTest::addColumn<int>("removed");
        QTest::addColumn<int>("moved");
        QTest::addColumn<int>("changed");

        const Session aFuller = session(u"a"_s, 120'000);
        const Session cNewer = session(u"c"_s, 50'000, 0);

        QTest::addRow("first publication inserts every row") << QList<Session> {} << sessions(u"abc") << 3 << 0 << 0 << 0;
        QTest::addRow("an equal publication is silent") << sessions(u"ab") << sessions(u"ab") << 0 << 0 << 0 << 0;
        QTest::addRow("a new token count changes its row only") << sessions(u"ab") << QList<Session> { aFuller, session(u"b"_s) } << 0 << 0 << 0 << 1;
        QTest::addRow("a session that left is removed") << sessions(u"abc") << sessions(u"ac") << 0 << 1 << 0 << 0;
        QTest::addRow("the latest activity moves to the top")
            << sessions(u"abc") << QList<Session> { cNewer, session(u"a"_s), session(u"b"_s) } << 0 << 0 << 1 << 1;
        QTest::addRow("a reversed list moves rows") << sessions(u"abc") << sessions(u"cba") << 0 << 0 << 2 << 0;
    }

    void publicationIsMergedInPlace()
    {
        QFETCH(QList<Session>, before);
        QFETCH(QList<Session>, after);

        SessionListModel model;
        model.setNow([] { return now; });
        model.update(before, std::nullopt, std::nullopt);
        // Views keep their place through persistent indices: the last row stays in every case, moved or not.
        const QPersistentModelIndex last = model.index(int(before.size()) - 1);

        QSignalSpy inserted(&model, &QAbstractItemModel::rowsInserted);
        QSignalSpy removed(&model, &QAbstractItemModel::rowsRemoved);
        QSignalSpy moved(&model, &QAbstractItemModel::rowsMoved);
        QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
        QSignalSpy reset(&model, &QAbstractItemModel::modelReset);
        QSignalSpy count(&model, &SessionListModel::countChanged);

        model.update(after, std::nullopt, std::nullopt);

        QTEST(int(inserted.size()), "inserted");
        QTEST(int(removed.size()), "removed");
        QTEST(int(moved.size()), "moved");
        QTEST(int(changed.size()), "changed");
        QCOMPARE(reset.size(), 0);
        QCOMPARE(count.size(), before.size() == after.size() ? 0 : 1);

        QVariantList projects, percents;
        for (const Session &s : after) {
            projects.append(s.project);
            percents.append(s.percent());
        }
        QCOMPARE(column(model, SessionListModel::ProjectRole), projects);
        QCOMPARE(column(model, SessionListModel::PercentRole), percents);
        if (!before.isEmpty())
            QCOMPARE(last.data(SessionListModel::ProjectRole).toString(), before.last().project);
    }

    void caption()
    {
        const auto startedAt905 = [](std::optional<qint64> tokens, int secondsAgo) {
            return Session { u"/x.jsonl"_s, Provider::codex, u"x"_s, tokens, 200'000, QDateTime(now.date(), QTime(9, 5)), now.addSecs(-secondsAgo) };
        };
        QCOMPARE(SessionListModel::caption(startedAt905(std::nullopt, 10), now), u"No reply yet \u00B7 started 09:05 \u00B7 now"_s);
        QCOMPARE(SessionListModel::caption(startedAt905(46'203, 180), now), u"46K of 200K \u00B7 started 09:05 \u00B7 3m ago"_s);
    }
};

QTEST_GUILESS_MAIN(SessionListModelTest)
#include "tst_sessionlistmodel.moc"
