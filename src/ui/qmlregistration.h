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

class FolderGrants;
class SessionWatcher;

/// The one QML engine of the program. It finds the compiled-in Yuzuha module, serves the sprite images
/// ("image://sprites/<outfit>/<tier>") and holds the objects built at start-up that the views reach as
/// the singletons `Preferences` and `FolderGrants`.
class ViewEngine : public QQmlEngine
{
    Q_OBJECT

public:
    ViewEngine(Preferences *preferences, FolderGrants *grants, Sprites::Store *sprites, QObject *parent = nullptr);

    Preferences *preferences() const { return m_preferences; }
    FolderGrants *grants() const { return m_grants; }

    /// The engine a QML singleton is made for, when it is a ViewEngine.
    static ViewEngine *of(QQmlEngine *engine) { return qobject_cast<ViewEngine *>(engine); }

private:
    QPointer<Preferences> m_preferences;
    QPointer<FolderGrants> m_grants;
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
    /// The instance the engine was built with.
    static FolderGrants *create(QQmlEngine *engine, QJSEngine *);

    FolderGrants(FleetAccess *access, SessionWatcher *watcher, QObject *parent = nullptr);

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
    QPointer<SessionWatcher> m_watcher;
    bool m_direct = true;
};
