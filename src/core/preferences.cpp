#include "preferences.h"

#include "appinfo.h"
#include "systemlog.h"

#include <QCoreApplication>
#include <QDate>

using namespace Qt::StringLiterals;

namespace
{
// A stored Boolean as the store holds it; anything unreadable falls back to the default.
bool readBool(const QSettings &store, QStringView key, bool fallback)
{
    const QVariant value = store.value(key.toString());
    if (!value.isValid())
        return fallback;
    if (value.typeId() == QMetaType::Bool)
        return value.toBool();
    const QString text = value.toString().trimmed().toLower();
    if (text == u"true" || text == u"1" || text == u"yes")
        return true;
    if (text == u"false" || text == u"0" || text == u"no")
        return false;
    return fallback;
}

qint64 readInteger(const QSettings &store, QStringView key, qint64 fallback)
{
    const QVariant value = store.value(key.toString());
    if (!value.isValid())
        return fallback;
    bool ok = false;
    const qint64 number = value.toLongLong(&ok);
    return ok ? number : fallback;
}
} // namespace

std::optional<Preferences::Size> Preferences::sizeFromRawValue(qint64 raw)
{
    for (const SizeName &name : sizes) {
        if (static_cast<int>(name.size) == raw)
            return name.size;
    }
    return std::nullopt;
}

std::optional<Preferences::Outfit> Preferences::outfitFromRawValue(QStringView raw)
{
    for (const OutfitName &name : outfits) {
        if (name.raw == raw)
            return name.outfit;
    }
    return std::nullopt;
}

Preferences::Outfit Preferences::resolved(Outfit outfit, QDate today)
{
    if (outfit != Outfit::seasonal)
        return outfit;
    switch (today.month()) {
    case 10:
        return Outfit::halloween;
    case 12:
        return Outfit::christmas;
    default:
        return Outfit::office;
    }
}

Preferences::Outfit Preferences::resolved(Outfit outfit)
{
    return resolved(outfit, QDate::currentDate());
}

std::unique_ptr<QSettings> Preferences::userStore()
{
    return std::make_unique<QSettings>(QSettings::NativeFormat, QSettings::UserScope, AppInfo::name.toString(), AppInfo::name.toString());
}

Preferences::Preferences(std::unique_ptr<QSettings> store, QObject *parent)
    : Preferences(std::move(store), LoginItem(), parent)
{
}

Preferences::Preferences(std::unique_ptr<QSettings> store, LoginItem loginItem, QObject *parent)
    : QObject(parent)
    , m_store(std::move(store))
    , m_loginItem(std::move(loginItem))
{
    m_size = sizeFromRawValue(readInteger(*m_store, sizeKey, 1)).value_or(Size::medium);
    m_keepOnTop = readBool(*m_store, keepOnTopKey, true);
    m_allSpaces = readBool(*m_store, allSpacesKey, true);
    m_speechBubbles = readBool(*m_store, speechBubblesKey, true);
    m_percentTag = readBool(*m_store, percentTagKey, true);
    m_bedtime = readBedtime(*m_store);
    m_petVisible = readBool(*m_store, petVisibleKey, true);
    m_outfit = outfitFromRawValue(m_store->value(outfitKey.toString()).toString()).value_or(Outfit::seasonal);
}

Preferences::~Preferences() = default;

void Preferences::write(QStringView key, const QVariant &value, bool changed)
{
    // Qt rewrites the whole file on every write, also the lines it could not read, so a setting that
    // stays as stored (or an absent one that stays at its default) is not written at all: a plain
    // launch leaves a hand-edited file as it is.
    const QString name = key.toString();
    const bool stored = m_store->contains(name);
    if (!changed && (!stored || m_store->value(name).toString() == value.toString()))
        return;
    m_store->setValue(name, value);
    m_store->sync();
}

bool Preferences::openAtLogin() const
{
    return m_loginItem.isEnabled();
}

void Preferences::setOpenAtLogin(bool on)
{
    if (const std::optional<QString> failure = m_loginItem.setEnabled(on))
        SystemLog::write(u"login", u"Yuzuha: open at login change failed: "_s + *failure);
    Q_EMIT openAtLoginChanged();
}

qint64 Preferences::readBedtime(const QSettings &store)
{
    return readInteger(store, bedtimeKey, 0);
}

template <typename T> void Preferences::assign(T &field, T value, QStringView key, const QVariant &stored, void (Preferences::*changed)(T))
{
    // Every assignment notifies, also when the value is unchanged.
    const bool differs = field != value;
    field = value;
    write(key, stored, differs);
    Q_EMIT(this->*changed)(value);
}

void Preferences::setSize(Size size)
{
    assign(m_size, size, sizeKey, static_cast<int>(size), &Preferences::sizeChanged);
}

void Preferences::setKeepOnTop(bool on)
{
    assign(m_keepOnTop, on, keepOnTopKey, on, &Preferences::keepOnTopChanged);
}

void Preferences::setAllSpaces(bool on)
{
    assign(m_allSpaces, on, allSpacesKey, on, &Preferences::allSpacesChanged);
}

void Preferences::setSpeechBubbles(bool on)
{
    assign(m_speechBubbles, on, speechBubblesKey, on, &Preferences::speechBubblesChanged);
}

void Preferences::setPercentTag(bool on)
{
    assign(m_percentTag, on, percentTagKey, on, &Preferences::percentTagChanged);
}

void Preferences::setBedtime(qint64 tokens)
{
    assign(m_bedtime, tokens, bedtimeKey, tokens, &Preferences::bedtimeChanged);
}

void Preferences::setPetVisible(bool on)
{
    assign(m_petVisible, on, petVisibleKey, on, &Preferences::petVisibleChanged);
}

void Preferences::setOutfit(Outfit outfit)
{
    assign(m_outfit, outfit, outfitKey, rawValue(outfit), &Preferences::outfitChanged);
}
