pragma ComponentBehavior: Bound
import QtQuick
import Yuzuha

// Drawn over her: the speech bubble in the top band while she announces or the pointer is on her,
// and the percent tag in the bottom band. It only reads state and never takes the pointer.
Item {
    id: overlay

    required property PetModel model
    // Off when the desktop asks for reduced motion: the bubble then appears and leaves at once.
    property bool animated: true

    readonly property real bubbleBand: Dimensions.bubbleBand
    readonly property real tagBand: Dimensions.tagBand
    // Clear space above her head at the top of her sprite; the bubble comes down through it to her.
    property real headroom: 0
    readonly property bool bubbleUp: overlay.model.announcing || overlay.model.hovering

    Item {
        id: bubbleZone

        width: overlay.width
        height: overlay.bubbleBand

        SpeechBubble {
            id: bubble

            // Found by name where a desktop without a compositor needs her outline.
            objectName: "bubble"
            model: overlay.model
            maxWidth: overlay.width - 12
            anchors.horizontalCenter: parent.horizontalCenter
            // Sits on her head, the tail's tip a pixel above her hair or hat; a bubble taller than the band
            // is centred on it instead.
            y: overlay.headroom + (height + 1 <= bubbleZone.height ? bubbleZone.height - 1 - height : (bubbleZone.height - height - 1) / 2)
            transformOrigin: Item.Bottom
            opacity: overlay.bubbleUp ? 1 : 0
            scale: overlay.bubbleUp ? 1 : 0.92
            visible: opacity > 0

            Behavior on opacity {
                enabled: overlay.animated
                NumberAnimation {
                    duration: 180
                    easing.type: Easing.OutCubic
                }
            }
            Behavior on scale {
                enabled: overlay.animated
                NumberAnimation {
                    duration: 180
                    easing.type: Easing.OutCubic
                }
            }
        }
    }

    TierTag {
        objectName: "tag"
        model: overlay.model
        visible: Preferences.percentTag
        anchors.horizontalCenter: parent.horizontalCenter
        y: overlay.height - overlay.tagBand + (overlay.tagBand - height) / 2
    }
}
