#include "console.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace Console
{
namespace
{
void writeLine(std::FILE *stream, QStringView line)
{
    const QByteArray bytes = line.toUtf8() + '\n';
    std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stream);
    std::fflush(stream);
}
} // namespace

void out(QStringView line)
{
    writeLine(stdout, line);
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
