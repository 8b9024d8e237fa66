pragma ComponentBehavior: Bound
import QtQuick
import Yuzuha

// A small ink-outlined capsule with a word on it, such as "Reading" or "Allowed".
Rectangle {
    id: badge

    property string text
    property color fill: Theme.mint

    implicitWidth: label.implicitWidth + 18
    implicitHeight: label.implicitHeight + 6
    radius: height / 2
    color: badge.fill
    border.color: Theme.ink
    border.width: 1

    Accessible.role: Accessible.StaticText
    Accessible.name: badge.text

    Text {
        id: label
        anchors.centerIn: parent
        text: badge.text
        font: Theme.heavyFont(11)
        color: Theme.ink
    }
}
