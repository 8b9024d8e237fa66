#include "theme.h"

#include "fonts.h"

QFont Theme::displayFace()
{
    return Fonts::font(Fonts::display(), 13);
}

QFont Theme::heavyFace()
{
    return Fonts::font(Fonts::heavy(), 13);
}

QFont Theme::bodyFace()
{
    return Fonts::font(Fonts::body(), 13);
}

QFont Theme::displayFont(qreal size)
{
    return Fonts::font(Fonts::display(), size);
}

QFont Theme::heavyFont(qreal size)
{
    return Fonts::font(Fonts::heavy(), size);
}

QFont Theme::bodyFont(qreal size)
{
    return Fonts::font(Fonts::body(), size);
}
