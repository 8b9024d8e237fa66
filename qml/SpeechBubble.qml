pragma ComponentBehavior: Bound
import QtQuick
import Yuzuha

// Her speech bubble: the phrase in romaji, its English, and while the pointer is on her the
// project and token counts of the session she shows.
Item {
    id: bubble

    required property PetModel model
    /// The widest the bubble may grow, tail and padding included.
    property real maxWidth: 258

    readonly property real padX: 12
    readonly property real padTop: 8
    readonly property real padBottom: 17
    readonly property real tail: 9
    readonly property bool showDetail: bubble.model.hovering && bubble.model.hasSession
    readonly property real textWidth: Math.min(bubble.maxWidth - 2 * bubble.padX,
                                               Math.ceil(Math.max(romajiMetrics.advanceWidth, englishMetrics.advanceWidth,
                                                                  bubble.showDetail ? detailMetrics.advanceWidth : 0)))

    width: textWidth + 2 * padX
    height: column.implicitHeight + padTop + padBottom

    TextMetrics {
        id: romajiMetrics
        font: romaji.font
        text: bubble.model.romaji
    }
    TextMetrics {
        id: englishMetrics
        font: english.font
        text: bubble.model.english
    }
    TextMetrics {
        id: detailMetrics
        font: detail.font
        text: bubble.model.detail
    }

    BubbleShape {
        tail: bubble.tail
    }

    Column {
        id: column

        x: bubble.padX
        y: bubble.padTop
        width: bubble.textWidth
        spacing: 3

        Text {
            id: romaji
            width: column.width
            text: bubble.model.romaji
            font: Theme.displayFont(Theme.displayGrid)
            // The pixel face stays on its dots: drawn natively at its own size, never shrunk to fit.
            renderType: Text.NativeRendering
            color: Theme.ink
            maximumLineCount: 1
            elide: Text.ElideRight
        }
        Text {
            id: english
            width: column.width
            text: bubble.model.english
            font: Theme.bodyFont(11.5)
            color: Theme.inkSoft
            wrapMode: Text.WordWrap
            lineHeightMode: Text.FixedHeight
            lineHeight: englishFont.height + 1

            FontMetrics {
                id: englishFont
                font: english.font
            }
        }
        Text {
            id: detail
            visible: bubble.showDetail
            width: column.width
            topPadding: 1
            text: bubble.model.detail
            font: Theme.bodyFont(11)
            color: Theme.inkSoft
            maximumLineCount: 1
            elide: Text.ElideMiddle
        }
    }
}
