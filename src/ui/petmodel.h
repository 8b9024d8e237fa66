#pragma once

#include "session.h"

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

#include <optional>

/// The observable state of the character on the desktop. The pet controller is its only writer;
/// every assignment notifies, also of an equal value, so views must tolerate redundant updates.
class PetModel : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The pet controller owns the one model")
    Q_PROPERTY(int tier READ tier WRITE setTier NOTIFY tierChanged)
    Q_PROPERTY(Mood mood READ mood WRITE setMood NOTIFY moodChanged)
    Q_PROPERTY(bool announcing READ announcing WRITE setAnnouncing NOTIFY announcingChanged)
    Q_PROPERTY(bool hovering READ hovering WRITE setHovering NOTIFY hoveringChanged)
    /// Whether her panel is on screen.
    Q_PROPERTY(bool shown READ shown WRITE setShown NOTIFY shownChanged)
    // Read-only views for the overlay, recomputed whenever any field is assigned.
    Q_PROPERTY(bool hasSession READ hasSession NOTIFY changed)
    Q_PROPERTY(QString romaji READ romaji NOTIFY changed)
    Q_PROPERTY(QString english READ english NOTIFY changed)
    Q_PROPERTY(QString detail READ detail NOTIFY changed)
    Q_PROPERTY(QString tagLabel READ tagLabel NOTIFY changed)
    Q_PROPERTY(bool alarm READ alarm NOTIFY changed)

public:
    enum class Mood { working, empty, blind };
    Q_ENUM(Mood)

    struct Line {
        QString romaji;
        QString english;
        friend bool operator==(const Line &, const Line &) = default;
    };

    explicit PetModel(QObject *parent = nullptr);

    int tier() const { return m_tier; }
    /// Clamped to 0…6 so the tier always indexes the tier table.
    void setTier(int tier);
    Mood mood() const { return m_mood; }
    void setMood(Mood mood);
    const std::optional<Session> &session() const { return m_session; }
    void setSession(const std::optional<Session> &session);
    bool announcing() const { return m_announcing; }
    void setAnnouncing(bool on);
    bool hovering() const { return m_hovering; }
    void setHovering(bool on);
    bool shown() const { return m_shown; }
    void setShown(bool on);

    /// What she says in her bubble, chosen by mood (and tier while working).
    Line line() const;
    QString romaji() const { return line().romaji; }
    QString english() const { return line().english; }
    bool hasSession() const { return m_session.has_value(); }
    /// The detail line of the bubble, empty without a session.
    QString detail() const { return m_session ? detail(*m_session) : QString(); }
    /// The percent tag's text: "--%" unless working with a session.
    QString tagLabel() const;
    /// The tag turns coral from tier 5 while working.
    bool alarm() const { return m_mood == Mood::working && m_tier >= 5; }

    /// "project · 84K / 200K", or "project · fresh" without a token count.
    static QString detail(const Session &session);

Q_SIGNALS:
    void tierChanged();
    void moodChanged();
    void sessionChanged();
    void announcingChanged();
    void hoveringChanged();
    void shownChanged();
    /// Any of the five fields was assigned.
    void changed();

private:
    void notify(void (PetModel::*signal)());

    int m_tier = 0;
    Mood m_mood = Mood::empty;
    std::optional<Session> m_session;
    bool m_announcing = false;
    bool m_hovering = false;
    bool m_shown = false;
};
