#include "console.h"

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
    QString result;
    result.reserve(text.size() + 2);
    result += u'"';
    for (const QChar c : text) {
        switch (c.unicode()) {
        case u'"':
            result += u"\\\""_s;
            break;
        case u'\\':
            result += u"\\\\"_s;
            break;
        case u'\n':
            result += u"\\n"_s;
            break;
        case u'\r':
            result += u"\\r"_s;
            break;
        case u'\t':
            result += u"\\t"_s;
            break;
        case u'\b':
            result += u"\\b"_s;
            break;
        case u'\f':
            result += u"\\f"_s;
            break;
        default:
            if (c.unicode() < 0x20)
                result += u"\\u"_s + QString::number(c.unicode(), 16).rightJustified(4, u'0');
            else
                result += c;
        }
    }
    result += u'"';
    return result;
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
