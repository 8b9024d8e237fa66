#include "sessionlistmodel.h"
#include "sessionspopover.h"
#include "sessionwatcher.h"
#include "theme.h"

#include <QDir>
#include <QFile>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickView>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{
const QDateTime now = QDateTime::currentDateTime();

Session session(int n, std::optional<qint64> tokens = 84'000, Provider provider = Provider::claude)
{
    return Session { u"/logs/%1.jsonl"_s.arg(n), provider, u"project-%1"_s.arg(n), tokens, 200'000, now.addSecs(-3'600), now.addSecs(-60 * n) };
}

// Delegates made by views and repeaters hang in the visual tree, not always in the object tree.
void collect(QQuickItem *item, const QString &name, QList<QQuickItem *> &found)
{
    if (!item->isVisible())
        return;
    if (item->objectName() == name)
        found.append(item);
    for (QQuickItem *child : item->childItems())
        collect(child, name, found);
}

QList<QQuickItem *> named(QQuickItem *root, const QString &name)
{
    QList<QQuickItem *> found;
    collect(root, name, found);
    return found;
}

QQuickItem *one(QQuickItem *root, const QString &name)
{
    const QList<QQuickItem *> found = named(root, name);
    return found.size() == 1 ? found.first() : nullptr;
}

QPoint centreOf(QQuickItem *item)
{
    return item->mapToScene(QPointF(item->width() / 2, item->height() / 2)).toPoint();
}

// The view as the popover hosts it, over a model the test feeds.
struct Hosted {
    SessionListModel model;
    QQuickView view;

    Hosted()
    {
        view.engine()->addImportPath(u"qrc:/qt/qml"_s);
        view.setResizeMode(QQuickView::SizeViewToRootObject);
        view.setInitialProperties({ { u"sessions"_s, QVariant::fromValue(&model) } });
        view.setSource(QUrl(u"qrc:/qt/qml/Yuzuha/SessionsView.qml"_s));
        view.show();
        QVERIFY(QTest::qWaitForWindowExposed(&view));
    }
    QQuickItem *root() const { return view.rootObject(); }
};

void writeLog(const QString &path, const QString &project, qint64 tokens)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Append));
    file.write(R"({"type":"assistant","cwd":"/home/u/)" + project.toUtf8() + R"(","message":{"model":"claude-sonnet-4-5","usage":{"input_tokens":)"
        + QByteArray::number(tokens) + R"(,"cache_creation_input_tokens":0,"cache_read_input_tokens":0}}})" + '\n');
}
} // namespace

class SessionsViewTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void listHeight_data();
    void listHeight();
    void row_data();
    void row();
    void meter_data();
    void meter();
    void pillFollowsThePin();
    void edge_data();
    void edge();
    void placement_data();
    void placement();
    void popoverPinsThroughTheWatcher();
};

void SessionsViewTest::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
}

void SessionsViewTest::listHeight_data()
{
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("height");

    QTest::addRow("one session") << 1 << 82;
    QTest::addRow("six sessions") << 6 << 412;
    QTest::addRow("seven sessions scroll") << 7 << 420;
    QTest::addRow("twelve sessions scroll") << 12 << 420;
}

void SessionsViewTest::listHeight()
{
    QFETCH(int, count);
    Hosted hosted;
    QVERIFY(hosted.root());
    const qreal emptyHeight = hosted.root()->height();
    QVERIFY(one(hosted.root(), u"emptyText"_s));
    QVERIFY(!one(hosted.root(), u"sessionList"_s));

    QList<Session> sessions;
    for (int i = 0; i < count; ++i)
        sessions.append(session(i));
    hosted.model.update(sessions, std::nullopt, std::nullopt);

    // The list lays its rows out at the next frame.
    QTRY_VERIFY(one(hosted.root(), u"sessionList"_s));
    QQuickItem *list = one(hosted.root(), u"sessionList"_s);
    QVERIFY(!one(hosted.root(), u"emptyText"_s));
    QTEST(qRound(list->height()), "height");
    QCOMPARE(hosted.root()->width(), 330.0);
    QVERIFY(hosted.root()->height() > emptyHeight / 2);

    // The popover is as tall as its content: with one session left it shrinks by what the list lost.
    const qreal tall = hosted.root()->height();
    const qreal listHeight = list->height();
    hosted.model.update(sessions.first(1), std::nullopt, std::nullopt);
    QTRY_COMPARE(list->height(), 82.0);
    QCOMPARE(hosted.root()->height(), tall - (listHeight - 82));
}

void SessionsViewTest::row_data()
{
    QTest::addColumn<Session>("session");
    QTest::addColumn<bool>("pinned");
    QTest::addColumn<bool>("followed");
    QTest::addColumn<QString>("percent");
    QTest::addColumn<QString>("badge");
    QTest::addColumn<QColor>("badgeColour");
    QTest::addColumn<QString>("captionStart");

    QTest::addRow("a Claude session") << session(3) << false << false << u"42%"_s << u"CLAUDE"_s << Theme::manila() << u"84K of 200K \u00B7 started "_s;
    QTest::addRow("a Codex session without a reply") << session(3, std::nullopt, Provider::codex) << false << false << u"0%"_s << u"CODEX"_s
                                                     << Theme::partition() << u"No reply yet \u00B7 started "_s;
    QTest::addRow("over the window reads 100 percent")
        << session(3, 250'000) << false << true << u"100%"_s << u"CLAUDE"_s << Theme::manila() << u"250K of 200K \u00B7 started "_s;
    QTest::addRow("pinned and followed") << session(3) << true << true << u"42%"_s << u"CLAUDE"_s << Theme::manila() << u"84K of 200K"_s;
}

void SessionsViewTest::row()
{
    QFETCH(Session, session);
    QFETCH(bool, pinned);
    QFETCH(bool, followed);
    QFETCH(QColor, badgeColour);
    QFETCH(QString, badge);
    QFETCH(QString, captionStart);

    Hosted hosted;
    hosted.model.update({ session }, pinned ? std::optional<QString>(session.id) : std::nullopt, followed ? std::optional<QString>(session.id) : std::nullopt);
    QQuickItem *root = hosted.root();

    QTRY_VERIFY(one(root, u"caption"_s));
    QQuickItem *caption = one(root, u"caption"_s);
    QVERIFY(caption->property("text").toString().startsWith(captionStart));
    QVERIFY(caption->property("text").toString().endsWith(u" \u00B7 3m ago"_s));
    QCOMPARE(one(root, u"project"_s)->property("text").toString(), session.project);
    QTEST(one(root, u"meterPercent"_s)->property("text").toString(), "percent");
    QQuickItem *badgeItem = one(root, u"providerBadge"_s);
    QCOMPARE(badgeItem->property("color").value<QColor>(), badgeColour);
    QCOMPARE(badgeItem->childItems().first()->property("text").toString(), badge);
    QCOMPARE(one(root, u"pinMark"_s) != nullptr, pinned);

    QQuickItem *rowItem = one(root, u"sessionRow"_s);
    QVERIFY(rowItem);
    QCOMPARE(rowItem->height(), 62.0);
    QCOMPARE(rowItem->property("followed").toBool(), followed);
    QCOMPARE(rowItem->property("toolTipText").toString(), pinned ? u"Click to stop following this session"_s : u"Click to make her follow this session"_s);
}

void SessionsViewTest::meter_data()
{
    QTest::addColumn<int>("tier");
    QTest::addColumn<int>("ink");
    QTest::addColumn<int>("coral");

    QTest::addRow("tier 0: all unlit") << 0 << 0 << 0;
    QTest::addRow("tier 4: four ink") << 4 << 4 << 0;
    QTest::addRow("tier 5: five coral") << 5 << 0 << 5;
    QTest::addRow("tier 6: all coral") << 6 << 0 << 6;
}

void SessionsViewTest::meter()
{
    QFETCH(int, tier);
    QFETCH(int, ink);
    QFETCH(int, coral);

    QQmlEngine engine;
    engine.addImportPath(u"qrc:/qt/qml"_s);
    QQmlComponent component(&engine);
    component.setData("import Yuzuha\nMeter {}", QUrl());
    std::unique_ptr<QObject> meter(component.createWithInitialProperties({ { u"tier"_s, tier }, { u"percent"_s, 50 } }));
    QVERIFY2(meter, qPrintable(component.errorString()));
    int inkCount = 0, coralCount = 0, offCount = 0;
    for (int i = 0; i < 6; ++i) {
        QQuickItem *segment = one(qobject_cast<QQuickItem *>(meter.get()), u"segment%1"_s.arg(i));
        QVERIFY(segment);
        const QColor colour = segment->property("color").value<QColor>();
        // Lit segments fill from the left.
        if (i < tier)
            QVERIFY(colour != Theme::segmentOff());
        inkCount += colour == Theme::ink();
        coralCount += colour == Theme::coralDeep();
        offCount += colour == Theme::segmentOff();
    }
    QCOMPARE(inkCount, ink);
    QCOMPARE(coralCount, coral);
    QCOMPARE(offCount, 6 - ink - coral);
}

void SessionsViewTest::pillFollowsThePin()
{
    Hosted hosted;
    QQuickItem *pill = one(hosted.root(), u"followPill"_s);
    QVERIFY(pill);
    const auto text = [&] { return one(hosted.root(), u"followPillText"_s)->property("text").toString(); };

    // Nothing listed, nothing pinned: the pill still shows, mint and disabled.
    QCOMPARE(text(), u"Following the fullest"_s);
    QCOMPARE(pill->property("color").value<QColor>(), Theme::mint());
    QVERIFY(!pill->isEnabled());

    hosted.model.update({ session(1), session(2) }, session(2).id, session(2).id);
    QCOMPARE(text(), u"Follow the fullest"_s);
    QCOMPARE(pill->property("color").value<QColor>(), Theme::sticky());
    QVERIFY(pill->isEnabled());
}

void SessionsViewTest::edge_data()
{
    QTest::addColumn<QRect>("panel");
    QTest::addColumn<Qt::Edge>("edge");

    const QRect screen(0, 0, 1280, 800);
    QTest::addRow("right half opens to her left") << QRect(1000, 400, 270, 372) << Qt::LeftEdge;
    QTest::addRow("left half opens to her right") << QRect(10, 400, 270, 372) << Qt::RightEdge;
    QTest::addRow("exactly centred opens to her right") << QRect(505, 400, 270, 372) << Qt::RightEdge;
    QTest::addRow("half a pixel right of centre opens to her left") << QRect(505, 400, 271, 372) << Qt::LeftEdge;
}

void SessionsViewTest::edge()
{
    QFETCH(QRect, panel);
    QTEST(SessionsPopover::edgeFor(panel, QRect(0, 0, 1280, 800)), "edge");
}

void SessionsViewTest::placement_data()
{
    QTest::addColumn<QRect>("anchor");
    QTest::addColumn<Qt::Edge>("edge");
    QTest::addColumn<QRect>("expected");

    const int g = SessionsPopover::gap;
    QTest::addRow("left of her, centred on her") << QRect(1100, 300, 93, 250) << Qt::LeftEdge << QRect(1100 - g - 330, 325, 330, 200);
    QTest::addRow("right of her") << QRect(100, 300, 93, 250) << Qt::RightEdge << QRect(193 + g, 325, 330, 200);
    QTest::addRow("kept above the bottom edge") << QRect(100, 700, 93, 250) << Qt::RightEdge << QRect(193 + g, 600, 330, 200);
    QTest::addRow("kept inside the left edge") << QRect(200, 300, 93, 250) << Qt::LeftEdge << QRect(0, 325, 330, 200);
}

void SessionsViewTest::placement()
{
    QFETCH(QRect, anchor);
    QFETCH(Qt::Edge, edge);
    QTEST(SessionsPopover::placement(anchor, QSize(330, 200), edge, QRect(0, 0, 1280, 800)), "expected");
}

void SessionsViewTest::popoverPinsThroughTheWatcher()
{
    // The popover over a real watcher reading logs of our own: a click on a row follows it, a second
    // click lets go, and the pill lets go too.
    QTemporaryDir dir;
    const QString folder = dir.filePath(u"projects/-home-u"_s);
    QVERIFY(QDir().mkpath(folder));
    writeLog(folder + u"/one.jsonl"_s, u"shop"_s, 60'000);
    writeLog(folder + u"/two.jsonl"_s, u"web"_s, 150'000);

    SessionWatcher::Config config;
    const QString root = dir.filePath(u"projects"_s);
    config.snapshots = [root] { return std::make_shared<const QList<FleetAccess::Snapshot>>(QList<FleetAccess::Snapshot> { { root, root, u"CLAUDE"_s } }); };
    config.settingsFile = dir.filePath(u"settings.ini"_s);
    config.settingsFormat = QSettings::IniFormat;
    config.sweepReport = [](qsizetype, qsizetype) {};
    SessionWatcher watcher(config);
    QSignalSpy published(&watcher, &SessionWatcher::sessionsChanged);
    watcher.start();
    QVERIFY(published.wait(5'000));
    QCOMPARE(watcher.sessions().size(), 2);

    auto *popover = new SessionsPopover(&watcher, nullptr, QRect(900, 300, 93, 250));
    QPointer<SessionsPopover> guard(popover);
    QQuickView *window = popover->window();
    QVERIFY(QTest::qWaitForWindowExposed(window));
    QCOMPARE(window->width(), 330);
    QCOMPARE(popover->model()->rowCount(), 2);

    const auto rowOf = [&](const QString &project) -> QQuickItem * {
        for (QQuickItem *row : named(window->rootObject(), u"sessionRow"_s)) {
            if (row->property("project").toString() == project)
                return row;
        }
        return nullptr;
    };
    QQuickItem *shop = rowOf(u"shop"_s);
    QVERIFY(shop);
    // The fullest session is followed without a pin.
    QVERIFY(rowOf(u"web"_s)->property("followed").toBool());
    QVERIFY(!shop->property("followed").toBool());

    QTest::mouseClick(window, Qt::LeftButton, {}, centreOf(shop));
    QCOMPARE(watcher.pinnedID(), std::optional<QString>(folder + u"/one.jsonl"_s));
    QTRY_VERIFY(shop->property("pinned").toBool());
    QVERIFY(shop->property("followed").toBool());
    QVERIFY(!rowOf(u"web"_s)->property("followed").toBool());

    QTest::mouseClick(window, Qt::LeftButton, {}, centreOf(shop));
    QCOMPARE(watcher.pinnedID(), std::nullopt);
    QVERIFY(!shop->property("pinned").toBool());

    QTest::mouseClick(window, Qt::LeftButton, {}, centreOf(shop));
    QVERIFY(watcher.pinnedID());
    QTest::mouseClick(window, Qt::LeftButton, {}, centreOf(one(window->rootObject(), u"followPill"_s)));
    QCOMPARE(watcher.pinnedID(), std::nullopt);

    // A press outside the popover closes it, hidden before it says so, and it then goes away.
    bool hiddenWhenClosed = false;
    connect(popover, &SessionsPopover::closed, this, [&] { hiddenWhenClosed = !window->isVisible(); });
    QSignalSpy closed(popover, &SessionsPopover::closed);
    QTest::mousePress(window, Qt::LeftButton, {}, QPoint(-20, 10));
    QCOMPARE(closed.size(), 1);
    QVERIFY(hiddenWhenClosed);
    QTRY_VERIFY(guard.isNull());
}

QTEST_MAIN(SessionsViewTest)
#include "tst_sessionsview.moc"
