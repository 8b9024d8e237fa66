#include "preferences.h"

#include "appinfo.h"
#include "sessionwatcher.h"
#include "systemlog.h"

#include <QCoreApplication>
#include <QDate>

using namespace Qt::StringLiterals;

namespace
{
struct OutfitName {
    QStringView raw;
    QStringView label;
};

// Indexed by Preferences::Outfit.
constexpr std::array<OutfitName, 16> outfitNames { {
    { u"seasonal", u"Seasonal" },
    { u"office", u"Office" },
    { u"halloween", u"Halloween witch" },
    { u"christmas", u"Christmas" },
    { u"eva", u"Plugsuit pilot" },
    { u"sailor", u"Magical girl" },
    { u"demonslayer", u"Slayer corps" },
    { u"jujutsu", u"Sorcery school" },
    { u"naruto", u"Ninja" },
    { u"onepiece", u"Pirate" },
    { u"spyfamily", u"Academy" },
    { u"titan", u"Scout regiment" },
    { u"dragonball", u"Martial artist" },
    { u"hero", u"Hero academy" },
    { u"frieren", u"Elf mage" },
    { u"seifuku", u"Seifuku" },
} };

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

QString Preferences::label(Size size)
{
    switch (size) {
    case Size::small:
        return u"Small"_s;
    case Size::large:
        return u"Large"_s;
    case Size::medium:
        break;
    }
    return u"Medium"_s;
}

std::optional<Preferences::Size> Preferences::sizeFromRawValue(int raw)
{
    if (raw < 0 || raw > 2)
        return std::nullopt;
    return static_cast<Size>(raw);
}

QString Preferences::rawValue(Outfit outfit)
{
    return outfitNames[static_cast<size_t>(outfit)].raw.toString();
}

QString Preferences::label(Outfit outfit)
{
    return outfitNames[static_cast<size_t>(outfit)].label.toString();
}

std::optional<Preferences::Outfit> Preferences::outfitFromRawValue(QStringView raw)
{
    for (size_t i = 0; i < outfitNames.size(); ++i) {
        if (outfitNames[i].raw == raw)
            return static_cast<Outfit>(i);
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

Preferences *Preferences::shared()
{
    // Created on first use and kept for the life of the process.
    static Preferences *instance = new Preferences(userStore(), LoginItem(), SessionWatcher::shared());
    return instance;
}

Preferences::Preferences(std::unique_ptr<QSettings> store, QObject *parent)
    : Preferences(std::move(store), LoginItem(), nullptr, parent)
{
}

Preferences::Preferences(std::unique_ptr<QSettings> store, LoginItem loginItem, SessionWatcher *watcher, QObject *parent)
    : QObject(parent)
    , m_store(std::move(store))
    , m_loginItem(std::move(loginItem))
    , m_watcher(watcher)
{
    const qint64 storedSize = readInteger(*m_store, sizeKey, 1);
    m_size = storedSize == 0 ? Size::small : storedSize == 2 ? Size::large : Size::medium;
    m_keepOnTop = readBool(*m_store, keepOnTopKey, true);
    m_allSpaces = readBool(*m_store, allSpacesKey, true);
    m_speechBubbles = readBool(*m_store, speechBubblesKey, true);
    m_percentTag = readBool(*m_store, percentTagKey, true);
    m_bedtime = readBedtime(*m_store);
    m_petVisible = readBool(*m_store, petVisibleKey, true);
    m_outfit = outfitFromRawValue(m_store->value(outfitKey.toString()).toString()).value_or(Outfit::seasonal);
}

Preferences::~Preferences() = default;

void Preferences::write(QStringView key, const QVariant &value)
{
    // On disk at once: nothing waits for the event loop, and the watcher's own store sees it.
    m_store->setValue(key.toString(), value);
    m_store->sync();
}

bool Preferences::openAtLogin() const
{
    return m_loginItem.isEnabled();
}

void Preferences::setOpenAtLogin(bool on)
{
    Q_EMIT aboutToChange();
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
    // Every assignment notifies and writes, also when the value is unchanged.
    Q_EMIT aboutToChange();
    field = value;
    write(key, stored);
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
    // The write is on disk, where the watcher's thread reads it; recompute every window now.
    if (m_watcher)
        m_watcher->refresh();
}

void Preferences::setPetVisible(bool on)
{
    assign(m_petVisible, on, petVisibleKey, on, &Preferences::petVisibleChanged);
}

void Preferences::setOutfit(Outfit outfit)
{
    assign(m_outfit, outfit, outfitKey, rawValue(outfit), &Preferences::outfitChanged);
}
