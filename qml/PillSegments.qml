pragma ComponentBehavior: Bound
import QtQuick
import Yuzuha

// The size selector: three pills on a paper capsule; the dark capsule slides to the chosen one.
Item {
    id: control

    // A Preferences.Size value.
    property int selection: 1

    signal picked(int size)

    implicitWidth: pills.implicitWidth + 4
    implicitHeight: pills.implicitHeight + 4

    Accessible.role: Accessible.Grouping
    Accessible.name: "Size"

    Rectangle {
        anchors.fill: parent
        radius: height / 2
        color: Theme.sitePaper
    }

    // One capsule for the whole selector, moved from pill to pill rather than shown and hidden.
    Rectangle {
        id: slider
        objectName: "slider"
        readonly property Item target: repeater.count > 0 ? repeater.itemAt(control.selection) : null
        visible: target !== null
        x: target ? pills.x + target.x : 0
        y: target ? pills.y + target.y : 0
        width: target ? target.width : 0
        height: target ? target.height : 0
        radius: height / 2
        color: Theme.ink

        Behavior on x {
            NumberAnimation {
                duration: 300
                easing.type: Easing.OutBack
                easing.overshoot: 1
            }
        }
        Behavior on width {
            NumberAnimation {
                duration: 300
                easing.type: Easing.OutBack
                easing.overshoot: 1
            }
        }
    }

    Row {
        id: pills
        x: 2
        y: 2
        spacing: 2

        Repeater {
            id: repeater
            model: Catalog.sizes

            Item {
                id: pill
                required property int modelData
                readonly property bool chosen: control.selection === pill.modelData

                objectName: "pill_" + pill.modelData
                implicitWidth: caption.implicitWidth + 26
                implicitHeight: caption.implicitHeight + 10

                Accessible.role: Accessible.RadioButton
                Accessible.name: caption.text
                Accessible.checkable: true
                Accessible.checked: pill.chosen
                Accessible.onPressAction: control.picked(pill.modelData)

                Text {
                    id: caption
                    anchors.centerIn: parent
                    text: Catalog.sizeLabel(pill.modelData)
                    font: Theme.heavyFont(12)
                    color: pill.chosen ? Theme.sitePaper : Theme.ink

                    Behavior on color {
                        ColorAnimation {
                            duration: 150
                        }
                    }
                }

                MouseArea {
                    anchors.fill: parent
                    cursorShape: Qt.PointingHandCursor
                    onClicked: control.picked(pill.modelData)
                }
            }
        }
    }

    Rectangle {
        anchors.fill: parent
        radius: height / 2
        color: "transparent"
        border.color: Theme.ink
        border.width: 1.2
    }
}
