pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Yuzuha

// One session of today's books; the whole row is the button that follows or unfollows it.
Item {
    id: row

    required property string sessionId
    required property string provider
    required property string project
    required property string caption
    required property int percent
    required property int tier
    required property bool followed
    required property bool pinned

    readonly property string toolTipText: pinned ? "Click to stop following this session" : "Click to make her follow this session"

    signal toggled(string sessionId)

    objectName: "sessionRow"
    implicitHeight: 62

    Rectangle {
        anchors.fill: parent
        radius: 10
        color: row.followed ? Theme.paper : "transparent"
        border.color: row.followed ? Theme.ink : "transparent"
        border.width: 1.2
        opacity: tap.pressed ? 0.7 : 1
    }

    RowLayout {
        anchors.fill: parent
        anchors.leftMargin: 10
        anchors.rightMargin: 10
        anchors.topMargin: 8
        anchors.bottomMargin: 8
        spacing: 10

        ColumnLayout {
            Layout.fillWidth: true
            Layout.alignment: Qt.AlignVCenter
            spacing: 4

            RowLayout {
                Layout.fillWidth: true
                spacing: 6

                Rectangle {
                    objectName: "providerBadge"
                    implicitWidth: badgeText.implicitWidth + 10
                    implicitHeight: badgeText.implicitHeight + 2
                    radius: 4
                    color: row.provider === "CODEX" ? Theme.partition : Theme.manila

                    Text {
                        id: badgeText
                        x: 5
                        y: 1
                        text: row.provider
                        font: Theme.displayFont(10)
                        color: Theme.ink
                    }
                }

                Text {
                    objectName: "project"
                    Layout.fillWidth: true
                    Layout.maximumWidth: implicitWidth
                    text: row.project
                    elide: Text.ElideMiddle
                    maximumLineCount: 1
                    font: Theme.heavyFont(13)
                    color: Theme.ink
                }

                // A push pin: the user chose this session herself.
                Item {
                    objectName: "pinMark"
                    visible: row.pinned
                    implicitWidth: 9
                    implicitHeight: 11

                    Rectangle {
                        x: 4
                        y: 5
                        width: 1.5
                        height: 6
                        color: Theme.coralDeep
                    }
                    Rectangle {
                        x: 1
                        y: 4
                        width: 7.5
                        height: 1.5
                        color: Theme.coralDeep
                    }
                    Rectangle {
                        x: 2
                        y: 0
                        width: 5.5
                        height: 5
                        radius: 1.5
                        color: Theme.coralDeep
                    }
                }

                Item {
                    Layout.fillWidth: true
                }
            }

            Text {
                objectName: "caption"
                Layout.fillWidth: true
                text: row.caption
                elide: Text.ElideRight
                maximumLineCount: 1
                font: Theme.bodyFont(11)
                color: Theme.inkSoft
            }
        }

        Item {
            Layout.minimumWidth: 6
            Layout.preferredWidth: 6
        }

        Meter {
            Layout.alignment: Qt.AlignVCenter
            percent: row.percent
            tier: row.tier
        }
    }

    HoverHandler {
        id: hover
        cursorShape: Qt.PointingHandCursor
    }

    TapHandler {
        id: tap
        onTapped: row.toggled(row.sessionId)
    }

    ToolTip.visible: hover.hovered
    ToolTip.delay: 600
    ToolTip.text: row.toolTipText
}
