pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Layouts
import Yuzuha

// One bedtime choice: a radio mark, the choice and its token count; the whole row takes the click.
Item {
    id: row

    property string label
    property string value
    property bool selected: false
    property bool last: false

    signal picked

    implicitWidth: line.implicitWidth
    implicitHeight: line.implicitHeight + 22

    Accessible.role: Accessible.RadioButton
    Accessible.name: row.label
    Accessible.checkable: true
    Accessible.checked: row.selected
    Accessible.onPressAction: row.picked()

    RowLayout {
        id: line
        anchors.fill: parent
        anchors.topMargin: 11
        anchors.bottomMargin: 11
        spacing: 12

        Rectangle {
            objectName: "radio"
            Layout.preferredWidth: 14
            Layout.preferredHeight: 14
            radius: 7
            color: "transparent"
            border.color: Theme.ink
            border.width: 1.2

            Rectangle {
                objectName: "dot"
                visible: row.selected
                anchors.centerIn: parent
                width: 8
                height: 8
                radius: 4
                color: Theme.ink
            }
        }

        Text {
            text: row.label
            font: row.selected ? Theme.heavyFont(14) : Theme.bodyFont(14)
            color: Theme.ink
        }

        Item {
            Layout.fillWidth: true
        }

        Text {
            text: row.value
            font: Theme.heavyFont(14)
            color: row.selected ? Theme.ink : Theme.inkSoft
        }
    }

    Rectangle {
        visible: !row.last
        anchors.bottom: parent.bottom
        width: parent.width
        height: 1
        color: Theme.hairline
    }

    MouseArea {
        anchors.fill: parent
        cursorShape: Qt.PointingHandCursor
        onClicked: row.picked()
    }
}
