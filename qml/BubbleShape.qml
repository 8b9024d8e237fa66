pragma ComponentBehavior: Bound
import QtQuick
import Yuzuha

// The bubble's outline: a rounded body with a tail at the bottom centre pointing down at her,
// filled white, stroked in ink and casting a soft ink shadow. Drawn once per size change.
Canvas {
    id: shape

    /// How far the tail reaches below the body.
    property real tail: 9
    readonly property real radius: 14
    readonly property real shadowBlur: 4
    readonly property real shadowOffset: 2

    // Room around the outline for the shadow; the canvas reaches past the bubble's own frame.
    readonly property real margin: shadowBlur + shadowOffset + 2
    x: -margin
    y: -margin
    width: parent ? parent.width + 2 * margin : 0
    height: parent ? parent.height + 2 * margin : 0

    function outline(ctx, left, top, w, h) {
        const r = Math.min(shape.radius, w / 2, (h - shape.tail) / 2);
        const bottom = top + h - shape.tail;
        const mid = left + w / 2;
        ctx.beginPath();
        ctx.moveTo(left + r, top);
        ctx.lineTo(left + w - r, top);
        ctx.arcTo(left + w, top, left + w, top + r, r);
        ctx.lineTo(left + w, bottom - r);
        ctx.arcTo(left + w, bottom, left + w - r, bottom, r);
        ctx.lineTo(mid + 8, bottom);
        ctx.lineTo(mid, top + h);
        ctx.lineTo(mid - 8, bottom);
        ctx.lineTo(left + r, bottom);
        ctx.arcTo(left, bottom, left, bottom - r, r);
        ctx.lineTo(left, top + r);
        ctx.arcTo(left, top, left + r, top, r);
        ctx.closePath();
    }

    onPaint: {
        const ctx = getContext("2d");
        ctx.reset();
        const w = width - 2 * margin;
        const h = height - 2 * margin;
        if (w <= 0 || h <= shape.tail)
            return;
        ctx.save();
        ctx.shadowColor = Qt.rgba(Theme.ink.r, Theme.ink.g, Theme.ink.b, 0.18);
        ctx.shadowBlur = shape.shadowBlur * 2;
        ctx.shadowOffsetX = 0;
        ctx.shadowOffsetY = shape.shadowOffset;
        outline(ctx, margin, margin, w, h);
        ctx.fillStyle = "white";
        ctx.fill();
        ctx.restore();
        outline(ctx, margin, margin, w, h);
        ctx.lineWidth = 1.5;
        ctx.lineJoin = "round";
        ctx.strokeStyle = Theme.ink;
        ctx.stroke();
    }
    onWidthChanged: requestPaint()
    onHeightChanged: requestPaint()
}
