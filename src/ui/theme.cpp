#include "theme.h"

#include "fonts.h"

#include <QQuickItem>

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

QFont Theme::displayFont(qreal size, qreal tracking)
{
    QFont font = Fonts::font(Fonts::display(), size);
    if (tracking != 0)
        font.setLetterSpacing(QFont::AbsoluteSpacing, tracking);
    return font;
}

QFont Theme::heavyFont(qreal size)
{
    return Fonts::font(Fonts::heavy(), size);
}

QFont Theme::bodyFont(qreal size)
{
    return Fonts::font(Fonts::body(), size);
}

void Theme::applyPalette(QQuickItem *item)
{
    auto *palette = item ? item->property("palette").value<QObject *>() : nullptr;
    if (!palette)
        return;
    // Every role of the item's palette, by its property name; set on the palette, a role covers the
    // active, inactive and disabled groups alike.
    const std::pair<const char *, QColor> roles[] = {
        { "window", machine() },
        { "windowText", ink() },
        { "base", paper() },
        { "alternateBase", lcd() },
        { "text", ink() },
        { "placeholderText", inkSoft() },
        { "button", machine() },
        { "buttonText", ink() },
        { "brightText", paper() },
        { "light", paper() },
        { "midlight", partition() },
        { "mid", inkSoft() },
        { "dark", ink() },
        { "shadow", ink() },
        { "highlight", mint() },
        { "highlightedText", ink() },
        { "link", coralDeep() },
        { "linkVisited", coralDeep() },
        { "toolTipBase", paper() },
        { "toolTipText", ink() },
    };
    for (const auto &[role, color] : roles)
        palette->setProperty(role, color);
}
