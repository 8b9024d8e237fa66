#pragma once

#include <QObject>
#include <QSettings>
#include <QString>
#include <QStringView>

#include "loginitem.h"

#include <array>
#include <memory>
#include <optional>

/// The user's settings, written through to the settings store at every assignment.
/// Every setter notifies, also when the value is unchanged.
class SessionWatcher;

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

    enum class Outfit {
        seasonal,
        office,
        halloween,
        christmas,
        eva,
        sailor,
        demonslayer,
        jujutsu,
        naruto,
        onepiece,
        spyfamily,
        titan,
        dragonball,
        hero,
        frieren,
        seifuku,
    };
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

    static constexpr std::array<Size, 3> allSizes { Size::small, Size::medium, Size::large };
    static constexpr std::array<Outfit, 16> allOutfits {
        Outfit::seasonal,
        Outfit::office,
        Outfit::halloween,
        Outfit::christmas,
        Outfit::eva,
        Outfit::sailor,
        Outfit::demonslayer,
        Outfit::jujutsu,
        Outfit::naruto,
        Outfit::onepiece,
        Outfit::spyfamily,
        Outfit::titan,
        Outfit::dragonball,
        Outfit::hero,
        Outfit::frieren,
        Outfit::seifuku,
    };

    static QString label(Size size);
    static std::optional<Size> sizeFromRawValue(int raw);

    static QString rawValue(Outfit outfit);
    static QString label(Outfit outfit);
    static std::optional<Outfit> outfitFromRawValue(QStringView raw);
    /// Seasonal becomes Halloween in October, Christmas in December, office otherwise.
    static Outfit resolved(Outfit outfit, QDate today);
    static Outfit resolved(Outfit outfit);

    /// The settings file of the running user.
    static std::unique_ptr<QSettings> userStore();

    /// The one instance, over the user's settings file.
    static Preferences *shared();

    /// An instance over any store; tests hand in a settings file of their own. It registers the real
    /// login item and refreshes no watcher when the bedtime changes.
    explicit Preferences(std::unique_ptr<QSettings> store, QObject *parent = nullptr);
    /// An instance over any store, login item and watcher; the bedtime setter refreshes `watcher` (when set).
    Preferences(std::unique_ptr<QSettings> store, LoginItem loginItem, SessionWatcher *watcher, QObject *parent = nullptr);
    ~Preferences() override;

    /// The store itself, for flags kept without a property ("hasSeenWelcome", "petOrigin").
    QSettings &defaults() const { return *m_store; }

    Size size() const { return m_size; }
    void setSize(Size size);
    bool keepOnTop() const { return m_keepOnTop; }
    void setKeepOnTop(bool on);
    bool allSpaces() const { return m_allSpaces; }
    void setAllSpaces(bool on);
    bool speechBubbles() const { return m_speechBubbles; }
    void setSpeechBubbles(bool on);
    bool percentTag() const { return m_percentTag; }
    void setPercentTag(bool on);
    qint64 bedtime() const { return m_bedtime; }
    void setBedtime(qint64 tokens);
    bool petVisible() const { return m_petVisible; }
    void setPetVisible(bool on);
    Outfit outfit() const { return m_outfit; }
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
    /// Fires before any setting changes.
    void aboutToChange();
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
    void write(QStringView key, const QVariant &value);
    template <typename T> void assign(T &field, T value, QStringView key, const QVariant &stored, void (Preferences::*changed)(T));

    std::unique_ptr<QSettings> m_store;
    LoginItem m_loginItem;
    SessionWatcher *m_watcher = nullptr;
    Size m_size = Size::medium;
    bool m_keepOnTop = true;
    bool m_allSpaces = true;
    bool m_speechBubbles = true;
    bool m_percentTag = true;
    qint64 m_bedtime = 0;
    bool m_petVisible = true;
    Outfit m_outfit = Outfit::seasonal;
};
