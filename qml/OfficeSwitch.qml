pragma ComponentBehavior: Bound
import QtQuick
import Yuzuha

// The office on/off switch: an ink-outlined capsule whose knob springs to the right when on.
// It shows `isOn` and asks its owner to change it through `toggled`, so a refused change shows the truth.
Item {
    id: control

    property bool isOn: false

    signal toggled(bool on)

    function toggle() {
        control.toggled(!control.isOn);
    }

    implicitWidth: 40
    implicitHeight: 22
    activeFocusOnTab: true

    Accessible.role: Accessible.CheckBox
    Accessible.checkable: true
    Accessible.checked: control.isOn
    Accessible.description: control.isOn ? "On" : "Off"
    Accessible.onPressAction: control.toggle()
    Accessible.onToggleAction: control.toggle()
    Keys.onSpacePressed: control.toggle()

    Rectangle {
        anchors.fill: parent
        radius: height / 2
        color: control.isOn ? Theme.mint : Theme.sitePaper
        border.color: Theme.ink
        border.width: 1.2
    }

    Rectangle {
        id: knob
        objectName: "knob"
        width: 14
        height: 14
        radius: 7
        y: (control.height - height) / 2
        x: control.isOn ? control.width - 3 - width : 3
        color: Theme.ink

        // A short spring that overshoots a little before it settles at the edge.
        Behavior on x {
            NumberAnimation {
                duration: 300
                easing.type: Easing.OutBack
                easing.overshoot: 1.2
            }
        }
    }

    MouseArea {
        anchors.fill: parent
        cursorShape: Qt.PointingHandCursor
        onClicked: control.toggle()
    }
}
