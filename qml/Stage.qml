pragma ComponentBehavior: Bound
import QtQuick
import Yuzuha

// The desk background behind the settings window: a partition-to-paper wash with a soft light toward the top right.
Canvas {
    id: stage

    onPaint: {
        const ctx = getContext("2d");
        ctx.reset();
        // The linear layer runs along the diagonal from the top-leading corner and stays paper past 78 %.
        const linear = ctx.createLinearGradient(0, 0, width, height);
        linear.addColorStop(0.0, Theme.partition);
        linear.addColorStop(0.78, Theme.sitePaper);
        linear.addColorStop(1.0, Theme.sitePaper);
        ctx.fillStyle = linear;
        ctx.fillRect(0, 0, width, height);
        const cx = width * 0.78, cy = height * 0.22;
        const radial = ctx.createRadialGradient(cx, cy, 0, cx, cy, 320);
        radial.addColorStop(0, Qt.rgba(1, 1, 1, 0.7));
        radial.addColorStop(1, Qt.rgba(1, 1, 1, 0));
        ctx.fillStyle = radial;
        ctx.fillRect(0, 0, width, height);
    }
    onWidthChanged: requestPaint()
    onHeightChanged: requestPaint()
}
