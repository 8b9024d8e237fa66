#include "testsupport.h"

#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

using namespace Qt::StringLiterals;
using TestSupport::Run;

namespace
{
const QByteArray claudeLine
    = TestSupport::claudeReply(R"("input_tokens":3,"cache_creation_input_tokens":1200,"cache_read_input_tokens":45000)", "claude-opus-4-7");
const QByteArray codexLines = TestSupport::lines({ TestSupport::codexMeta(), TestSupport::codexTokens(12'000) });
const QByteArray claudeOut = R"({"tokens":46203,"window":null,"model":"claude-opus-4-7","cwd":"/w/app"})";
const QByteArray codexOut = R"({"tokens":12000,"window":258400,"model":null,"cwd":"/w/codex"})";
const QByteArray nothingOut = R"({"tokens":null,"window":null,"model":null,"cwd":null})";

Run books(const QStringList &arguments)
{
    return TestSupport::run(QStringLiteral(YUZUHA_BOOKS), arguments);
}
} // namespace

class TestCliRead : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        QCOMPARE(mkfifo(QFile::encodeName(m_dir.filePath(u"fifo.jsonl"_s)).constData(), 0600), 0);
    }

    void read_data()
    {
        QTest::addColumn<QString>("relativePath");
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QStringList>("options");
        QTest::addColumn<QByteArray>("output");
        QTest::addRow("a Claude Code log") << u"claude/p/a.jsonl"_s << claudeLine << QStringList() << claudeOut;
        QTest::addRow("a log below .codex is read as Codex") << u"home/.codex/sessions/2025/a.jsonl"_s << codexLines << QStringList() << codexOut;
        QTest::addRow("a folder only ending in .codex is not Codex") << u"home/x.codex/a.jsonl"_s << codexLines << QStringList() << nothingOut;
        QTest::addRow("--provider codex wins over the path") << u"claude/p/b.jsonl"_s << codexLines << QStringList { u"--provider"_s, u"codex"_s } << codexOut;
        QTest::addRow("an empty log prints nulls") << u"claude/p/empty.jsonl"_s << QByteArray() << QStringList() << nothingOut;
        QTest::addRow("strings are escaped")
            << u"claude/p/esc.jsonl"_s
            << "{\"type\":\"assistant\",\"cwd\":\"/w/a \\\"q\\\" \\\\ \\t \\u0001 é\",\"message\":{\"model\":\"m\",\"usage\":{\"input_tokens\":1}}}"_ba
            << QStringList() << "{\"tokens\":1,\"window\":null,\"model\":\"m\",\"cwd\":\"/w/a \\\"q\\\" \\\\ \\t \\u0001 é\"}"_ba;
    }
    void read()
    {
        QFETCH(QString, relativePath);
        QFETCH(QByteArray, content);
        QFETCH(QStringList, options);
        QFETCH(QByteArray, output);
        const QString path = TestSupport::writeFile(m_dir.filePath(relativePath), content);
        const Run run = books(QStringList { u"read"_s } + options + QStringList { path });
        QVERIFY2(!path.isEmpty() && run.exitCode == 0 && run.err.isEmpty(), run.err.constData());
        QCOMPARE(run.out, output + '\n');
    }

    void refusals_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QByteArray>("message");
        const QString missing = m_dir.filePath(u"missing.jsonl"_s);
        QTest::addRow("missing file names the file") << QStringList { u"read"_s, missing } << missing.toUtf8();
        QTest::addRow("a folder names the folder") << QStringList { u"read"_s, m_dir.path() } << m_dir.path().toUtf8();
        const QString fifo = m_dir.filePath(u"fifo.jsonl"_s);
        QTest::addRow("a FIFO is refused without waiting for a writer") << QStringList { u"read"_s, fifo } << fifo.toUtf8();
        QTest::addRow("unknown option") << QStringList { u"read"_s, u"--bogus"_s, missing } << "usage: yuzuha-books read"_ba;
        QTest::addRow("no file") << QStringList { u"read"_s } << "usage: yuzuha-books read"_ba;
        QTest::addRow("unknown verb") << QStringList { u"write"_s, missing } << "usage: yuzuha-books"_ba;
    }
    void refusals()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QByteArray, message);
        const Run run = books(arguments);
        QVERIFY2(run.exitCode == 2 && run.out.isEmpty() && run.err.contains(message) && run.err.endsWith('\n'), run.err.constData());
    }

private:
    QTemporaryDir m_dir;
};

QTEST_GUILESS_MAIN(TestCliRead)
#include "tst_cli_read.moc"
