#include "qmlregistration.h"

#include "appinfo.h"
#include "formatting.h"
#include "spriteimageprovider.h"

#include <QQmlEngine>
#include <QVariantMap>

using namespace Qt::StringLiterals;

namespace
{
// The singletons live for the whole process; no engine may delete them when it goes.
template <typename T> T *keptByCpp(T *object)
{
    QQmlEngine::setObjectOwnership(object, QQmlEngine::CppOwnership);
    return object;
}

std::optional<Preferences::Outfit> outfitAt(int value)
{
    if (value < 0 || value >= static_cast<int>(Preferences::allOutfits.size()))
        return std::nullopt;
    return static_cast<Preferences::Outfit>(value);
}

const FleetFolder *folderWithId(const QString &id)
{
    for (const FleetFolder &folder : FleetAccess::folders()) {
        if (folder.id == id)
            return &folder;
    }
    return nullptr;
}
} // namespace

Preferences *PreferencesForeign::create(QQmlEngine *, QJSEngine *)
{
    return keptByCpp(Preferences::shared());
}

FleetAccess *FleetAccessForeign::create(QQmlEngine *, QJSEngine *)
{
    return keptByCpp(FleetAccess::shared());
}

SessionWatcher *SessionWatcherForeign::create(QQmlEngine *, QJSEngine *)
{
    return keptByCpp(SessionWatcher::shared());
}

Catalog *Catalog::shared()
{
    static Catalog *instance = new Catalog;
    return instance;
}

Catalog *Catalog::create(QQmlEngine *, QJSEngine *)
{
    return keptByCpp(shared());
}

QVariantList Catalog::outfits()
{
    QVariantList list;
    for (const Preferences::Outfit outfit : Preferences::allOutfits)
        list.append(static_cast<int>(outfit));
    return list;
}

QVariantList Catalog::sizes()
{
    QVariantList list;
    for (const Preferences::Size size : Preferences::allSizes)
        list.append(static_cast<int>(size));
    return list;
}

QVariantList Catalog::bedtimes()
{
    QVariantList list;
    for (const Preferences::Bedtime &bedtime : Preferences::bedtimes) {
        list.append(QVariantMap {
            { u"label"_s, bedtime.label.toString() },
            // qint64 reaches QML as a number; the table's counts are far inside its exact range.
            { u"tokens"_s, static_cast<double>(bedtime.tokens) },
            { u"value"_s, bedtime.tokens == 0 ? u"Full"_s : shortTokens(bedtime.tokens) },
        });
    }
    return list;
}

QString Catalog::version()
{
    return AppInfo::version.toString();
}

QString Catalog::outfitLabel(int outfit) const
{
    const auto known = outfitAt(outfit);
    return known ? Preferences::label(*known) : QString();
}

QString Catalog::outfitRawValue(int outfit) const
{
    const auto known = outfitAt(outfit);
    return known ? Preferences::rawValue(*known) : QString();
}

int Catalog::resolvedOutfit(int outfit) const
{
    const auto known = outfitAt(outfit);
    return known ? static_cast<int>(Preferences::resolved(*known)) : -1;
}

QString Catalog::sizeLabel(int size) const
{
    const auto known = Preferences::sizeFromRawValue(size);
    return known ? Preferences::label(*known) : QString();
}

FolderGrants *FolderGrants::shared()
{
    static FolderGrants *instance = new FolderGrants(FleetAccess::shared());
    return instance;
}

FolderGrants *FolderGrants::create(QQmlEngine *, QJSEngine *)
{
    return keptByCpp(shared());
}

FolderGrants::FolderGrants(FleetAccess *access, QObject *parent)
    : QObject(parent)
    , m_access(access)
    , m_direct(FleetAccess::direct())
{
    if (access)
        connect(access, &FleetAccess::grantedIdsChanged, this, &FolderGrants::grantedIdsChanged);
}

QVariantList FolderGrants::folders()
{
    QVariantList list;
    for (const FleetFolder &folder : FleetAccess::folders()) {
        list.append(QVariantMap {
            { u"id"_s, folder.id },
            { u"label"_s, folder.label },
            { u"relativePath"_s, folder.relativePath },
            { u"provider"_s, folder.provider },
        });
    }
    return list;
}

QStringList FolderGrants::grantedIds() const
{
    return m_access ? m_access->grantedIdList() : QStringList();
}

void FolderGrants::setDirect(bool direct)
{
    if (m_direct == direct)
        return;
    m_direct = direct;
    Q_EMIT directChanged();
}

void FolderGrants::request(const QString &id)
{
    const FleetFolder *folder = folderWithId(id);
    if (!folder || !m_access)
        return;
    m_access->request(*folder);
    SessionWatcher::shared()->refresh();
}

void FolderGrants::revoke(const QString &id)
{
    const FleetFolder *folder = folderWithId(id);
    if (!folder || !m_access)
        return;
    m_access->revoke(*folder);
    SessionWatcher::shared()->refresh();
}

void Yuzuha::prepareEngine(QQmlEngine &engine)
{
    // Where the module's qmldir and views are compiled in; Qt 6.4 does not look there by itself.
    engine.addImportPath(u"qrc:/qt/qml"_s);
    if (!engine.imageProvider(u"sprites"_s))
        engine.addImageProvider(u"sprites"_s, new SpriteImageProvider);
}
