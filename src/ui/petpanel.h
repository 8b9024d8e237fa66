#pragma once

#include "passthrough.h"

#include <QQuickWindow>
#include <QRegion>

class PetStageView;
class QQuickItem;

/// The transparent, frameless, always-on-top tool window that carries her: the stage item at the
/// bottom of its scene and the overlay above it. It never takes focus, and takes the pointer only
/// inside its input region; everywhere else clicks fall through to the windows beneath.
class PetPanel : public QQuickWindow
{
    Q_OBJECT

public:
    explicit PetPanel(QWindow *parent = nullptr);
    ~PetPanel() override;

    PetStageView *stage() const { return m_stage; }
    /// Puts the overlay over the stage, filling the window; it never receives pointer events.
    void setOverlay(QQuickItem *overlay);
    QQuickItem *overlay() const { return m_overlay; }

    /// Floats above other windows, or sits among them.
    void setKeepOnTop(bool on);
    /// On every virtual desktop, or only on the current one.
    void setAllSpaces(bool on);
    /// Sets the region that takes the pointer (device pixels), if it differs from the current one.
    void setInputRegion(const QRegion &deviceRegion);
    QRegion inputRegion() const { return m_inputRegion; }
    /// Shows the window without activating it.
    void orderFront();

protected:
    void resizeEvent(QResizeEvent *event) override;
    void showEvent(QShowEvent *event) override;

private:
    PetStageView *m_stage;
    QQuickItem *m_overlay = nullptr;
    QRegion m_inputRegion;
    bool m_inputRegionSet = false;
    bool m_allSpaces = true;
};
