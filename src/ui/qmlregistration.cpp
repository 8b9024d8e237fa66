#include "qmlregistration.h"

#include "appinfo.h"
#include "formatting.h"
#include "spriteimageprovider.h"

#include <QQmlEngine>
#include <QVariantMap>

using namespace Qt::StringLiterals;

namespace
{
// The start-up code owns these objects; no engine may delete them when it goes.
template <typename T> T *keptByCpp(T *object)
{
    if (object)
        QQmlEngine::setObjectOwnership(object, QQmlEngine::CppOwnership);
    return object;
}

std::optional<Preferences::Outfit> outfitAt(int value)
{
    if (value < 0 || value >= static_cast<int>(Preferences::outfits.size()))
        return std::nullopt;
    return Preferences::outfits[size_t(value)].outfit;
}
} // namespace

ViewEngine::ViewEngine(Preferences *preferences, FleetAccess *access, Sprites::Store *sprites, QObject *parent)
    : QQmlEngine(parent)
    , m_preferences(preferences)
    , m_access(access)
{
    // Where the module's qmldir and views are compiled in; Qt 6.4 does not look there by itself.
    addImportPath(u"qrc:/qt/qml"_s);
    addImageProvider(u"sprites"_s, new SpriteImageProvider(sprites));
}

Preferences *PreferencesForeign::create(QQmlEngine *engine, QJSEngine *)
{
    const ViewEngine *views = ViewEngine::of(engine);
    return keptByCpp(views ? views->preferences() : nullptr);
}

FleetAccess *FleetAccessForeign::create(QQmlEngine *engine, QJSEngine *)
{
    const ViewEngine *views = ViewEngine::of(engine);
    return keptByCpp(views ? views->access() : nullptr);
}

Catalog::Catalog(QObject *parent)
    : QObject(parent)
{
}

QVariantList Catalog::outfits()
{
    QVariantList list;
    for (const Preferences::OutfitName &name : Preferences::outfits)
        list.append(static_cast<int>(name.outfit));
    return list;
}

QVariantList Catalog::sizes()
{
    QVariantList list;
    for (const Preferences::SizeName &name : Preferences::sizes)
        list.append(static_cast<int>(name.size));
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
    return known ? Preferences::sizeName(*known).label.toString() : QString();
}
