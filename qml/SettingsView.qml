pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Layouts
import Yuzuha

// The settings sheet, "Her desk, your rules": one scrolling page of four sections whose controls
// write straight through to the preferences; there is nothing to apply.
Item {
    id: view

    implicitWidth: 560
    implicitHeight: 700

    // Extra space between lines of the explanatory paragraphs, on top of the face's own line height.
    component Paragraph: Text {
        id: paragraph
        property real size: 13
        property real extraLeading: 3
        Layout.fillWidth: true
        font: Theme.bodyFont(paragraph.size)
        color: Theme.inkSoft
        wrapMode: Text.Wrap
        lineHeightMode: Text.FixedHeight
        lineHeight: metrics.lineSpacing + paragraph.extraLeading
        FontMetrics {
            id: metrics
            font: paragraph.font
        }
    }

    component SettingsSection: ColumnLayout {
        id: section
        property string kicker
        property string title
        property bool last: false
        default property alias content: body.data
        Layout.fillWidth: true
        spacing: 16

        ColumnLayout {
            spacing: 8
            Text {
                text: section.kicker
                font: Theme.heavyFont(10.5)
                color: Theme.inkSoft
                Component.onCompleted: font.letterSpacing = 1.4
            }
            Text {
                text: section.title
                font: Theme.heavyFont(22)
                color: Theme.ink
                Component.onCompleted: font.letterSpacing = -0.6
            }
        }

        // The content's pieces stand 16 apart, like the section's own parts.
        ColumnLayout {
            id: body
            Layout.fillWidth: true
            spacing: 16
        }

        // 30 below the content, a hairline, 28 more before the next section.
        Item {
            visible: !section.last
            Layout.fillWidth: true
            Layout.topMargin: -16
            Layout.preferredHeight: 59
            Rectangle {
                objectName: "sectionRule"
                y: 30
                width: parent.width
                height: 1
                color: Theme.hairline
            }
        }
    }

    component SettingRow: Item {
        id: settingRow
        property string label
        property bool last: false
        default property alias trailing: slot.data
        Layout.fillWidth: true
        implicitHeight: Math.max(rowLabel.implicitHeight, slot.implicitHeight) + 22

        Text {
            id: rowLabel
            anchors.left: parent.left
            anchors.verticalCenter: parent.verticalCenter
            text: settingRow.label
            font: Theme.bodyFont(14)
            color: Theme.ink
        }
        Item {
            id: slot
            anchors.right: parent.right
            anchors.verticalCenter: parent.verticalCenter
            implicitWidth: childrenRect.width
            implicitHeight: childrenRect.height
            width: implicitWidth
            height: implicitHeight
        }
        Rectangle {
            visible: !settingRow.last
            anchors.bottom: parent.bottom
            width: parent.width
            height: 1
            color: Theme.hairline
        }
    }

    Stage {
        anchors.fill: parent
    }

    Item {
        id: scrollArea
        anchors.fill: parent
        clip: true

        // Behind the sheet and fixed while it scrolls; cut at the right edge. Text takes no clicks.
        Text {
            objectName: "watermark"
            anchors.top: parent.top
            anchors.right: parent.right
            anchors.topMargin: 8
            anchors.rightMargin: -30
            text: "SETTINGS"
            font: Theme.heavyFont(150)
            color: Qt.rgba(Theme.ink.r, Theme.ink.g, Theme.ink.b, 0.045)
            enabled: false
            Accessible.ignored: true
            Component.onCompleted: font.letterSpacing = -10
        }

        Flickable {
            id: flick
            objectName: "sheet"
            anchors.fill: parent
            contentWidth: width
            contentHeight: sheet.implicitHeight + 44 + 28
            boundsBehavior: Flickable.StopAtBounds
            flickableDirection: Flickable.VerticalFlick

            ColumnLayout {
                id: sheet
                x: 36
                y: 44
                width: flick.width - 72
                spacing: 0

                ColumnLayout {
                    Layout.fillWidth: true
                    Layout.bottomMargin: 34
                    spacing: 12

                    Text {
                        id: headline
                        Layout.fillWidth: true
                        text: "Her desk, your rules"
                        font: Theme.heavyFont(38)
                        color: Theme.ink
                        wrapMode: Text.Wrap
                        lineHeightMode: Text.FixedHeight
                        lineHeight: headlineMetrics.lineSpacing - 4
                        Component.onCompleted: font.letterSpacing = -1.6
                        FontMetrics {
                            id: headlineMetrics
                            font: headline.font
                        }
                    }
                    Text {
                        Layout.fillWidth: true
                        text: "Yuzuha Sena, 24. Tokyo office worker. Standing on your desktop."
                        font: Theme.bodyFont(13)
                        color: Theme.inkSoft
                        wrapMode: Text.Wrap
                    }
                }

                SettingsSection {
                    kicker: "WARDROBE"
                    title: "What she wears today"

                    Paragraph {
                        text: "Every outfit goes through the same seven tiers. Seasonal dresses her as a witch in October and for Christmas in December, and keeps the office suit the rest of the year."
                    }
                    WardrobeGrid {
                        objectName: "wardrobe"
                        Layout.fillWidth: true
                        selection: Preferences.outfit
                        onPicked: outfit => Preferences.outfit = outfit
                    }
                }

                SettingsSection {
                    kicker: "HER DESK"
                    title: "Where she stands"

                    SettingRow {
                        label: "Size"
                        PillSegments {
                            objectName: "sizePills"
                            selection: Preferences.size
                            onPicked: size => Preferences.size = size
                        }
                    }
                    SettingRow {
                        label: "Keep her on top of other windows"
                        OfficeSwitch {
                            objectName: "keepOnTopSwitch"
                            Accessible.name: "Keep her on top of other windows"
                            isOn: Preferences.keepOnTop
                            onToggled: on => Preferences.keepOnTop = on
                        }
                    }
                    SettingRow {
                        label: "Show her on every desktop"
                        OfficeSwitch {
                            objectName: "allSpacesSwitch"
                            Accessible.name: "Show her on every desktop"
                            isOn: Preferences.allSpaces
                            onToggled: on => Preferences.allSpaces = on
                        }
                    }
                    SettingRow {
                        label: "Speech bubble when she changes"
                        OfficeSwitch {
                            objectName: "speechBubblesSwitch"
                            Accessible.name: "Speech bubble when she changes"
                            isOn: Preferences.speechBubbles
                            onToggled: on => Preferences.speechBubbles = on
                        }
                    }
                    SettingRow {
                        label: "Percent tag at her feet"
                        OfficeSwitch {
                            objectName: "percentTagSwitch"
                            Accessible.name: "Percent tag at her feet"
                            isOn: Preferences.percentTag
                            onToggled: on => Preferences.percentTag = on
                        }
                    }
                    SettingRow {
                        label: "Open Yuzuha at login"
                        last: true
                        OfficeSwitch {
                            objectName: "openAtLoginSwitch"
                            Accessible.name: "Open Yuzuha at login"
                            // The registration itself is the state: read back after every change.
                            isOn: Preferences.openAtLogin
                            onToggled: on => Preferences.openAtLogin = on
                        }
                    }
                }

                SettingsSection {
                    kicker: "BEDTIME"
                    title: "When she calls it a day"

                    Paragraph {
                        text: "She changes into pajamas at 95% of the model's window. Big windows make a long day; pick an earlier bedtime if you like to compact sooner."
                    }
                    ColumnLayout {
                        Layout.fillWidth: true
                        Layout.topMargin: 4
                        spacing: 0

                        Repeater {
                            model: Catalog.bedtimes

                            BedtimeRow {
                                required property var modelData
                                required property int index
                                objectName: "bedtime_" + index
                                Layout.fillWidth: true
                                label: modelData.label
                                value: modelData.value
                                selected: Preferences.bedtime === modelData.tokens
                                last: index === Catalog.bedtimes.length - 1
                                onPicked: Preferences.bedtime = modelData.tokens
                            }
                        }
                    }
                }

                SettingsSection {
                    kicker: "WHAT SHE READS"
                    title: "Only the token counts"
                    last: true

                    ColumnLayout {
                        Layout.fillWidth: true
                        spacing: 0

                        Repeater {
                            model: FleetAccess.folders

                            FolderRow {
                                required property var modelData
                                required property int index
                                objectName: "folder_" + modelData.id
                                Layout.fillWidth: true
                                folder: modelData
                                last: index === FleetAccess.folders.length - 1
                            }
                        }
                    }
                    Paragraph {
                        size: 12
                        extraLeading: 2
                        text: "The session logs on this Mac, read for their token counts. No network, no account, no analytics."
                    }
                }

                RowLayout {
                    Layout.fillWidth: true
                    Layout.topMargin: 26
                    spacing: 8

                    Text {
                        objectName: "version"
                        Layout.alignment: Qt.AlignBaseline
                        text: "Yuzuha " + Catalog.version
                        font: Theme.heavyFont(11.5)
                        color: Theme.ink
                    }
                    Item {
                        Layout.fillWidth: true
                    }
                    Text {
                        Layout.alignment: Qt.AlignBaseline
                        text: "Made in Tokyo. Nothing leaves your Mac."
                        font: Theme.bodyFont(11.5)
                        color: Theme.inkSoft
                    }
                }
            }
        }
    }
}
