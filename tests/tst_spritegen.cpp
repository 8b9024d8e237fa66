#include "artbook.h"
#include "generate.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

// The committed sprites and icons are what the generator makes from the committed art sources, byte for byte.
class TestSpriteGen : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_out;

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_out.isValid());
        QString error;
        QVERIFY2(SpriteGen::writeAll(QStringLiteral(YUZUHA_ART_DIR), m_out.path(), &error), qPrintable(error));
    }

    void committedFilesMatch_data()
    {
        QTest::addColumn<QString>("file");
        for (const QString &file : SpriteGen::outputFiles())
            QTest::addRow("%s", qPrintable(file)) << file;
    }
    void committedFilesMatch()
    {
        QFETCH(QString, file);
        QFile made(m_out.filePath(file));
        QFile committed(QStringLiteral(YUZUHA_RESOURCE_DIR) + u'/' + file);
        QVERIFY2(made.open(QIODevice::ReadOnly), "the generator did not write it");
        QVERIFY2(committed.open(QIODevice::ReadOnly), "not committed; run spritegen");
        QVERIFY2(made.readAll() == committed.readAll(), "differs from the art sources; run spritegen and commit");
    }

    void everyTierDiffersFromItsNeighbour()
    {
        QString error;
        for (const QString &outfit : SpriteGen::outfits()) {
            const auto book = Art::load(QStringLiteral(YUZUHA_ART_DIR), outfit, &error);
            QVERIFY2(book, qPrintable(error));
            QImage previous;
            for (int t = 0; t < Art::tierCount; ++t) {
                const QImage grid = Art::render(*book, t, &error);
                QVERIFY2(!grid.isNull(), qPrintable(error));
                QCOMPARE(grid.size(), QSize(Art::gridWidth, Art::gridHeight));
                QVERIFY2(grid != previous, qPrintable(u"%1 t%2 looks like t%3"_s.arg(outfit).arg(t).arg(t - 1)));
                previous = grid;
            }
        }
    }

    void badSourcesAreReportedWithTheirLine_data()
    {
        QTest::addColumn<QString>("source");
        QTest::addColumn<QString>("reason");
        QTest::addRow("a shape before any layer") << u"rect K 0 0 1 1\n"_s << u"x.art:1: shape outside a layer"_s;
        QTest::addRow("an unknown slot") << u"layer nowhere\n"_s << u"x.art:1: layer needs a known slot"_s;
        QTest::addRow("a rect with three numbers") << u"layer body\n\nrect K 0 0 1\n"_s << u"x.art:3: wrong number of coordinates"_s;
        QTest::addRow("a tier out of range") << u"layer body\nrect K 0 0 1 1 @7\n"_s << u"x.art:2: bad tiers @7"_s;
        QTest::addRow("an open group") << u"layer body\n{ K o\nrect 0 0 1 1\n"_s << u"x.art:3: unclosed {"_s;
        QTest::addRow("a grid without end") << u"layer body\ngrid 0 0\nKK\n"_s << u"x.art:3: grid without end"_s;
    }
    void badSourcesAreReportedWithTheirLine()
    {
        QFETCH(QString, source);
        QFETCH(QString, reason);
        QTemporaryDir dir;
        QFile file(dir.filePath(u"x.art"_s));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(source.toUtf8());
        file.close();
        QString error;
        QVERIFY(!Art::load(dir.path(), u"office"_s, &error));
        QCOMPARE(error, reason);
    }

    void unknownColourFailsTheRender()
    {
        QTemporaryDir dir;
        QVERIFY(QDir().mkpath(dir.filePath(u"outfits"_s)));
        QFile file(dir.filePath(u"outfits/office.art"_s));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("material K 000000\nlayer body\nrect K 0 0 2 2\nlayer hat @3\nrect nowhere 0 0 1 1\n");
        file.close();
        QString error;
        const auto book = Art::load(dir.path(), u"office"_s, &error);
        QVERIFY2(book, qPrintable(error));
        QCOMPARE(Art::render(*book, 0, &error).pixel(1, 1), qRgb(0, 0, 0));
        QVERIFY(Art::render(*book, 3, &error).isNull());
        QVERIFY(error.contains(u"nowhere"_s));
    }
};

QTEST_MAIN(TestSpriteGen)
#include "tst_spritegen.moc"
