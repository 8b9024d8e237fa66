#pragma once

#include <QColor>
#include <QFont>
#include <QObject>
#include <QtQml/qqmlregistration.h>

/// The application's one palette: an office desk of paper, manila, sticky notes, an LCD and ink.
class Theme : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(QColor partition READ partition CONSTANT)
    Q_PROPERTY(QColor machine READ machine CONSTANT)
    Q_PROPERTY(QColor lcd READ lcd CONSTANT)
    Q_PROPERTY(QColor manila READ manila CONSTANT)
    Q_PROPERTY(QColor sticky READ sticky CONSTANT)
    Q_PROPERTY(QColor coral READ coral CONSTANT)
    Q_PROPERTY(QColor coralDeep READ coralDeep CONSTANT)
    Q_PROPERTY(QColor mint READ mint CONSTANT)
    Q_PROPERTY(QColor ink READ ink CONSTANT)
    Q_PROPERTY(QColor inkSoft READ inkSoft CONSTANT)
    Q_PROPERTY(QColor paper READ paper CONSTANT)
    Q_PROPERTY(QColor segmentOff READ segmentOff CONSTANT)
    Q_PROPERTY(QColor sitePaper READ sitePaper CONSTANT)
    Q_PROPERTY(QColor hairline READ hairline CONSTANT)
    Q_PROPERTY(QColor nsSitePaper READ nsSitePaper CONSTANT)
    Q_PROPERTY(QColor nsMachine READ nsMachine CONSTANT)
    // The three faces at a default 13 px; views take a sized one from displayFont(), heavyFont() or bodyFont().
    Q_PROPERTY(QFont displayFace READ displayFace CONSTANT)
    Q_PROPERTY(QFont heavyFace READ heavyFace CONSTANT)
    Q_PROPERTY(QFont bodyFace READ bodyFace CONSTANT)

public:
    static QColor partition() { return QColor(207, 214, 222); }
    static QColor machine() { return QColor(231, 225, 210); }
    static QColor lcd() { return QColor(223, 228, 205); }
    static QColor manila() { return QColor(236, 215, 164); }
    static QColor sticky() { return QColor(247, 227, 154); }
    static QColor coral() { return QColor(255, 143, 156); }
    static QColor coralDeep() { return QColor(232, 102, 119); }
    static QColor mint() { return QColor(168, 230, 207); }
    static QColor ink() { return QColor(52, 52, 74); }
    static QColor inkSoft() { return QColor(77, 77, 102); }
    static QColor paper() { return QColor(255, 250, 240); }
    static QColor segmentOff() { return QColor(196, 202, 176); }
    static QColor sitePaper() { return QColor(250, 251, 252); }
    static QColor hairline() { return QColor::fromRgbF(52 / 255.0f, 52 / 255.0f, 74 / 255.0f, 0.16f); }
    /// Window backgrounds of the settings and welcome windows.
    static QColor nsSitePaper() { return sitePaper(); }
    static QColor nsMachine() { return machine(); }

    /// "DotGothic16-Regular", "RoundedMplus1c-ExtraBold" and "RoundedMplus1c-Medium" as Qt addresses them.
    static QFont displayFace();
    static QFont heavyFace();
    static QFont bodyFace();
    /// A face at a size in device-independent pixels, e.g. `font: Theme.displayFont(17)` in a view.
    Q_INVOKABLE static QFont displayFont(qreal size);
    Q_INVOKABLE static QFont heavyFont(qreal size);
    Q_INVOKABLE static QFont bodyFont(qreal size);

    /// QML makes one per engine; the palette itself is fixed.
    explicit Theme(QObject *parent = nullptr)
        : QObject(parent)
    {
    }
};
