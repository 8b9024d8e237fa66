pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Layouts
import Yuzuha

// The first-run sheet: she introduces herself, and one button puts her on the desktop and closes
// the window for good.
Rectangle {
    id: view

    // The window manager that opened this window; its closing button hands back to it.
    required property WindowManager windows
    // The portrait shows the outfit she wears at the time the window is built.
    property string portraitSource

    implicitWidth: 560
    implicitHeight: 470
    color: Theme.partition

    Component.onCompleted: view.portraitSource = "image://sprites/" + Catalog.outfitRawValue(Catalog.resolvedOutfit(Preferences.outfit)) + "/0"

    RowLayout {
        anchors.fill: parent
        anchors.leftMargin: 32
        anchors.rightMargin: 32
        anchors.topMargin: 36
        anchors.bottomMargin: 24
        spacing: 24

        Image {
            id: portrait
            objectName: "portrait"
            // Left out entirely when her image is missing.
            visible: portrait.status === Image.Ready
            Layout.alignment: Qt.AlignBottom
            Layout.preferredHeight: 360
            Layout.preferredWidth: Math.round(360 * Dimensions.spriteAspect)
            source: view.portraitSource
            sourceSize.height: Math.ceil(360 * Screen.devicePixelRatio)
            fillMode: Image.PreserveAspectFit
            smooth: true
            mipmap: true
        }

        ColumnLayout {
            Layout.alignment: Qt.AlignBottom
            Layout.fillWidth: true
            Layout.bottomMargin: 8
            spacing: 14

            Text {
                text: "Makasete!"
                font: Theme.displayFont(34)
                color: Theme.ink
            }

            Text {
                id: introduction
                Layout.fillWidth: true
                text: "I'm Yuzuha Sena, your token accountant. I keep the books on your Claude Code and Codex sessions. As the context fills up, my day wears me down. When it's full I change into pajamas and go to bed, and that's your cue to compact."
                font: Theme.bodyFont(13.5)
                color: Theme.inkSoft
                wrapMode: Text.Wrap
                lineHeightMode: Text.FixedHeight
                lineHeight: introMetrics.lineSpacing + 3
                FontMetrics {
                    id: introMetrics
                    font: introduction.font
                }
            }

            Text {
                Layout.fillWidth: true
                text: "Drag me anywhere. Click me for your sessions. Right click for my size."
                font: Theme.bodyFont(12)
                color: Theme.inkSoft
                wrapMode: Text.Wrap
            }

            RowLayout {
                Layout.fillWidth: true

                Item {
                    Layout.fillWidth: true
                }

                OfficeButton {
                    id: closing
                    objectName: "closingButton"
                    text: "Start the day"
                    prominent: true
                    onClicked: view.windows.finishWelcome()
                }
            }
        }
    }

    // The closing button is the window's default button.
    Shortcut {
        sequences: ["Return", "Enter"]
        onActivated: closing.clicked()
    }
}
