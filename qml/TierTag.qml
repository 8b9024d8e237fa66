pragma ComponentBehavior: Bound
import QtQuick
import Yuzuha

// The percent tag at her feet: six LCD segments lit up to her tier and the fill percentage,
// on coral once she is nearly out of room.
Rectangle {
    id: tag

    required property PetModel model

    implicitWidth: row.implicitWidth + 18
    width: implicitWidth
    height: 24
    radius: 7
    color: tag.model.alarm ? Theme.coral : Theme.lcd
    border.color: Theme.ink
    border.width: 1.5

    Row {
        id: row

        anchors.centerIn: parent
        spacing: 6

        Row {
            anchors.verticalCenter: parent.verticalCenter
            spacing: 2

            Repeater {
                model: 6

                Rectangle {
                    required property int index
                    width: 5
                    height: 9
                    radius: 1
                    color: index < tag.model.tier ? Theme.ink : Theme.segmentOff
                }
            }
        }
        Text {
            anchors.verticalCenter: parent.verticalCenter
            text: tag.model.tagLabel
            // Native glyphs keep the pixel face on its dots; a pixel of tracking keeps "%" off the digit.
            font: Theme.displayFont(Theme.displayGrid, 1)
            renderType: Text.NativeRendering
            color: Theme.ink
        }
    }
}
