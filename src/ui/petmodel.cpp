#include "petmodel.h"

#include "formatting.h"

#include <algorithm>

using namespace Qt::StringLiterals;

PetModel::PetModel(QObject *parent)
    : QObject(parent)
{
}

void PetModel::notify(void (PetModel::*signal)())
{
    Q_EMIT(this->*signal)();
    Q_EMIT changed();
}

void PetModel::setTier(int tier)
{
    m_tier = std::clamp(tier, 0, int(Tiers::all.size()) - 1);
    notify(&PetModel::tierChanged);
}

void PetModel::setMood(Mood mood)
{
    m_mood = mood;
    notify(&PetModel::moodChanged);
}

void PetModel::setSession(const std::optional<Session> &session)
{
    m_session = session;
    notify(&PetModel::sessionChanged);
}

void PetModel::setAnnouncing(bool on)
{
    m_announcing = on;
    notify(&PetModel::announcingChanged);
}

void PetModel::setHovering(bool on)
{
    m_hovering = on;
    notify(&PetModel::hoveringChanged);
}

void PetModel::setShown(bool on)
{
    // Not one of what she says or wears, so the overlay's texts are left alone.
    m_shown = on;
    Q_EMIT shownChanged();
}

PetModel::Line PetModel::line() const
{
    switch (m_mood) {
    case Mood::working: {
        const Tiers::Tier &row = Tiers::all[size_t(m_tier)];
        return { row.romaji.toString(), row.english.toString() };
    }
    case Mood::blind:
        return { u"Mienai..."_s, u"I can't open your session folder. Click me to see which."_s };
    case Mood::empty:
        break;
    }
    return { u"Ohayou!"_s, u"Start Claude Code or Codex and I'll keep the books."_s };
}

QString PetModel::tagLabel() const
{
    if (m_mood != Mood::working || !m_session)
        return u"--%"_s;
    return QString::number(m_session->percent()) + u'%';
}

QString PetModel::detail(const Session &session)
{
    const QString tokens = session.tokens ? shortTokens(*session.tokens) + u" / "_s + shortTokens(session.window) : u"fresh"_s;
    return session.project + u" \u00B7 "_s + tokens;
}
