pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Layouts
import Yuzuha

// An LCD read-out: the fill percentage over six segments, lit up to the tier, deep coral from tier 5 on.
Rectangle {
    id: meter

    property int percent: 0
    property int tier: 0

    implicitWidth: readout.implicitWidth + 16
    implicitHeight: readout.implicitHeight + 10
    radius: 7
    color: Theme.lcd
    border.color: Qt.rgba(Theme.ink.r, Theme.ink.g, Theme.ink.b, 0.6)
    border.width: 1

    ColumnLayout {
        id: readout
        x: 8
        y: 5
        spacing: 3

        Text {
            objectName: "meterPercent"
            Layout.alignment: Qt.AlignRight
            text: meter.percent + "%"
            // Native glyphs keep the pixel face on its dots; a pixel of tracking keeps "%" off the digit.
            font: Theme.displayFont(Theme.displayGrid, 1)
            renderType: Text.NativeRendering
            color: Theme.ink
        }

        Row {
            Layout.alignment: Qt.AlignRight
            spacing: 2

            Repeater {
                model: 6

                Rectangle {
                    required property int index

                    objectName: "segment" + index
                    width: 5
                    height: 8
                    radius: 1
                    color: index < meter.tier ? (meter.tier >= 5 ? Theme.coralDeep : Theme.ink) : Theme.segmentOff
                }
            }
        }
    }
}
