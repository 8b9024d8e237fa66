#pragma once

#include "fleetaccess.h"
#include "preferences.h"
#include "sessionwatcher.h"

#include <QObject>
#include <QPointer>
#include <QStringList>
#include <QVariantList>
#include <QtQml/qqml.h>

class QQmlEngine;
class QJSEngine;

// The core singletons reach QML as singletons of the Yuzuha module; C++ keeps ownership of each.

/// `Preferences` in QML: Preferences::shared().
struct PreferencesForeign {
    Q_GADGET
    QML_FOREIGN(Preferences)
    QML_NAMED_ELEMENT(Preferences)
    QML_SINGLETON

public:
    static Preferences *create(QQmlEngine *, QJSEngine *);
};

/// `FleetAccess` in QML: FleetAccess::shared().
struct FleetAccessForeign {
    Q_GADGET
    QML_FOREIGN(FleetAccess)
    QML_NAMED_ELEMENT(FleetAccess)
    QML_SINGLETON

public:
    static FleetAccess *create(QQmlEngine *, QJSEngine *);
};

/// `SessionWatcher` in QML: SessionWatcher::shared().
struct SessionWatcherForeign {
    Q_GADGET
    QML_FOREIGN(SessionWatcher)
    QML_NAMED_ELEMENT(SessionWatcher)
    QML_SINGLETON

public:
    static SessionWatcher *create(QQmlEngine *, QJSEngine *);
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
    static Catalog *shared();
    static Catalog *create(QQmlEngine *, QJSEngine *);

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

private:
    Catalog() = default;
};

/// The folder grants as the panels show and change them: the folders, which are granted, whether the
/// agents' folders are read directly, and grant or revoke by folder id followed by a watcher refresh.
class FolderGrants : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    /// One map per known folder: id, label, relativePath, provider.
    Q_PROPERTY(QVariantList folders READ folders CONSTANT)
    Q_PROPERTY(QStringList grantedIds READ grantedIds NOTIFY grantedIdsChanged)
    Q_PROPERTY(bool direct READ direct NOTIFY directChanged)

public:
    /// Over FleetAccess::shared(), direct as FleetAccess::direct() reports it.
    static FolderGrants *shared();
    static FolderGrants *create(QQmlEngine *, QJSEngine *);

    explicit FolderGrants(FleetAccess *access, QObject *parent = nullptr);

    static QVariantList folders();
    QStringList grantedIds() const;
    bool direct() const { return m_direct; }
    /// The grant rows are only offered without direct access; tests turn it off to reach them.
    void setDirect(bool direct);

    /// Runs the folder chooser for the folder `id` and then refreshes the watcher.
    Q_INVOKABLE void request(const QString &id);
    /// Withdraws the grant of the folder `id` and then refreshes the watcher.
    Q_INVOKABLE void revoke(const QString &id);

Q_SIGNALS:
    void grantedIdsChanged();
    void directChanged();

private:
    QPointer<FleetAccess> m_access;
    bool m_direct = false;
};

namespace Yuzuha
{
/// Readies an engine for the Yuzuha views: finds the compiled-in module ("import Yuzuha") and serves
/// the sprite images ("image://sprites/<outfit>/<tier>"). Call it on every engine before it loads a view.
void prepareEngine(QQmlEngine &engine);
} // namespace Yuzuha
