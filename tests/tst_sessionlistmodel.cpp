#include "sessionlistmodel.h"

#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{
const QDateTime now(QDate(2025, 3, 4), QTime(10, 0));

Session session(const QString &name, std::optional<qint64> tokens = 50'000, int minutesAgo = 5)
{
    return Session { u"/logs/"_s + name + u".jsonl"_s, Provider::claude, name, tokens, 200'000, now.addSecs(-3'600), now.addSecs(-60 * minutesAgo) };
}

QList<Session> sessions(const QStringList &names)
{
    QList<Session> list;
    for (const QString &name : names)
        list.append(session(name));
    return list;
}

QStringList projects(const SessionListModel &model)
{
    QStringList names;
    for (int i = 0; i < model.rowCount(); ++i)
        names.append(model.index(i).data(SessionListModel::ProjectRole).toString());
    return names;
}
} // namespace

class SessionListModelTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void publicationIsMergedInPlace_data();
    void publicationIsMergedInPlace();
    void movedRowKeepsItsPersistentIndex();
    void followAndPinFlagsChangeOnlyTheirRows();
    void captionOnlyRefreshNamesTheCaptionRole();
    void caption_data();
    void caption();
};

void SessionListModelTest::publicationIsMergedInPlace_data()
{
    QTest::addColumn<QList<Session>>("before");
    QTest::addColumn<QList<Session>>("after");
    QTest::addColumn<int>("inserted");
    QTest::addColumn<int>("removed");
    QTest::addColumn<int>("moved");
    QTest::addColumn<int>("changed");

    const Session aFuller = session(u"a"_s, 120'000);
    const Session cNewer = session(u"c"_s, 50'000, 0);

    QTest::addRow("first publication inserts every row") << QList<Session> {} << sessions({ u"a"_s, u"b"_s, u"c"_s }) << 3 << 0 << 0 << 0;
    QTest::addRow("an equal publication is silent") << sessions({ u"a"_s, u"b"_s }) << sessions({ u"a"_s, u"b"_s }) << 0 << 0 << 0 << 0;
    QTest::addRow("a new token count changes its row only") << sessions({ u"a"_s, u"b"_s }) << QList<Session> { aFuller, session(u"b"_s) } << 0 << 0 << 0 << 1;
    QTest::addRow("a session that left is removed") << sessions({ u"a"_s, u"b"_s, u"c"_s }) << sessions({ u"a"_s, u"c"_s }) << 0 << 1 << 0 << 0;
    QTest::addRow("the latest activity moves to the top")
        << sessions({ u"a"_s, u"b"_s, u"c"_s }) << QList<Session> { cNewer, session(u"a"_s), session(u"b"_s) } << 0 << 0 << 1 << 1;
    QTest::addRow("a new session is inserted at the top") << sessions({ u"a"_s, u"b"_s }) << sessions({ u"n"_s, u"a"_s, u"b"_s }) << 1 << 0 << 0 << 0;
    QTest::addRow("a whole new day replaces every row") << sessions({ u"a"_s, u"b"_s }) << sessions({ u"c"_s, u"d"_s }) << 2 << 2 << 0 << 0;
    QTest::addRow("a reversed list moves rows") << sessions({ u"a"_s, u"b"_s, u"c"_s }) << sessions({ u"c"_s, u"b"_s, u"a"_s }) << 0 << 0 << 2 << 0;
    QTest::addRow("the last session leaves") << sessions({ u"a"_s }) << QList<Session> {} << 0 << 1 << 0 << 0;
}

void SessionListModelTest::publicationIsMergedInPlace()
{
    QFETCH(QList<Session>, before);
    QFETCH(QList<Session>, after);

    SessionListModel model;
    model.setNow([] { return now; });
    model.update(before, std::nullopt, std::nullopt);

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

    QStringList expected;
    for (const Session &s : after)
        expected.append(s.project);
    QCOMPARE(projects(model), expected);
    for (int i = 0; i < after.size(); ++i)
        QCOMPARE(model.index(i).data(SessionListModel::PercentRole).toInt(), after.at(i).percent());
}

void SessionListModelTest::movedRowKeepsItsPersistentIndex()
{
    // Views keep their place through persistent indices; a move must carry them along.
    SessionListModel model;
    model.update(sessions({ u"a"_s, u"b"_s, u"c"_s }), std::nullopt, std::nullopt);
    const QPersistentModelIndex b(model.index(1));
    model.update(sessions({ u"c"_s, u"a"_s, u"b"_s }), std::nullopt, std::nullopt);
    QVERIFY(b.isValid());
    QCOMPARE(b.row(), 2);
    QCOMPARE(b.data(SessionListModel::ProjectRole).toString(), u"b"_s);
}

void SessionListModelTest::followAndPinFlagsChangeOnlyTheirRows()
{
    SessionListModel model;
    model.setNow([] { return now; });
    const QList<Session> list = sessions({ u"a"_s, u"b"_s, u"c"_s });
    const QString a = list.at(0).id, b = list.at(1).id;
    model.update(list, std::nullopt, a);
    QVERIFY(model.index(0).data(SessionListModel::FollowedRole).toBool());
    QVERIFY(!model.hasPin());

    QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
    QSignalSpy pin(&model, &SessionListModel::hasPinChanged);

    // Pinning b moves the follow from a to b.
    model.update(list, b, b);
    QCOMPARE(changed.size(), 2);
    QCOMPARE(changed.at(0).at(0).value<QModelIndex>().row(), 0);
    QCOMPARE(changed.at(1).at(0).value<QModelIndex>().row(), 1);
    QCOMPARE(pin.size(), 1);
    QVERIFY(model.hasPin());
    QVERIFY(!model.index(0).data(SessionListModel::FollowedRole).toBool());
    QVERIFY(model.index(1).data(SessionListModel::FollowedRole).toBool());
    QVERIFY(model.index(1).data(SessionListModel::PinnedRole).toBool());
    QVERIFY(!model.index(2).data(SessionListModel::PinnedRole).toBool());

    // A pin on a session that is not listed pins nothing visible but still counts as a pin.
    changed.clear();
    model.update(list, u"/logs/gone.jsonl"_s, a);
    QVERIFY(model.hasPin());
    QCOMPARE(pin.size(), 1);
    QCOMPARE(changed.size(), 2);
    for (int i = 0; i < model.rowCount(); ++i)
        QVERIFY(!model.index(i).data(SessionListModel::PinnedRole).toBool());

    model.update(list, std::nullopt, a);
    QVERIFY(!model.hasPin());
    QCOMPARE(pin.size(), 2);
}

void SessionListModelTest::captionOnlyRefreshNamesTheCaptionRole()
{
    // Time passing changes only "5m ago"; the row must not be redrawn as if its session changed.
    QDateTime clockNow = now;
    SessionListModel model;
    model.setNow([&clockNow] { return clockNow; });
    model.update(sessions({ u"a"_s, u"b"_s }), std::nullopt, std::nullopt);
    QCOMPARE(model.index(0).data(SessionListModel::CaptionRole).toString().right(6), u"5m ago"_s);

    QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
    clockNow = now.addSecs(120);
    model.update(sessions({ u"a"_s, u"b"_s }), std::nullopt, std::nullopt);
    QCOMPARE(changed.size(), 2);
    QCOMPARE(changed.at(0).at(2).value<QList<int>>(), QList<int> { SessionListModel::CaptionRole });
    QCOMPARE(model.index(0).data(SessionListModel::CaptionRole).toString().right(6), u"7m ago"_s);
}

void SessionListModelTest::caption_data()
{
    QTest::addColumn<std::optional<qint64>>("tokens");
    QTest::addColumn<qint64>("window");
    QTest::addColumn<int>("secondsAgo");
    QTest::addColumn<QString>("expected");

    QTest::addRow("no reply yet") << std::optional<qint64> {} << qint64(200'000) << 10 << u"No reply yet \u00B7 started 09:05 \u00B7 now"_s;
    QTest::addRow("tokens of the window") << std::optional<qint64> { 46'203 } << qint64(200'000) << 180 << u"46K of 200K \u00B7 started 09:05 \u00B7 3m ago"_s;
    QTest::addRow("a million-token window") << std::optional<qint64> { 1'260'000 } << qint64(2'000'000) << 7'200
                                            << u"1.3M of 2M \u00B7 started 09:05 \u00B7 2h ago"_s;
    QTest::addRow("zero tokens are a reply") << std::optional<qint64> { 0 } << qint64(258'400) << 59 << u"0 of 258K \u00B7 started 09:05 \u00B7 now"_s;
}

void SessionListModelTest::caption()
{
    QFETCH(std::optional<qint64>, tokens);
    QFETCH(qint64, window);
    QFETCH(int, secondsAgo);
    const Session s { u"/x.jsonl"_s, Provider::codex, u"x"_s, tokens, window, QDateTime(now.date(), QTime(9, 5)), now.addSecs(-secondsAgo) };
    QTEST(SessionListModel::caption(s, now), "expected");
}

QTEST_GUILESS_MAIN(SessionListModelTest)
#include "tst_sessionlistmodel.moc"
