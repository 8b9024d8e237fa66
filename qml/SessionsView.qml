pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Yuzuha

// Today's books: every session the watcher knows, the follow pill, and the way to the settings.
Rectangle {
    id: view

    required property SessionListModel sessions
    // What the controls do: follow or let go, open the settings, hide her.
    required property SessionsPopover popover

    // The agent folders that are there but shut to her, as "~/.codex/sessions".
    readonly property var unreadablePaths: FleetAccess.folders.filter(folder => FleetAccess.unreadableIds.indexOf(folder.id) >= 0).map(folder => "~/" + folder.relativePath)
    readonly property color divider: Qt.rgba(Theme.ink.r, Theme.ink.g, Theme.ink.b, 0.25)

    width: Dimensions.popoverWidth
    implicitWidth: Dimensions.popoverWidth
    height: column.implicitHeight
    implicitHeight: column.implicitHeight
    color: Theme.machine

    ColumnLayout {
        id: column
        width: view.width
        spacing: 0

        RowLayout {
            Layout.fillWidth: true
            Layout.leftMargin: 16
            Layout.rightMargin: 16
            Layout.topMargin: 14
            Layout.bottomMargin: 12
            spacing: 8

            Text {
                Layout.alignment: Qt.AlignBaseline
                text: "Today's books"
                font: Theme.displayFont(17)
                color: Theme.ink
            }

            Item {
                Layout.fillWidth: true
            }

            Rectangle {
                id: pill
                objectName: "followPill"
                Layout.alignment: Qt.AlignBaseline
                implicitWidth: pillText.implicitWidth + 18
                implicitHeight: pillText.implicitHeight + 8
                radius: height / 2
                color: view.sessions.hasPin ? Theme.sticky : Theme.mint
                border.color: Theme.ink
                border.width: 1.2
                enabled: view.sessions.hasPin
                opacity: pillTap.pressed ? 0.7 : 1
                // Line the pill up with the title by its label's baseline.
                baselineOffset: pillText.y + pillText.baselineOffset

                Text {
                    id: pillText
                    objectName: "followPillText"
                    x: 9
                    y: 4
                    text: view.sessions.hasPin ? "Follow the fullest" : "Following the fullest"
                    font: Theme.heavyFont(11)
                    color: Theme.ink
                }

                TapHandler {
                    id: pillTap
                    onTapped: view.popover.followFullest()
                }
            }
        }

        Rectangle {
            Layout.fillWidth: true
            implicitHeight: 1
            color: view.divider
        }

        Text {
            objectName: "emptyText"
            visible: view.sessions.count === 0
            Layout.fillWidth: true
            Layout.margins: 16
            text: "No sessions in the last day. Start Claude Code or Codex and she clocks in."
            wrapMode: Text.WordWrap
            lineHeightMode: Text.FixedHeight
            lineHeight: fontMetrics.lineSpacing + 2
            font: Theme.bodyFont(12.5)
            color: Theme.inkSoft

            FontMetrics {
                id: fontMetrics
                font: Theme.bodyFont(12.5)
            }
        }

        ListView {
            id: list
            objectName: "sessionList"
            visible: count > 0
            Layout.fillWidth: true
            // Rows are 62 high with 4 between them; from seven sessions on the list scrolls.
            Layout.preferredHeight: Math.min(count * 66 + 16, 420)
            clip: true
            spacing: 4
            topMargin: 8
            bottomMargin: 8
            leftMargin: 8
            rightMargin: 8
            boundsBehavior: Flickable.StopAtBounds
            model: view.sessions
            ScrollBar.vertical: ScrollBar {
                policy: ScrollBar.AsNeeded
            }

            delegate: SessionRow {
                width: ListView.view.width - 16
                onToggled: id => view.popover.toggleSession(id)
            }
        }

        Text {
            objectName: "unreadableText"
            visible: view.unreadablePaths.length > 0
            Layout.fillWidth: true
            Layout.margins: 16
            text: "She cannot read " + view.unreadablePaths.join(" or ") + ": the folder's permissions keep her out."
            wrapMode: Text.WordWrap
            font: Theme.bodyFont(12)
            color: Theme.coralDeep
        }

        Rectangle {
            Layout.fillWidth: true
            implicitHeight: 1
            color: view.divider
        }

        RowLayout {
            Layout.fillWidth: true
            Layout.leftMargin: 16
            Layout.rightMargin: 16
            Layout.topMargin: 10
            Layout.bottomMargin: 10
            spacing: 14

            FooterButton {
                objectName: "settingsButton"
                text: "Settings\u2026"
                onClicked: view.popover.openSettings()
            }

            FooterButton {
                objectName: "hideButton"
                text: "Hide Yuzuha"
                onClicked: view.popover.hidePet()
            }

            Item {
                Layout.fillWidth: true
            }

            Text {
                text: "On this Mac only"
                font: Theme.bodyFont(10.5)
                color: Theme.inkSoft
                opacity: 0.8
            }
        }
    }

    component FooterButton: Text {
        id: button

        signal clicked

        font: Theme.heavyFont(12)
        color: Theme.ink
        opacity: footerTap.pressed ? 0.6 : 1

        HoverHandler {
            cursorShape: Qt.PointingHandCursor
        }
        TapHandler {
            id: footerTap
            onTapped: button.clicked()
        }
    }
}
