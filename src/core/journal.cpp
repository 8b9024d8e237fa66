#include "journal.h"

#include "tailreader.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonValue>
#include <QStringDecoder>
#include <QtNumeric>

#include <algorithm>
#include <cmath>
#include <limits>
#include <string_view>

using namespace Qt::StringLiterals;

namespace Journal
{
namespace
{
constexpr qint64 int64Max = std::numeric_limits<qint64>::max();
constexpr qint64 int64Min = std::numeric_limits<qint64>::min();
// 2^63 as a double: the first value past the int64 range (the range's top is not representable).
constexpr double twoTo63 = 9223372036854775808.0;

/// A plain byte search. glibc's and macOS's memmem are several times faster than the generic
/// searchers on long log lines; this search runs over up to 32 MiB per call.
bool contains(QByteArrayView line, QByteArrayView pattern)
{
#if defined(__GLIBC__) || defined(__APPLE__)
    return memmem(line.data(), size_t(line.size()), pattern.data(), size_t(pattern.size())) != nullptr;
#else
    return std::string_view(line.data(), size_t(line.size())).find(std::string_view(pattern.data(), size_t(pattern.size()))) != std::string_view::npos;
#endif
}

/// The integer value of a JSON number, fractions truncated toward zero. A count beyond the int64
/// range saturates at its limit rather than being cast (that cast is undefined). Non-numbers give 0.
qint64 truncatedInteger(const QJsonValue &value)
{
    if (!value.isDouble())
        return 0;
    const double d = value.toDouble();
    if (std::isnan(d))
        return 0;
    if (d >= twoTo63)
        return int64Max;
    if (d < -twoTo63)
        return int64Min;
    // Integers that fit are stored exactly by the parser; ask for those first so that counts above
    // 2^53 are not rounded through a double.
    return value.toInteger(static_cast<qint64>(std::trunc(d)));
}

/// The value of a JSON number only when it is integral and fits in int64.
std::optional<qint64> exactInteger(const QJsonValue &value)
{
    if (!value.isDouble())
        return std::nullopt;
    const double d = value.toDouble();
    if (!std::isfinite(d) || std::trunc(d) != d || d >= twoTo63 || d < -twoTo63)
        return std::nullopt;
    return value.toInteger(static_cast<qint64>(d));
}

qint64 saturatingAdd(qint64 a, qint64 b)
{
    qint64 sum = 0;
    if (qAddOverflow(a, b, &sum))
        return b > 0 ? int64Max : int64Min;
    return sum;
}

std::optional<QString> stringMember(const QJsonObject &object, QLatin1StringView key)
{
    const QJsonValue value = object.value(key);
    if (!value.isString())
        return std::nullopt;
    return value.toString();
}

/// Parses one log line as a JSON object; a null object for anything else. The line's bytes are
/// borrowed, not copied.
QJsonObject parseObject(QByteArrayView line)
{
    const QByteArray raw = QByteArray::fromRawData(line.data(), line.size());
    const QJsonDocument document = QJsonDocument::fromJson(raw);
    return document.isObject() ? document.object() : QJsonObject();
}

/// A line parsed at most once, on first need, since both tests of a reader may look at it.
class LazyObject
{
public:
    explicit LazyObject(QByteArrayView line)
        : m_line(line)
    {
    }
    const QJsonObject &get()
    {
        if (!m_parsed) {
            m_object = parseObject(m_line);
            m_parsed = true;
        }
        return m_object;
    }

private:
    QByteArrayView m_line;
    QJsonObject m_object;
    bool m_parsed = false;
};

std::optional<Reading> claudeLine(QByteArrayView line)
{
    LazyObject parsed(line);
    if (contains(line, compactBoundary)) {
        const QJsonObject &record = parsed.get();
        const QJsonValue subtype = record.value("subtype"_L1);
        if (subtype.isString() && subtype.toString() == "compact_boundary"_L1) {
            Reading reading;
            reading.cwd = stringMember(record, "cwd"_L1);
            return reading;
        }
    }
    if (!contains(line, usageKey))
        return std::nullopt;
    const QJsonObject &record = parsed.get();
    if (record.isEmpty())
        return std::nullopt;
    const QJsonValue type = record.value("type"_L1);
    if (!type.isString() || type.toString() != "assistant"_L1)
        return std::nullopt;
    const QJsonValue sidechain = record.value("isSidechain"_L1);
    if (sidechain.isBool() && sidechain.toBool())
        return std::nullopt;
    const QJsonValue message = record.value("message"_L1);
    if (!message.isObject())
        return std::nullopt;
    const QJsonObject messageObject = message.toObject();
    const QJsonValue usage = messageObject.value("usage"_L1);
    if (!usage.isObject())
        return std::nullopt;
    std::optional<QString> model = stringMember(messageObject, "model"_L1);
    if (model && *model == "<synthetic>"_L1)
        return std::nullopt;
    const QJsonObject counts = usage.toObject();
    qint64 sum = truncatedInteger(counts.value("input_tokens"_L1));
    sum = saturatingAdd(sum, truncatedInteger(counts.value("cache_creation_input_tokens"_L1)));
    sum = saturatingAdd(sum, truncatedInteger(counts.value("cache_read_input_tokens"_L1)));
    if (sum == 0)
        return std::nullopt;
    Reading reading;
    reading.tokens = sum;
    reading.model = std::move(model);
    reading.cwd = stringMember(record, "cwd"_L1);
    return reading;
}

/// A Codex line's decision; `cwd` is filled in by the caller.
std::optional<Reading> codexLine(QByteArrayView line)
{
    LazyObject parsed(line);
    if (contains(line, compactedKey)) {
        const QJsonValue type = parsed.get().value("type"_L1);
        if (type.isString() && type.toString() == "compacted"_L1)
            return Reading();
    }
    if (!contains(line, tokenCountKey))
        return std::nullopt;
    const QJsonObject &record = parsed.get();
    const QJsonValue payload = record.value("payload"_L1);
    if (!payload.isObject())
        return std::nullopt;
    const QJsonObject payloadObject = payload.toObject();
    const QJsonValue payloadType = payloadObject.value("type"_L1);
    if (!payloadType.isString() || payloadType.toString() != "token_count"_L1)
        return std::nullopt;
    const QJsonValue info = payloadObject.value("info"_L1);
    if (!info.isObject() || info.toObject().isEmpty())
        return std::nullopt;
    const QJsonObject infoObject = info.toObject();
    const QJsonValue last = infoObject.value("last_token_usage"_L1);
    if (!last.isObject())
        return std::nullopt;
    Reading reading;
    reading.tokens = truncatedInteger(last.toObject().value("input_tokens"_L1));
    reading.window = exactInteger(infoObject.value("model_context_window"_L1));
    return reading;
}

/// Walks growing tails newest line first until `decide` returns a reading; an empty reading when
/// nothing decided or the file could not be read. Each larger tail goes on from the line the
/// smaller one dropped: the lines after it were already found undecisive.
template <typename Decide> Reading scanTails(const QString &path, Decide decide)
{
    TailReader reader(path);
    if (!reader.isOpen())
        return Reading();
    for (const qint64 size : tailSizes) {
        reader.setTail(size);
        while (const std::optional<QByteArrayView> line = reader.next()) {
            if (std::optional<Reading> reading = decide(*line))
                return *std::move(reading);
        }
        if (reader.complete() || !reader.intact())
            break;
    }
    return Reading();
}
} // namespace

Reading claude(const QString &path)
{
    return scanTails(path, claudeLine);
}

Reading codex(const QString &path)
{
    const std::optional<QString> cwd = headCwd(path);
    Reading reading = scanTails(path, codexLine);
    reading.cwd = cwd;
    return reading;
}

std::optional<QString> headCwd(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return std::nullopt;
    // Most logs are far smaller than the head; don't allocate more than the file holds.
    const qint64 want = std::clamp<qint64>(file.size(), 0, headSize);
    QByteArray head(want, Qt::Uninitialized);
    const qint64 got = want > 0 ? file.read(head.data(), want) : 0;
    if (got <= 0)
        return std::nullopt;
    const QByteArrayView bytes(head.constData(), got);
    const qsizetype key = bytes.indexOf(cwdHeadKey);
    if (key < 0)
        return std::nullopt;
    const qsizetype valueStart = key + cwdHeadKey.size();
    const qsizetype quote = bytes.indexOf('"', valueStart);
    if (quote < 0)
        return std::nullopt;
    // Keep a leading byte-order mark as data: the value is taken raw.
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless | QStringDecoder::Flag::ConvertInitialBom);
    QString text = decoder.decode(bytes.sliced(valueStart, quote - valueStart));
    if (decoder.hasError())
        return std::nullopt;
    return text;
}

qint64 claudeWindow(const std::optional<QString> &model)
{
    constexpr qint64 oneMillion = 1'000'000;
    if (!model)
        return oneMillion;
    static constexpr std::array<QLatin1StringView, 9> largeWindow {
        "[1m]"_L1,
        "fable"_L1,
        "mythos"_L1,
        "opus-5"_L1,
        "sonnet-5"_L1,
        "opus-4-6"_L1,
        "opus-4-7"_L1,
        "opus-4-8"_L1,
        "sonnet-4-6"_L1,
    };
    for (const QLatin1StringView marker : largeWindow) {
        if (model->contains(marker))
            return oneMillion;
    }
    return 200'000;
}
} // namespace Journal
