#pragma once

#include "fleetaccess.h"
#include "preferences.h"
#include "sprites.h"

#include <QObject>
#include <QPointer>
#include <QQmlEngine>
#include <QStringList>
#include <QVariantList>
#include <QtQml/qqml.h>

/// The one QML engine of the program. It finds the compiled-in Yuzuha module, serves the sprite images
/// ("image://sprites/<outfit>/<tier>") and holds the objects built at start-up that the views reach as
/// the singletons `Preferences` and `FleetAccess`.
class ViewEngine : public QQmlEngine
{
    Q_OBJECT

public:
    ViewEngine(Preferences *preferences, FleetAccess *access, Sprites::Store *sprites, QObject *parent = nullptr);

    Preferences *preferences() const { return m_preferences; }
    FleetAccess *access() const { return m_access; }

    /// The engine a QML singleton is made for, when it is a ViewEngine.
    static ViewEngine *of(QQmlEngine *engine) { return qobject_cast<ViewEngine *>(engine); }

private:
    QPointer<Preferences> m_preferences;
    QPointer<FleetAccess> m_access;
};

/// `Preferences` in QML: the instance the engine was built with.
struct PreferencesForeign {
    Q_GADGET
    QML_FOREIGN(Preferences)
    QML_NAMED_ELEMENT(Preferences)
    QML_SINGLETON

public:
    static Preferences *create(QQmlEngine *engine, QJSEngine *);
};

/// `FleetAccess` in QML: the instance the engine was built with.
struct FleetAccessForeign {
    Q_GADGET
    QML_FOREIGN(FleetAccess)
    QML_NAMED_ELEMENT(FleetAccess)
    QML_SINGLETON

public:
    static FleetAccess *create(QQmlEngine *engine, QJSEngine *);
};

/// The fixed tables the panels list (outfits, sizes, bedtimes) and the program's version, in forms QML can read.
class Catalog : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    /// Preferences::Outfit values, as numbers, in wardrobe order.
    Q_PROPERTY(QVariantList outfits READ outfits CONSTANT)
    /// Preferences::Size values, as numbers, in menu order.
    Q_PROPERTY(QVariantList sizes READ sizes CONSTANT)
    /// One map per bedtime choice: label, tokens and the value text ("Full" or the short count).
    Q_PROPERTY(QVariantList bedtimes READ bedtimes CONSTANT)
    Q_PROPERTY(QString version READ version CONSTANT)

public:
    /// QML makes one per engine; the tables are fixed.
    explicit Catalog(QObject *parent = nullptr);

    static QVariantList outfits();
    static QVariantList sizes();
    static QVariantList bedtimes();
    static QString version();

    // QML hands enum values over as numbers; one out of range gives an empty text or -1.
    Q_INVOKABLE QString outfitLabel(int outfit) const;
    Q_INVOKABLE QString outfitRawValue(int outfit) const;
    /// The outfit she wears today for a choice: seasonal follows the calendar.
    Q_INVOKABLE int resolvedOutfit(int outfit) const;
    Q_INVOKABLE QString sizeLabel(int size) const;
};
