// She on a real X server: started by pet_e2e.sh under its own Xvfb with a scratch home that holds
// one Claude Code session at 46 %. Pass-through and dragging are checked from outside
// with xdotool; what she shows is read from the program's own state.
#include "application.h"
#include "petcontroller.h"
#include "petmodel.h"
#include "petpanel.h"
#include "petstageview.h"
#include "sessionwatcher.h"
#include "testsupport.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QPainter>
#include <QProcess>
#include <QRasterWindow>
#include <QRegularExpression>
#include <QScreen>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{
QString run(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.start(program, arguments);
    process.waitForFinished(10'000);
    return QString::fromUtf8(process.readAllStandardOutput());
}

// The X window under the pointer after moving it to a screen position.
void moveTo(QPoint global, int settle)
{
    run(u"xdotool"_s, { u"mousemove"_s, QString::number(global.x()), QString::number(global.y()) });
    QTest::qWait(settle);
}

quint64 windowUnder(QPoint global)
{
    moveTo(global, 100);
    const QString out = run(u"xdotool"_s, { u"getmouselocation"_s, u"--shell"_s });
    const QRegularExpressionMatch m = QRegularExpression(u"WINDOW=(\\d+)"_s).match(out);
    return m.hasMatch() ? m.captured(1).toULongLong() : 0;
}

// A plain window filling the screen, so a click that falls through her has somewhere to land.
class Beneath : public QRasterWindow
{
protected:
    void paintEvent(QPaintEvent *) override { QPainter(this).fillRect(QRect(QPoint(), size()), QColor(70, 110, 150)); }
};

QString logPath()
{
    return QDir::homePath() + u"/.claude/projects/-work-billing-api/session.jsonl"_s;
}

/// Appends a reply whose context is 12,000 tokens plus `cacheRead` read from the cache.
bool appendUsage(qint64 cacheRead)
{
    const QByteArray usage = R"("input_tokens":2000,"cache_creation_input_tokens":10000,"cache_read_input_tokens":)" + QByteArray::number(cacheRead);
    return !TestSupport::writeFile(logPath(), TestSupport::claudeReply(usage, "claude-sonnet-4-5", "/work/billing-api") + '\n', {}, QIODevice::Append)
                .isEmpty();
}
} // namespace

class TestPetOnX11 : public QObject
{
    Q_OBJECT

    Beneath m_beneath;
    std::unique_ptr<Application> m_app;
    PetController *m_pet = nullptr;

    // A point of her sprite, in screen coordinates, inside a 9 × 9 block whose alpha is all above (or all
    // at most) the threshold, so neither rounding between screen and window coordinates nor her breathing
    // (a device pixel up and down, with the input shape following) can change the answer.
    std::optional<QPoint> spritePoint(bool opaque) const
    {
        const PetStageView *stage = m_pet->stage();
        const QRect sprite = stage->spriteRect().toAlignedRect();
        const auto uniform = [stage, opaque](int x, int y) {
            for (int dy = -4; dy <= 4; ++dy)
                for (int dx = -4; dx <= 4; ++dx)
                    if (stage->isOnHer(QPointF(x + dx + 0.5, y + dy + 0.5)) != opaque)
                        return false;
            return true;
        };
        for (int y = sprite.top() + sprite.height() / 3; y < sprite.bottom() - 4; y += 7)
            for (int x = sprite.left() + 5; x < sprite.right() - 4; ++x)
                if (uniform(x, y))
                    return m_pet->panel()->position() + QPoint(x, y);
        return std::nullopt;
    }

private Q_SLOTS:
    void initTestCase()
    {
        if (QGuiApplication::platformName() != u"xcb")
            QSKIP("needs an X server; run through pet_e2e.sh");
        QVERIFY(QFile::exists(logPath()));
        m_beneath.setGeometry(QGuiApplication::primaryScreen()->geometry());
        m_beneath.show();
        QVERIFY(QTest::qWaitForWindowExposed(&m_beneath));

        // The program's own objects and start-up. The program reads the account's home from the user
        // database; point the sweep at the scratch home instead, and leave the welcome window out.
        Application::Environment environment = Application::userEnvironment();
        environment.home = QDir::homePath();
        environment.store->setValue(Preferences::hasSeenWelcomeKey.toString(), true);
        m_app = std::make_unique<Application>(std::move(environment));
        m_app->launch();
        m_pet = m_app->pet();
        QVERIFY(QTest::qWaitForWindowExposed(m_pet->panel()));
    }

    void showsTheSessionAt46()
    {
        QTRY_COMPARE_WITH_TIMEOUT(m_pet->model()->tagLabel(), u"46%"_s, 10'000);
        QCOMPARE(m_pet->model()->mood(), PetModel::Mood::working);
        QCOMPARE(m_pet->stage()->tier(), 3);
    }

    void pointerFallsThroughTransparentPixels()
    {
        const auto clear = spritePoint(false);
        const auto solid = spritePoint(true);
        QVERIFY(clear && solid);
        QCOMPARE(windowUnder(*clear), quint64(m_beneath.winId()));
        QCOMPARE(windowUnder(*solid), quint64(m_pet->panel()->winId()));
        QTRY_VERIFY(m_pet->model()->hovering());
        // Off her sideways into the empty middle of the panel: the bubble goes and the band stops catching the pointer.
        QCOMPARE(windowUnder(m_pet->panel()->position() + QPoint(8, 200)), quint64(m_beneath.winId()));
        QTRY_VERIFY(!m_pet->model()->hovering());
    }

    void dragMovesAndRemembers()
    {
        const auto solid = spritePoint(true);
        QVERIFY(solid);
        const QPoint before = m_pet->panel()->position();
        const QPoint d(-200, -120);
        moveTo(*solid, 100);
        run(u"xdotool"_s, { u"mousedown"_s, u"1"_s });
        QTest::qWait(100);
        for (int step = 1; step <= 4; ++step)
            moveTo(*solid + d * step / 4, 50);
        run(u"xdotool"_s, { u"mouseup"_s, u"1"_s });
        QTRY_COMPARE(m_pet->panel()->position(), before + d);
        const QRect primary = QGuiApplication::primaryScreen()->geometry();
        const QString expected = PetController::formatOrigin(m_pet->panel()->geometry(), primary.y() + primary.height());
        QTRY_COMPARE(m_app->preferences()->defaults().value(u"petOrigin"_s).toString(), expected);
    }

    void newUsageChangesHerTier()
    {
        QVERIFY(appendUsage(112'000)); // 124,000 of 200,000: 62 %
        QTRY_COMPARE_WITH_TIMEOUT(m_pet->stage()->tier(), 4, 5'000);
        QCOMPARE(m_pet->model()->tagLabel(), u"62%"_s);
    }
};

QTEST_MAIN(TestPetOnX11)
#include "tst_pet_e2e.moc"
