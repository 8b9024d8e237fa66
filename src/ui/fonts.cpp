#include "fonts.h"

#include <QFontDatabase>
#include <QGuiApplication>

using namespace Qt::StringLiterals;

namespace Fonts
{
const Face &display()
{
    static const Face face { u"DotGothic16-Regular"_s, u"DotGothic16"_s, QFont::Normal, u":/fonts/DotGothic16-Regular.ttf"_s };
    return face;
}

const Face &heavy()
{
    static const Face face { u"RoundedMplus1c-ExtraBold"_s, u"Rounded Mplus 1c ExtraBold"_s, QFont::ExtraBold, u":/fonts/RoundedMplus1c-ExtraBold.ttf"_s };
    return face;
}

const Face &body()
{
    static const Face face { u"RoundedMplus1c-Medium"_s, u"Rounded Mplus 1c Medium"_s, QFont::Medium, u":/fonts/RoundedMplus1c-Medium.ttf"_s };
    return face;
}

std::array<const Face *, 3> all()
{
    return { &display(), &heavy(), &body() };
}

bool registerAll()
{
    static bool done = false;
    static bool ok = true;
    if (done)
        return ok;
    done = true;
    for (const Face *face : all()) {
        if (QFontDatabase::addApplicationFont(face->resource) < 0)
            ok = false;
    }
    return ok;
}

QFont font(const Face &face, qreal size)
{
    QFont font(face.family);
    font.setWeight(face.weight);
    // Qt lays text out at 96 logical dots per inch, so a device-independent pixel is 0.75 point; a point size
    // keeps fractional sizes that a whole-pixel size would round away.
    font.setPointSizeF(size * 72.0 / 96.0);
    return font;
}
} // namespace Fonts
