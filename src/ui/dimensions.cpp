#include "dimensions.h"

#include <cmath>

Dimensions::Dimensions(QObject *parent)
    : QObject(parent)
{
}

int Dimensions::spriteWidth(qreal height)
{
    // std::lround rounds halves away from zero.
    return static_cast<int>(std::lround(height * spriteAspect()));
}

Dimensions::Pet Dimensions::pet(Preferences::Size size)
{
    const qreal height = Preferences::sizeName(size).spriteHeight;
    const qreal width = spriteWidth(height);
    return { QSizeF(width, height), QSizeF(std::max(width + panelSideRoom, minimumPanelWidth), height + bubbleBand() + tagBand()) };
}

Qt::Edge Dimensions::popoverEdge(const QRect &panel, const QRect &available)
{
    // Compared in doubles: a 1-pixel difference of an odd width still counts, equality opens to her right.
    const double panelMid = panel.x() + panel.width() / 2.0;
    const double screenMid = available.x() + available.width() / 2.0;
    return panelMid > screenMid ? Qt::LeftEdge : Qt::RightEdge;
}
