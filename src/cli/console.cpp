#include "console.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace Console
{
namespace
{
bool writeLine(std::FILE *stream, QStringView line)
{
    const QByteArray bytes = line.toUtf8() + '\n';
    const size_t written = std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stream);
    return std::fflush(stream) == 0 && written == static_cast<size_t>(bytes.size());
}
} // namespace

bool out(QStringView line)
{
    return writeLine(stdout, line);
}

void err(QStringView line)
{
    writeLine(stderr, line);
}

int usage(QStringView synopsis)
{
    err(QString(u"usage: yuzuha-books "_s + synopsis.toString()));
    return usageExit;
}

QString safe(QStringView text)
{
    QString result;
    result.reserve(text.size());
    for (const QChar c : text) {
        const char16_t u = c.unicode();
        if (u < 0x20)
            result += QChar(0x2400 + u); // the control pictures: ␛ for ESC, ␇ for BEL
        else if (u == 0x7f)
            result += QChar(0x2421); // ␡
        else if (u >= 0x80 && u < 0xa0)
            result += QChar(QChar::ReplacementCharacter); // C1 controls have no picture; CSI alone starts a sequence
        else
            result += c;
    }
    return result;
}

QString jsonString(QStringView text)
{
    // Qt's writer does the escaping; the array around the value is dropped so that callers can
    // write an object's members in a fixed order, which QJsonObject would sort.
    const QByteArray array = QJsonDocument(QJsonArray { text.toString() }).toJson(QJsonDocument::Compact);
    return QString::fromUtf8(array.sliced(1, array.size() - 2));
}

QString jsonString(const std::optional<QString> &text)
{
    return text ? jsonString(QStringView(*text)) : u"null"_s;
}

QString jsonNumber(std::optional<qint64> value)
{
    return value ? QString::number(*value) : u"null"_s;
}
} // namespace Console
