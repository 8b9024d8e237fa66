#pragma once

#include <QObject>
#include <QSettings>
#include <QString>
#include <QStringView>

#include "loginitem.h"

#include <array>
#include <memory>
#include <optional>

// Her outfits in wardrobe order: the raw value (the stored setting and the sprite folder) and the label.
// The enum, the table below and everything that lists outfits are made from this one list.
#define YUZUHA_OUTFITS(X)                                                                                                                                      \
    X(seasonal, "Seasonal")                                                                                                                                    \
    X(office, "Office")                                                                                                                                        \
    X(halloween, "Halloween witch")                                                                                                                            \
    X(christmas, "Christmas")                                                                                                                                  \
    X(eva, "Plugsuit pilot")                                                                                                                                   \
    X(sailor, "Magical girl")                                                                                                                                  \
    X(demonslayer, "Slayer corps")                                                                                                                             \
    X(jujutsu, "Sorcery school")                                                                                                                               \
    X(naruto, "Ninja")                                                                                                                                         \
    X(onepiece, "Pirate")                                                                                                                                      \
    X(spyfamily, "Academy")                                                                                                                                    \
    X(titan, "Scout regiment")                                                                                                                                 \
    X(dragonball, "Martial artist")                                                                                                                            \
    X(hero, "Hero academy")                                                                                                                                    \
    X(frieren, "Elf mage")                                                                                                                                     \
    X(seifuku, "Seifuku")

/// The user's settings, written through to the settings store when an assignment changes what it holds.
/// Every setter notifies, also when the value is unchanged.
class Preferences : public QObject
{
    Q_OBJECT
    Q_PROPERTY(Size size READ size WRITE setSize NOTIFY sizeChanged)
    Q_PROPERTY(bool keepOnTop READ keepOnTop WRITE setKeepOnTop NOTIFY keepOnTopChanged)
    Q_PROPERTY(bool allSpaces READ allSpaces WRITE setAllSpaces NOTIFY allSpacesChanged)
    Q_PROPERTY(bool speechBubbles READ speechBubbles WRITE setSpeechBubbles NOTIFY speechBubblesChanged)
    Q_PROPERTY(bool percentTag READ percentTag WRITE setPercentTag NOTIFY percentTagChanged)
    Q_PROPERTY(qint64 bedtime READ bedtime WRITE setBedtime NOTIFY bedtimeChanged)
    Q_PROPERTY(bool petVisible READ petVisible WRITE setPetVisible NOTIFY petVisibleChanged)
    Q_PROPERTY(Outfit outfit READ outfit WRITE setOutfit NOTIFY outfitChanged)
    /// Read from the platform's login-item registration every time; there is no stored copy.
    Q_PROPERTY(bool openAtLogin READ openAtLogin WRITE setOpenAtLogin NOTIFY openAtLoginChanged)

public:
    enum class Size { small = 0, medium = 1, large = 2 };
    Q_ENUM(Size)

#define YUZUHA_OUTFIT_CASE(raw, label) raw,
    enum class Outfit { YUZUHA_OUTFITS(YUZUHA_OUTFIT_CASE) };
#undef YUZUHA_OUTFIT_CASE
    Q_ENUM(Outfit)

    struct Bedtime {
        QStringView label;
        qint64 tokens;
    };
    static constexpr std::array<Bedtime, 3> bedtimes { {
        { u"When the context window is full", 0 },
        { u"At 200K tokens", 200'000 },
        { u"At 400K tokens", 400'000 },
    } };

    struct SizeName {
        Size size;
        QStringView label;
        int spriteHeight; ///< her height on screen at this size, in device-independent pixels
    };
    /// The sizes in menu order.
    static constexpr std::array<SizeName, 3> sizes { {
        { Size::small, u"Small", 180 },
        { Size::medium, u"Medium", 250 },
        { Size::large, u"Large", 340 },
    } };

    struct OutfitName {
        Outfit outfit;
        QStringView raw;
        QStringView label;
    };
#define YUZUHA_OUTFIT_ROW(raw, label) { Outfit::raw, u"" #raw, u"" label },
    /// Every outfit in wardrobe order.
    static constexpr auto outfits = std::to_array<OutfitName>({ YUZUHA_OUTFITS(YUZUHA_OUTFIT_ROW) });
#undef YUZUHA_OUTFIT_ROW

    static const SizeName &sizeName(Size size)
    {
        return sizes[static_cast<size_t>(size)];
    }
    static std::optional<Size> sizeFromRawValue(qint64 raw);

    static const OutfitName &outfitName(Outfit outfit)
    {
        return outfits[static_cast<size_t>(outfit)];
    }
    static QString rawValue(Outfit outfit)
    {
        return outfitName(outfit).raw.toString();
    }
    static QString label(Outfit outfit)
    {
        return outfitName(outfit).label.toString();
    }
    static std::optional<Outfit> outfitFromRawValue(QStringView raw);
    /// Seasonal becomes Halloween in October, Christmas in December, office otherwise.
    static Outfit resolved(Outfit outfit, QDate today);
    static Outfit resolved(Outfit outfit);

    /// The settings file of the running user.
    static std::unique_ptr<QSettings> userStore();

    /// An instance over any store; tests hand in a settings file of their own. It registers the real login item.
    explicit Preferences(std::unique_ptr<QSettings> store, QObject *parent = nullptr);
    /// An instance over any store and login item.
    Preferences(std::unique_ptr<QSettings> store, LoginItem loginItem, QObject *parent = nullptr);
    ~Preferences() override;

    /// The store itself, for flags kept without a property ("hasSeenWelcome", "petOrigin").
    QSettings &defaults() const
    {
        return *m_store;
    }

    Size size() const
    {
        return m_size;
    }
    void setSize(Size size);
    bool keepOnTop() const
    {
        return m_keepOnTop;
    }
    void setKeepOnTop(bool on);
    bool allSpaces() const
    {
        return m_allSpaces;
    }
    void setAllSpaces(bool on);
    bool speechBubbles() const
    {
        return m_speechBubbles;
    }
    void setSpeechBubbles(bool on);
    bool percentTag() const
    {
        return m_percentTag;
    }
    void setPercentTag(bool on);
    qint64 bedtime() const
    {
        return m_bedtime;
    }
    void setBedtime(qint64 tokens);
    bool petVisible() const
    {
        return m_petVisible;
    }
    void setPetVisible(bool on);
    Outfit outfit() const
    {
        return m_outfit;
    }
    void setOutfit(Outfit outfit);
    bool openAtLogin() const;
    /// Registers or unregisters the login item; a failure is logged and the getter keeps the real state.
    void setOpenAtLogin(bool on);

    // Keys of the settings store.
    static constexpr QStringView sizeKey = u"petSize";
    static constexpr QStringView keepOnTopKey = u"keepOnTop";
    static constexpr QStringView allSpacesKey = u"allSpaces";
    static constexpr QStringView speechBubblesKey = u"speechBubbles";
    static constexpr QStringView percentTagKey = u"percentTag";
    static constexpr QStringView bedtimeKey = u"bedtimeTokens";
    static constexpr QStringView petVisibleKey = u"petVisible";
    static constexpr QStringView outfitKey = u"outfit";
    static constexpr QStringView hasSeenWelcomeKey = u"hasSeenWelcome";
    static constexpr QStringView petOriginKey = u"petOrigin";

    /// "bedtimeTokens" as a store holds it, 0 when absent or unreadable; safe on any thread with its own QSettings.
    static qint64 readBedtime(const QSettings &store);

Q_SIGNALS:
    void sizeChanged(Preferences::Size size);
    void keepOnTopChanged(bool on);
    void allSpacesChanged(bool on);
    void speechBubblesChanged(bool on);
    void percentTagChanged(bool on);
    void bedtimeChanged(qint64 tokens);
    void petVisibleChanged(bool on);
    void outfitChanged(Preferences::Outfit outfit);
    /// After every assignment of `openAtLogin`, successful or not; read the getter again.
    void openAtLoginChanged();

private:
    void write(QStringView key, const QVariant &value, bool changed);
    template <typename T> void assign(T &field, T value, QStringView key, const QVariant &stored, void (Preferences::*changed)(T));

    std::unique_ptr<QSettings> m_store;
    LoginItem m_loginItem;
    Size m_size = Size::medium;
    bool m_keepOnTop = true;
    bool m_allSpaces = true;
    bool m_speechBubbles = true;
    bool m_percentTag = true;
    qint64 m_bedtime = 0;
    bool m_petVisible = true;
    Outfit m_outfit = Outfit::seasonal;
};
