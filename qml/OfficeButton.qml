pragma ComponentBehavior: Bound
import QtQuick
import Yuzuha

// The office push button: a capsule face (coral when prominent) with a darker lip that deepens
// while pressed, and the whole button sinking one pixel under the finger.
Item {
    id: button

    property string text
    property bool prominent: false
    readonly property bool pressed: area.pressed && area.containsMouse

    signal clicked

    implicitWidth: label.implicitWidth + 32
    implicitHeight: label.implicitHeight + 16
    activeFocusOnTab: true

    Accessible.role: Accessible.Button
    Accessible.name: button.text
    Accessible.onPressAction: button.clicked()
    Keys.onSpacePressed: button.clicked()

    Item {
        id: body
        width: button.width
        height: button.height
        y: button.pressed ? 1 : 0

        Behavior on y {
            NumberAnimation {
                duration: 120
                easing.type: Easing.OutQuad
            }
        }

        // The lip is the capsule itself in the deeper coral; the face sits on it, a little shorter, so the lip
        // shows as a crescent along the bottom and never leaves the capsule's rounded ends.
        Rectangle {
            id: lip
            objectName: "lip"
            visible: button.prominent
            anchors.fill: parent
            radius: height / 2
            color: Theme.coralDeep
        }

        Rectangle {
            id: face
            width: parent.width
            height: parent.height - (button.prominent ? (button.pressed ? 5 : 3) : 0)
            radius: height / 2
            color: button.prominent ? Theme.coral : Theme.sitePaper

            Behavior on height {
                NumberAnimation {
                    duration: 120
                    easing.type: Easing.OutQuad
                }
            }
        }

        Text {
            id: label
            anchors.centerIn: parent
            text: button.text
            font: Theme.heavyFont(13)
            color: Theme.ink
        }

        Rectangle {
            anchors.fill: parent
            radius: height / 2
            color: "transparent"
            border.color: Theme.ink
            border.width: 1.2
        }
    }

    MouseArea {
        id: area
        anchors.fill: parent
        cursorShape: Qt.PointingHandCursor
        onClicked: button.clicked()
    }
}
