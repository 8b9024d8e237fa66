#include "petcontroller.h"

#include "desktopwatcher.h"
#include "dimensions.h"
#include "petmodel.h"
#include "petpanel.h"
#include "petstageview.h"
#include "popupdismissal.h"

#include <QActionGroup>
#include <QCoreApplication>
#include <QCursor>
#include <QGuiApplication>
#include <QMenu>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QRegularExpression>
#include <QScreen>
#include <QSettings>

#include <cmath>

using namespace Qt::StringLiterals;

namespace
{
int primaryBottom()
{
    const QScreen *primary = QGuiApplication::primaryScreen();
    return primary ? primary->geometry().y() + primary->geometry().height() : 0;
}

QScreen *mainScreen()
{
    if (QScreen *primary = QGuiApplication::primaryScreen())
        return primary;
    const QList<QScreen *> screens = QGuiApplication::screens();
    return screens.isEmpty() ? nullptr : screens.first();
}
} // namespace

QString PetController::formatOrigin(const QRect &frame, int primaryBottom)
{
    const int x = frame.x();
    const int y = primaryBottom - (frame.y() + frame.height());
    return u"{%1, %2}"_s.arg(x).arg(y);
}

QPoint PetController::parseOrigin(const QString &text, int height, int primaryBottom)
{
    static const QRegularExpression point(uR"(^\s*\{\s*([-+]?\d+(?:\.\d*)?)\s*,\s*([-+]?\d+(?:\.\d*)?)\s*\}\s*$)"_s);
    const QRegularExpressionMatch match = point.match(text);
    double x = 0;
    double y = 0;
    if (match.hasMatch()) {
        x = match.captured(1).toDouble();
        y = match.captured(2).toDouble();
    }
    // Clamp wild values so a hand-edited text cannot overflow a window position; keepOnScreen corrects the rest.
    x = std::clamp(x, -1e6, 1e6);
    y = std::clamp(y, -1e6, 1e6);
    return QPoint(int(std::lround(x)), primaryBottom - int(std::lround(y)) - height);
}

bool PetController::visibleEnough(const QRect &figure, const QList<QRect> &available)
{
    const QRectF f(figure);
    const QRectF centre = f.adjusted(f.width() * 0.3, f.height() * 0.3, -f.width() * 0.3, -f.height() * 0.3);
    for (const QRect &area : available) {
        if (centre.intersects(QRectF(area)))
            return true;
    }
    return false;
}

QPoint PetController::defaultCorner(const QRect &available, QSize panel)
{
    return QPoint(
        available.x() + available.width() - panel.width() - int(cornerRight), available.y() + available.height() - int(cornerBottom) - panel.height());
}

PetController::PetController(Inputs inputs, QQmlEngine *engine, QObject *parent)
    : QObject(parent)
    , m_inputs(std::move(inputs))
    , m_model(new PetModel(this))
    , m_panel(std::make_unique<PetPanel>())
{
    Preferences *prefs = m_inputs.preferences;
    Q_ASSERT(prefs && engine);
    PetStageView *stage = m_panel->stage();
    stage->setReduceMotion(m_inputs.reduceMotion);
    if (Sprites::Store *sprites = m_inputs.sprites)
        stage->setImageSource([sprites](int tier, int pixelHeight) { return sprites->image(tier, pixelHeight); });
    connect(m_panel.get(), &QWindow::visibleChanged, m_model, &PetModel::setShown);

    QQmlComponent component(engine, QUrl(u"qrc:/qt/qml/Yuzuha/PetOverlay.qml"_s));
    QObject *root = component.createWithInitialProperties({ { u"model"_s, QVariant::fromValue(m_model) }, { u"animated"_s, !m_inputs.reduceMotion } });
    if (auto *overlay = qobject_cast<QQuickItem *>(root))
        m_panel->setOverlay(overlay);
    else
        qWarning("Yuzuha: the pet overlay could not be built: %s", qPrintable(component.errorString()));

    connect(stage, &PetStageView::clicked, this, &PetController::clicked);
    connect(stage, &PetStageView::moved, this, &PetController::moved);
    connect(stage, &PetStageView::contextMenuRequested, this, [this](QPoint at) {
        QMenu *menu = contextMenu();
        menu->setAttribute(Qt::WA_DeleteOnClose);
        // Under a Wayland compositor her pointer grab cannot see a click elsewhere.
        if (m_panel->cropsToDrawn())
            PopupDismissal::popupBeside(menu, at);
        else
            menu->popup(at);
    });
    connect(stage, &PetStageView::pointerMoved, this, &PetController::pointerMoved);
    connect(stage, &PetStageView::pointerLeft, this, &PetController::pointerLeft);
    connect(stage, &PetStageView::contentsChanged, this, &PetController::updateInputRegion);
    connect(stage, &PetStageView::contentsChanged, this, [this] {
        if (QQuickItem *overlay = m_panel->overlay())
            overlay->setProperty("headroom", this->stage()->headroom());
    });
    connect(m_model, &PetModel::announcingChanged, this, &PetController::updateInputRegion);
    connect(m_model, &PetModel::hoveringChanged, this, &PetController::updateInputRegion);

    m_announceTimer.setSingleShot(true);
    connect(&m_announceTimer, &QTimer::timeout, this, [this] { m_model->setAnnouncing(false); });
    m_leaveTimer.setSingleShot(true);
    m_leaveTimer.setInterval(leaveGraceMs);
    connect(&m_leaveTimer, &QTimer::timeout, this, [this] {
        if (m_model->hovering())
            m_model->setHovering(false);
    });

    // Size and outfit changes are handled on the next turn of the event loop, after the setter has returned.
    connect(prefs, &Preferences::sizeChanged, this, [this] { QTimer::singleShot(0, this, [this] { layout(true); }); });
    m_outfit = prefs->outfit();
    connect(prefs, &Preferences::outfitChanged, this, [this](Preferences::Outfit outfit) {
        if (m_outfit == outfit)
            return;
        m_outfit = outfit;
        QTimer::singleShot(0, this, &PetController::applyOutfit);
    });
    if (m_inputs.desktop)
        connect(m_inputs.desktop, &DesktopWatcher::compositingChanged, m_panel.get(), &PetPanel::setCompositing);
    connect(prefs, &Preferences::keepOnTopChanged, m_panel.get(), &PetPanel::setKeepOnTop);
    m_panel->setKeepOnTop(prefs->keepOnTop());
    connect(prefs, &Preferences::allSpacesChanged, m_panel.get(), &PetPanel::setAllSpaces);
    m_panel->setAllSpaces(prefs->allSpaces());
    // The overlay binds the tag to the setting itself; only the part that takes the pointer changes here.
    connect(prefs, &Preferences::percentTagChanged, this, &PetController::updateInputRegion);

    // Displays added, removed or rearranged.
    const auto screensChanged = [this] { QTimer::singleShot(0, this, &PetController::keepOnScreen); };
    connect(qGuiApp, &QGuiApplication::screenAdded, this, [this, screensChanged](QScreen *screen) {
        watchScreen(screen);
        screensChanged();
    });
    connect(qGuiApp, &QGuiApplication::screenRemoved, this, screensChanged);
    connect(qGuiApp, &QGuiApplication::primaryScreenChanged, this, screensChanged);
    for (QScreen *screen : QGuiApplication::screens())
        watchScreen(screen);

    scheduleUpdate();
}

PetController::~PetController()
{
    // The overlay's items belong to the engine's context; drop them while it is still there.
    if (QQuickItem *overlay = m_panel->overlay())
        delete overlay;
    m_panel.reset();
}

PetStageView *PetController::stage() const
{
    return m_panel->stage();
}

void PetController::watchScreen(QScreen *screen)
{
    connect(screen, &QScreen::availableGeometryChanged, this, [this] { QTimer::singleShot(0, this, &PetController::workAreaChanged); });
}

void PetController::workAreaChanged()
{
    const QScreen *primary = mainScreen();
    if (m_atCorner && primary) {
        // A panel that starts after her reserves its strip: the corner she stands in moves with the work area.
        m_panel->moveFrame(defaultCorner(primary->availableGeometry(), panelFrame().size()));
    } else {
        // A place the user chose stays, unless a panel now covers what is drawn of her: then she steps off it.
        const QRect drawn = m_panel->restingPart().translated(panelFrame().topLeft());
        for (const QScreen *screen : QGuiApplication::screens()) {
            const QRect area = screen->availableGeometry();
            if (!screen->geometry().intersects(drawn) || area.contains(drawn))
                continue;
            const int dx = drawn.left() < area.left() ? area.left() - drawn.left() : std::min(0, area.right() - drawn.right());
            const int dy = drawn.top() < area.top() ? area.top() - drawn.top() : std::min(0, area.bottom() - drawn.bottom());
            m_panel->moveFrame(panelFrame().topLeft() + QPoint(dx, dy));
            storeOrigin();
            break;
        }
    }
    keepOnScreen();
}

void PetController::scheduleUpdate()
{
    if (m_updatePending)
        return;
    m_updatePending = true;
    QTimer::singleShot(0, this, [this] {
        m_updatePending = false;
        update();
    });
}

QRect PetController::panelFrame() const
{
    return m_panel->frame();
}

void PetController::showOnLaunch()
{
    layout(false);
    Preferences *prefs = m_inputs.preferences;
    if (prefs->petVisible()) {
        prefs->setPetVisible(true);
        m_panel->orderFront();
        stage()->startBreathing();
    }
    announce(launchAnnouncementSeconds);
}

void PetController::layout(bool keepAnchor)
{
    const Dimensions::Pet g = Dimensions::pet(m_inputs.preferences->size());
    const QSize panel = g.panel.toSize();
    const QRect current = panelFrame();
    QPoint origin;
    const QVariant stored = m_inputs.preferences->defaults().value(Preferences::petOriginKey.toString());
    if (keepAnchor && current.width() > 0) {
        // The bottom centre stays put.
        const qreal midX = current.x() + current.width() / 2.0;
        origin = QPoint(int(std::lround(midX - panel.width() / 2.0)), current.y() + current.height() - panel.height());
    } else {
        const QScreen *screen = mainScreen();
        const QPoint corner = defaultCorner(screen ? screen->availableGeometry() : QRect(), panel);
        origin = stored.isValid() ? parseOrigin(stored.toString(), panel.height(), primaryBottom()) : corner;
        m_atCorner = origin == corner;
    }
    m_panel->setFrame(QRect(origin, panel));
    stage()->layoutSprite(g.sprite, std::max(m_shownTier, 0));
    keepOnScreen();
    updateInputRegion();
}

void PetController::keepOnScreen()
{
    QList<QRect> available;
    for (const QScreen *screen : QGuiApplication::screens())
        available.append(screen->availableGeometry());
    // Her figure, not the panel: the empty bubble band above her could hold the panel on screen with only her hair showing.
    if (visibleEnough(stage()->spriteRect().toAlignedRect().translated(panelFrame().topLeft()), available))
        return;
    const QScreen *primary = QGuiApplication::primaryScreen();
    if (!primary)
        return;
    m_atCorner = true;
    m_panel->moveFrame(defaultCorner(primary->availableGeometry(), panelFrame().size()));
    storeOrigin();
}

void PetController::storeOrigin()
{
    m_inputs.preferences->defaults().setValue(Preferences::petOriginKey.toString(), formatOrigin(panelFrame(), primaryBottom()));
}

void PetController::moved()
{
    m_atCorner = false;
    // No clamping after a drag: she may be left mostly off screen until the next layout or display change.
    storeOrigin();
    Q_EMIT movedTo(spriteAnchor());
}

void PetController::update()
{
    const std::optional<Session> focused = m_inputs.focused ? m_inputs.focused() : std::nullopt;
    // Nothing to show while a folder is out of reach: say so rather than wait for sessions.
    const bool outOfReach = m_inputs.outOfReach && m_inputs.outOfReach();
    m_model->setMood(focused ? PetModel::Mood::working : outOfReach ? PetModel::Mood::blind : PetModel::Mood::empty);
    m_model->setSession(focused);
    const int tier = focused ? focused->tier() : 0;
    m_model->setTier(tier);

    Q_EMIT updated();

    const std::optional<QString> id = focused ? std::optional<QString>(focused->id) : std::nullopt;
    const bool same = tier == m_shownTier && id == m_shownSessionID;
    const int previousTier = m_shownTier;
    m_shownSessionID = id;

    if (tier != m_shownTier) {
        PetStageView *view = stage();
        view->setTier(tier);
        const bool animated = previousTier != -1 && !m_inputs.reduceMotion;
        view->applyContents(animated);
        if (animated)
            view->hop();
        m_shownTier = tier;
    }
    if (!same && previousTier != -1)
        announce(changeAnnouncementSeconds);
}

void PetController::applyOutfit()
{
    PetStageView *view = stage();
    view->setTier(std::max(m_shownTier, 0));
    const bool animated = !m_inputs.reduceMotion;
    view->applyContents(animated);
    if (animated)
        view->hop();
}

void PetController::announce(int seconds)
{
    if (!m_inputs.preferences->speechBubbles())
        return;
    m_model->setAnnouncing(true);
    m_announceTimer.start(seconds * 1000);
}

void PetController::clicked()
{
    // The bubble makes way for the sessions list.
    m_announceTimer.stop();
    m_model->setAnnouncing(false);
    Q_EMIT sessionsRequested(spriteAnchor());
}

QRect PetController::spriteAnchor() const
{
    return stage()->spriteRect().translated(panelFrame().topLeft()).toAlignedRect();
}

void PetController::setReduceMotion(bool on)
{
    if (m_inputs.reduceMotion == on)
        return;
    m_inputs.reduceMotion = on;
    PetStageView *stage = m_panel->stage();
    stage->setReduceMotion(on);
    if (on)
        stage->stopBreathing();
    else if (m_panel->isVisible())
        stage->startBreathing();
    if (QQuickItem *overlay = m_panel->overlay())
        overlay->setProperty("animated", !on);
}

/// One item of a one-choice submenu: its tag is the value the action hands back, and its group makes
/// the choices exclusive, so the desktop style draws them as radio items.
void PetController::addPick(QMenu *menu, QActionGroup *group, const QString &title, int tag, bool checked, void (PetController::*pick)(int))
{
    QAction *item = menu->addAction(title);
    item->setData(tag);
    item->setCheckable(true);
    group->addAction(item);
    item->setChecked(checked);
    connect(item, &QAction::triggered, this, [this, tag, pick] { (this->*pick)(tag); });
}

QMenu *PetController::contextMenu()
{
    Preferences *prefs = m_inputs.preferences;
    auto *menu = new QMenu;

    QMenu *sizes = menu->addMenu(u"Size"_s);
    auto *sizeGroup = new QActionGroup(sizes);
    for (const Preferences::SizeName &size : Preferences::sizes)
        addPick(sizes, sizeGroup, size.label.toString(), int(size.size), prefs->size() == size.size, &PetController::pickSize);

    QMenu *outfits = menu->addMenu(u"Outfit"_s);
    auto *outfitGroup = new QActionGroup(outfits);
    for (const Preferences::OutfitName &outfit : Preferences::outfits) {
        addPick(outfits, outfitGroup, outfit.label.toString(), int(outfit.outfit), prefs->outfit() == outfit.outfit, &PetController::pickOutfit);
        if (outfit.outfit == Preferences::Outfit::seasonal)
            outfits->addSeparator();
    }

    QAction *top = menu->addAction(u"Keep on Top"_s);
    top->setCheckable(true);
    top->setChecked(prefs->keepOnTop());
    connect(top, &QAction::triggered, this, &PetController::toggleTop);
    menu->addSeparator();
    connect(menu->addAction(u"Hide Yuzuha"_s), &QAction::triggered, this, &PetController::hideFromMenu);
    connect(menu->addAction(u"Settings\u2026"_s), &QAction::triggered, this, &PetController::openSettings);
    menu->addSeparator();
    connect(menu->addAction(u"Quit Yuzuha"_s), &QAction::triggered, qApp, &QCoreApplication::quit);
    return menu;
}

void PetController::pickSize(int tag)
{
    m_inputs.preferences->setSize(Preferences::sizeFromRawValue(tag).value_or(Preferences::Size::medium));
}

void PetController::pickOutfit(int tag)
{
    if (tag < 0 || tag >= int(Preferences::outfits.size()))
        return;
    m_inputs.preferences->setOutfit(Preferences::outfits[size_t(tag)].outfit);
}

void PetController::toggleTop()
{
    m_inputs.preferences->setKeepOnTop(!m_inputs.preferences->keepOnTop());
}

void PetController::openSettings()
{
    Q_EMIT settingsRequested();
}

void PetController::showPet()
{
    m_inputs.preferences->setPetVisible(true);
    m_panel->orderFront();
    stage()->startBreathing();
}

void PetController::hideFromMenu()
{
    m_inputs.preferences->setPetVisible(false);
    Q_EMIT hidden();
    m_panel->hide();
}

void PetController::pointerMoved(QPointF position)
{
    m_leaveTimer.stop();
    // A window that changes size under a resting pointer hears it again at its old spot: ask where it is.
    if (m_panel->cropsToDrawn())
        position = QCursor::pos() - panelFrame().topLeft();
    PassThrough::State state { panelFrame().size(), m_model->announcing(), m_model->hovering(), m_inputs.preferences->percentTag() };
    const PassThrough::Decision decision = PassThrough::decide(state, position, stage()->isOnHer(position));
    if (decision.hovering != m_model->hovering())
        m_model->setHovering(decision.hovering);
}

void PetController::pointerLeft()
{
    // Her window changing size under the pointer makes it leave and enter again at once (the bubble coming
    // would take itself away): only a leave that no enter follows ends the hover.
    if (m_panel->cropsToDrawn()) {
        m_leaveTimer.start();
        return;
    }
    if (m_model->hovering())
        m_model->setHovering(false);
}

void PetController::updateInputRegion()
{
    const PassThrough::State state { panelFrame().size(), m_model->announcing(), m_model->hovering(), m_inputs.preferences->percentTag() };
    m_panel->updateShapes(state);
}
