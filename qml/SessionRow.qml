pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Controls.Basic
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

    // Padded 10 at the sides; the meter keeps its size and the texts take what is left, at least 6
    // away from it beyond the 10 between children.
    Column {
        id: texts
        x: 10
        anchors.verticalCenter: parent.verticalCenter
        width: Math.max(0, row.width - 20 - meter.width - 26)
        spacing: 4

        Row {
            spacing: 6

            Rectangle {
                id: badge
                objectName: "providerBadge"
                anchors.verticalCenter: parent.verticalCenter
                width: badgeText.implicitWidth + 10
                height: badgeText.implicitHeight + 2
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

            // Its natural width while there is room, squeezed in the middle when there is not.
            Text {
                objectName: "project"
                anchors.verticalCenter: parent.verticalCenter
                width: Math.min(implicitWidth, texts.width - badge.width - 6 - (row.pinned ? pin.width + 6 : 0))
                text: row.project
                elide: Text.ElideMiddle
                maximumLineCount: 1
                font: Theme.heavyFont(13)
                color: Theme.ink
            }

            // A push pin: the user chose this session herself.
            Item {
                id: pin
                objectName: "pinMark"
                anchors.verticalCenter: parent.verticalCenter
                visible: row.pinned
                width: 9
                height: 11

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
        }

        Text {
            objectName: "caption"
            width: texts.width
            text: row.caption
            elide: Text.ElideRight
            maximumLineCount: 1
            font: Theme.bodyFont(11)
            color: Theme.inkSoft
        }
    }

    Meter {
        id: meter
        anchors.right: parent.right
        anchors.rightMargin: 10
        anchors.verticalCenter: parent.verticalCenter
        percent: row.percent
        tier: row.tier
    }

    HoverHandler {
        id: hover
        cursorShape: Qt.PointingHandCursor
    }

    TapHandler {
        id: tap
        onTapped: row.toggled(row.sessionId)
    }

    ToolTip {
        text: row.toolTipText
        visible: hover.hovered
        delay: 600
    }
}
