pragma ComponentBehavior: Bound
import QtQuick
import Yuzuha

// Today's books as a popover: a rounded, outlined card with an arrow toward her and, where a
// compositor can blend it, a soft shadow. It fades and grows out of the arrow when it opens and
// fades back into it when it closes.
Item {
    id: card

    required property SessionListModel sessions
    // What the list's controls do: follow or let go, open the settings, hide her.
    required property SessionsPopover popover
    /// The card's side that faces her; the arrow sits on it.
    property int herSide: Qt.LeftEdge
    /// Where the arrow points, in the window's y; kept clear of the rounded corners.
    property real arrowY: height / 2
    /// Whether the window behind the card is blended (a compositor runs): only then the shadow and
    /// the fades, since without one every transparent pixel would show black.
    property bool blended: true
    /// Off when the desktop asks for reduced motion: the card then appears and leaves at once.
    property bool animated: true
    /// Set to bring the card in, cleared to take it away; `gone` follows once it has left.
    property bool open: false

    signal gone

    readonly property real radius: 12
    readonly property real arrowDepth: 9
    readonly property real arrowHalf: 9
    readonly property real shadowBlur: 12
    readonly property real shadowOffset: 3
    /// Room around the card for its shadow; none where the shadow could not be blended.
    readonly property real margin: blended ? shadowBlur + shadowOffset : 0
    /// The card with its arrow, in the window's coordinates: the only part that takes the pointer.
    readonly property rect hitRect: Qt.rect(margin, margin, width - 2 * margin, height - 2 * margin)
    readonly property real cardLeft: margin + (herSide === Qt.LeftEdge ? arrowDepth : 0)
    readonly property real tipX: herSide === Qt.LeftEdge ? margin : width - margin
    readonly property real tipY: Math.max(margin + radius + arrowHalf, Math.min(arrowY, height - margin - radius - arrowHalf))

    width: view.width + arrowDepth + 2 * margin
    height: view.height + 2 * margin

    property real shown: open ? 1 : 0
    Behavior on shown {
        enabled: card.animated && card.blended
        NumberAnimation {
            duration: card.open ? 140 : 100
            easing.type: card.open ? Easing.OutCubic : Easing.InCubic
        }
    }
    onShownChanged: {
        if (!open && shown === 0)
            gone();
    }

    Item {
        id: body

        anchors.fill: parent
        opacity: card.shown
        transform: Scale {
            origin.x: card.tipX
            origin.y: card.tipY
            xScale: 0.94 + 0.06 * card.shown
            yScale: xScale
        }

        Canvas {
            id: outline

            anchors.fill: parent

            function trace(ctx) {
                const p = card;
                const left = p.cardLeft, top = p.margin, w = view.width, h = view.height, r = p.radius;
                const right = left + w, bottom = top + h;
                ctx.beginPath();
                ctx.moveTo(left + r, top);
                ctx.lineTo(right - r, top);
                ctx.arcTo(right, top, right, top + r, r);
                if (p.herSide === Qt.RightEdge) {
                    ctx.lineTo(right, p.tipY - p.arrowHalf);
                    ctx.lineTo(right + p.arrowDepth, p.tipY);
                    ctx.lineTo(right, p.tipY + p.arrowHalf);
                }
                ctx.lineTo(right, bottom - r);
                ctx.arcTo(right, bottom, right - r, bottom, r);
                ctx.lineTo(left + r, bottom);
                ctx.arcTo(left, bottom, left, bottom - r, r);
                if (p.herSide === Qt.LeftEdge) {
                    ctx.lineTo(left, p.tipY + p.arrowHalf);
                    ctx.lineTo(left - p.arrowDepth, p.tipY);
                    ctx.lineTo(left, p.tipY - p.arrowHalf);
                }
                ctx.lineTo(left, top + r);
                ctx.arcTo(left, top, left + r, top, r);
                ctx.closePath();
            }

            onPaint: {
                const ctx = getContext("2d");
                ctx.reset();
                ctx.save();
                if (card.blended) {
                    ctx.shadowColor = Qt.rgba(Theme.ink.r, Theme.ink.g, Theme.ink.b, 0.35);
                    ctx.shadowBlur = card.shadowBlur;
                    ctx.shadowOffsetY = card.shadowOffset;
                }
                trace(ctx);
                ctx.fillStyle = Theme.machine;
                ctx.fill();
                ctx.restore();
                trace(ctx);
                // Without a compositor the window is cut along the outline's middle: only its inner half shows.
                ctx.lineWidth = card.blended ? 1.5 : 3;
                ctx.lineJoin = "round";
                ctx.strokeStyle = Qt.rgba(Theme.ink.r, Theme.ink.g, Theme.ink.b, 0.85);
                ctx.stroke();
            }
            onWidthChanged: requestPaint()
            onHeightChanged: requestPaint()
            Connections {
                target: card
                function onTipYChanged() { outline.requestPaint(); }
                function onHerSideChanged() { outline.requestPaint(); }
                function onBlendedChanged() { outline.requestPaint(); }
            }
        }

        SessionsView {
            id: view

            x: card.cardLeft
            y: card.margin
            sessions: card.sessions
            popover: card.popover
        }
    }
}
