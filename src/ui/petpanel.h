#pragma once

#include "passthrough.h"
#include "x11desktop.h"

#include <QQuickWindow>
#include <QRegion>

#include <optional>

class PetStageView;
class QQuickItem;

/// The transparent, frameless, always-on-top tool window that carries her: the stage item at the
/// bottom of its scene and the overlay above it. It never takes focus, and takes the pointer only
/// inside its input region; everywhere else clicks fall through to the windows beneath.
///
/// The panel is laid out in a frame (bubble band, her, tag band); the window covers that whole
/// frame, or, where the window's rectangle itself swallows clicks (an Xwayland window under a
/// Wayland compositor), only the part of it that is drawn now. Geometry handed in and out is always
/// the frame's, so nothing else needs to know which.
class PetPanel : public QQuickWindow
{
    Q_OBJECT

public:
    explicit PetPanel(QWindow *parent = nullptr);
    ~PetPanel() override;

    PetStageView *stage() const { return m_stage; }
    /// Puts the overlay over the stage, filling the frame; it never receives pointer events.
    void setOverlay(QQuickItem *overlay);
    QQuickItem *overlay() const { return m_overlay; }

    /// The whole panel's frame on screen (global, device-independent pixels).
    QRect frame() const;
    void setFrame(const QRect &frame);
    void moveFrame(QPoint topLeft);

    /// Whether the window shrinks to the drawn part of the frame.
    void setCropToDrawn(bool on);
    bool cropsToDrawn() const { return m_crop; }
    /// The part of the frame that is drawn now (frame coordinates); the window covers what of it is on the screens.
    void setDrawnPart(const QRect &part);
    /// The part of the frame the window covers (frame coordinates): when cropped, what is drawn and on the screens.
    QRect coveredPart() const;
    /// Her figure and tag without the bubble (frame coordinates): what a panel must not cover.
    QRect restingPart() const;

    /// Floats above other windows, or sits among them.
    void setKeepOnTop(bool on);
    /// On every virtual desktop, or only on the current one.
    void setAllSpaces(bool on);
    bool allSpaces() const { return m_allSpaces; }
    /// Sets the region that takes the pointer (device pixels of the frame), if it differs from the current one.
    void setInputRegion(const QRegion &deviceRegion);
    QRegion inputRegion() const { return m_inputRegion; }
    /// Clips what is shown to `deviceRegion` (device pixels of the frame), for a desktop that draws
    /// transparent pixels black; no region shows the whole window.
    void setSilhouette(const std::optional<QRegion> &deviceRegion);
    /// Derives from `state` and the stage the regions that take the pointer, are drawn and are shown.
    void updateShapes(const PassThrough::State &state);
    /// Whether a compositor draws transparent pixels; without one the window is clipped to what is drawn.
    void setCompositing(bool on);
    bool compositing() const { return m_compositing; }
    /// Shows the window without activating it.
    void orderFront();

protected:
    void resizeEvent(QResizeEvent *event) override;
    void moveEvent(QMoveEvent *event) override;
    void showEvent(QShowEvent *event) override;
    void exposeEvent(QExposeEvent *event) override;

private:
    void applyShapes();
    void updateSilhouette();
    void watchOverlayItem(const char *name);
    QRectF overlayFrame(const QQuickItem *item) const;
    void placeWindow(QPoint frameTopLeft);
    void showScenePart(const QRect &part);
    QRegion toWindow(const QRegion &frameDevice) const;

    PetStageView *m_stage;
    QQuickItem *m_overlay = nullptr;
    QPoint m_frameTopLeft;
    QSize m_frameSize;
    bool m_crop = false;
    QRect m_drawnPart;
    static constexpr qsizetype requestsKept = 8;
    QList<QRect> m_requestedParts; ///< the parts last asked for, oldest first
    QSize m_windowSize; ///< the window's size as the window system last reported it
    QPoint m_shownPartAt; ///< where in the frame the part the window shows now begins
    QRegion m_inputRegion;
    bool m_inputRegionSet = false;
    std::optional<QRegion> m_silhouette;
    bool m_allSpaces = true;
    bool m_mapping = false;
    bool m_justMapped = false;
    bool m_compositing = true;
    X11Desktop::Placement m_placement = X11Desktop::Placement::windowManager;
    std::optional<PassThrough::State> m_shapeState;
};
