pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Shapes
import Yuzuha

// One wardrobe card: her tier-0 sprite in the outfit on a paper card, the outfit's name below.
// The chosen card is outlined in ink and casts a shadow; other cards lift their sprite on hover.
Item {
    id: tile

    // A Preferences.Outfit value.
    required property int outfit
    property bool selected: false
    readonly property bool hovering: area.containsMouse
    readonly property real outlineOpacity: tile.selected ? 1 : tile.hovering ? 0.45 : 0.18

    signal picked

    implicitWidth: 100
    implicitHeight: card.height + 7 + caption.height

    Accessible.role: Accessible.RadioButton
    Accessible.name: Catalog.outfitLabel(tile.outfit)
    Accessible.checkable: true
    Accessible.checked: tile.selected
    Accessible.selectable: true
    Accessible.selected: tile.selected
    Accessible.onPressAction: tile.picked()

    // A soft ink shadow 5 below the card, drawn as widening rings so it needs no shader.
    Item {
        id: shadow
        x: card.x
        y: card.y + 5
        width: card.width
        height: card.height
        opacity: tile.selected ? 1 : 0

        Repeater {
            model: 5

            Rectangle {
                required property int index
                readonly property real spread: (index + 1) * 2
                x: -spread
                y: -spread
                width: shadow.width + 2 * spread
                height: shadow.height + 2 * spread
                radius: 12 + spread
                color: Qt.rgba(Theme.ink.r, Theme.ink.g, Theme.ink.b, 0.045)
            }
        }

        Behavior on opacity {
            NumberAnimation {
                duration: 180
                easing.type: Easing.OutQuad
            }
        }
    }

    Item {
        id: card
        width: tile.width
        height: 124
        clip: true

        // Paper running from the partition colour at the top-left corner to white paper at the bottom.
        Shape {
            anchors.fill: parent

            ShapePath {
                strokeWidth: -1
                fillGradient: LinearGradient {
                    x1: 0
                    y1: 0
                    x2: card.width / 2
                    y2: card.height
                    GradientStop {
                        position: 0
                        color: Theme.partition
                    }
                    GradientStop {
                        position: 1
                        color: Theme.sitePaper
                    }
                }
                startX: 12
                startY: 0
                PathLine {
                    x: card.width - 12
                    y: 0
                }
                PathArc {
                    x: card.width
                    y: 12
                    radiusX: 12
                    radiusY: 12
                }
                PathLine {
                    x: card.width
                    y: card.height - 12
                }
                PathArc {
                    x: card.width - 12
                    y: card.height
                    radiusX: 12
                    radiusY: 12
                }
                PathLine {
                    x: 12
                    y: card.height
                }
                PathArc {
                    x: 0
                    y: card.height - 12
                    radiusX: 12
                    radiusY: 12
                }
                PathLine {
                    x: 0
                    y: 12
                }
                PathArc {
                    x: 12
                    y: 0
                    radiusX: 12
                    radiusY: 12
                }
            }
        }

        Image {
            id: sprite
            objectName: "sprite"
            x: 4
            y: 6
            width: card.width - 8
            height: card.height - 6
            // Seasonal shows the outfit it resolves to today.
            source: "image://sprites/" + Catalog.outfitRawValue(Catalog.resolvedOutfit(tile.outfit)) + "/0"
            sourceSize.height: Math.ceil(height * Screen.devicePixelRatio)
            fillMode: Image.PreserveAspectFit
            verticalAlignment: Image.AlignBottom
            smooth: true
            mipmap: true

            transform: Scale {
                origin.x: sprite.width / 2
                origin.y: sprite.height
                xScale: sprite.lift
                yScale: sprite.lift
            }
            property real lift: tile.hovering && !tile.selected ? 1.03 : 1

            Behavior on lift {
                NumberAnimation {
                    duration: 180
                    easing.type: Easing.OutQuad
                }
            }
        }

        Rectangle {
            objectName: "autoBadge"
            visible: Catalog.outfitRawValue(tile.outfit) === "seasonal"
            anchors.top: parent.top
            anchors.right: parent.right
            anchors.margins: 6
            implicitWidth: autoText.implicitWidth + 12
            implicitHeight: autoText.implicitHeight + 4
            radius: height / 2
            color: Theme.mint
            border.color: Theme.ink
            border.width: 1

            Text {
                id: autoText
                anchors.centerIn: parent
                text: "AUTO"
                font: Theme.heavyFont(8.5)
                color: Theme.ink
                Component.onCompleted: font.letterSpacing = 0.8
            }
        }
    }

    Rectangle {
        objectName: "outline"
        anchors.fill: card
        radius: 12
        color: "transparent"
        border.width: tile.selected ? 1.5 : 1
        border.color: Qt.rgba(Theme.ink.r, Theme.ink.g, Theme.ink.b, tile.outlineOpacity)

        Behavior on border.color {
            ColorAnimation {
                duration: 180
                easing.type: Easing.OutQuad
            }
        }
    }

    Text {
        id: caption
        objectName: "caption"
        y: card.height + 7
        width: tile.width
        height: implicitHeight
        text: Catalog.outfitLabel(tile.outfit)
        font: tile.selected ? Theme.heavyFont(11) : Theme.bodyFont(11)
        color: tile.selected ? Theme.ink : Theme.inkSoft
        horizontalAlignment: Text.AlignHCenter
        elide: Text.ElideRight
        maximumLineCount: 1
        // Shrinks to 85 % of its size before it truncates.
        fontSizeMode: Text.HorizontalFit
        minimumPointSize: font.pointSize * 0.85
    }

    MouseArea {
        id: area
        anchors.fill: parent
        hoverEnabled: true
        cursorShape: Qt.PointingHandCursor
        onClicked: tile.picked()
    }
}
