pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Layouts
import Yuzuha

// One agent log folder and whether she reads it: "Reading", or "Cannot read" when the folder is
// there but its permissions keep her out.
Item {
    id: row

    // A map from FleetAccess.folders: id, label, relativePath, provider.
    required property var folder
    property bool last: false
    readonly property bool unreadable: FleetAccess.unreadableIds.indexOf(row.folder.id) >= 0

    implicitWidth: line.implicitWidth
    implicitHeight: line.implicitHeight + 22

    RowLayout {
        id: line
        anchors.fill: parent
        anchors.topMargin: 11
        anchors.bottomMargin: 11
        spacing: 8

        Column {
            spacing: 3

            Text {
                text: row.folder.label
                font: Theme.heavyFont(14)
                color: Theme.ink
            }

            Text {
                objectName: "folderPath"
                text: "~/" + row.folder.relativePath + (row.unreadable ? " · its permissions keep her out" : "")
                font: Theme.bodyFont(11.5)
                color: Theme.inkSoft
            }
        }

        Item {
            Layout.fillWidth: true
        }

        Badge {
            objectName: "readingBadge"
            text: row.unreadable ? "Cannot read" : "Reading"
            fill: row.unreadable ? Theme.coral : Theme.mint
        }
    }

    Rectangle {
        visible: !row.last
        anchors.bottom: parent.bottom
        width: parent.width
        height: 1
        color: Theme.hairline
    }
}
