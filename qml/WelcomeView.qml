pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Layouts
import Yuzuha

// The first-run sheet: she introduces herself, offers the folders to grant when they are not read
// directly, and one button puts her on the desktop and closes the window for good.
Rectangle {
    id: view

    // The window manager that opened this window; its closing button hands back to it.
    required property WindowManager windows
    readonly property bool anyGranted: FolderGrants.grantedIds.length > 0
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

            // With direct access every folder is already read, so there is nothing to grant here.
            Rectangle {
                objectName: "folderBox"
                visible: !FolderGrants.direct
                Layout.fillWidth: true
                implicitHeight: box.implicitHeight + 28
                radius: 12
                color: Theme.paper
                border.color: Qt.rgba(Theme.ink.r, Theme.ink.g, Theme.ink.b, 0.35)
                border.width: 1

                ColumnLayout {
                    id: box
                    x: 14
                    y: 14
                    width: parent.width - 28
                    spacing: 10

                    Text {
                        Layout.fillWidth: true
                        text: "Let me see your sessions. Each one takes one click."
                        font: Theme.heavyFont(12.5)
                        color: Theme.ink
                        wrapMode: Text.Wrap
                    }

                    Repeater {
                        model: FolderGrants.folders

                        FolderRow {
                            required property var modelData
                            objectName: "folder_" + modelData.id
                            Layout.fillWidth: true
                            folder: modelData
                            last: false
                        }
                    }
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
                    text: view.anyGranted ? "Start the day" : "Later"
                    prominent: view.anyGranted
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
