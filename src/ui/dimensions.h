#pragma once

#include "preferences.h"

#include <QObject>
#include <QRect>
#include <QSizeF>
#include <QtQml/qqmlregistration.h>

/// The sizes her panel and the sessions popover are built from, in device-independent pixels. The
/// C++ that places windows and the views that draw in them both read them here.
class Dimensions : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(qreal spriteAspect READ spriteAspect CONSTANT)
    Q_PROPERTY(qreal bubbleBand READ bubbleBand CONSTANT)
    Q_PROPERTY(qreal tagBand READ tagBand CONSTANT)
    Q_PROPERTY(int popoverWidth READ popoverWidth CONSTANT)

public:
    /// Every sprite is 427 wide for 1151 high.
    static constexpr qreal spriteAspect() { return 427.0 / 1151.0; }
    /// The speech bubble's band above her head.
    static constexpr qreal bubbleBand() { return 92; }
    /// The percent tag's band below her feet; her feet stand on its top edge.
    static constexpr qreal tagBand() { return 30; }
    /// Her panel is never narrower than this, so the bubble has room beside a small sprite.
    static constexpr qreal minimumPanelWidth = 270;
    /// Room beside her sprite inside the panel, both sides together.
    static constexpr qreal panelSideRoom = 40;
    static constexpr int popoverWidth() { return 330; }
    /// Room left between her sprite and the popover.
    static constexpr int popoverGap = 6;

    /// The sprite and the panel that carries her at one size setting.
    struct Pet {
        QSizeF sprite;
        QSizeF panel;
    };
    static Pet pet(Preferences::Size size);
    /// round(height × spriteAspect), halves away from zero: the width of a sprite `height` high.
    static int spriteWidth(qreal height);

    /// The side of her the popover opens on: her left when her panel's centre is right of the centre
    /// of `available`, else her right.
    static Qt::Edge popoverEdge(const QRect &panel, const QRect &available);

    explicit Dimensions(QObject *parent = nullptr);
};
