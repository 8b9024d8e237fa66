pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Layouts
import Yuzuha

// One agent log folder and whether she may read it: "Reading" with direct access, otherwise
// "Allow…" to grant it, or "Remove" beside "Allowed" once granted.
Item {
    id: row

    // A map from FolderGrants.folders: id, label, relativePath, provider.
    required property var folder
    property bool last: false
    readonly property bool granted: FolderGrants.grantedIds.indexOf(row.folder.id) >= 0

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
                text: "~/" + row.folder.relativePath
                font: Theme.bodyFont(11.5)
                color: Theme.inkSoft
            }
        }

        Item {
            Layout.fillWidth: true
        }

        Badge {
            objectName: "readingBadge"
            visible: FolderGrants.direct
            text: "Reading"
            fill: Theme.mint
        }

        Text {
            id: remove
            objectName: "removeButton"
            visible: !FolderGrants.direct && row.granted
            text: "Remove"
            font: Theme.heavyFont(12)
            color: Theme.inkSoft

            Accessible.role: Accessible.Button
            Accessible.name: remove.text
            Accessible.onPressAction: FolderGrants.revoke(row.folder.id)

            MouseArea {
                anchors.fill: parent
                cursorShape: Qt.PointingHandCursor
                onClicked: FolderGrants.revoke(row.folder.id)
            }
        }

        Badge {
            objectName: "allowedBadge"
            visible: !FolderGrants.direct && row.granted
            text: "Allowed"
            fill: Theme.mint
        }

        OfficeButton {
            objectName: "allowButton"
            visible: !FolderGrants.direct && !row.granted
            text: "Allow\u2026"
            prominent: true
            onClicked: FolderGrants.request(row.folder.id)
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
