pragma ComponentBehavior: Bound
import QtQuick
import Yuzuha

// The outfit picker: all sixteen outfits in four equal columns.
Grid {
    id: grid

    // A Preferences.Outfit value.
    property int selection: 0
    readonly property real tileWidth: Math.max(10, (width - 3 * columnSpacing) / 4)

    signal picked(int outfit)

    columns: 4
    columnSpacing: 10
    rowSpacing: 12

    Accessible.role: Accessible.Grouping
    Accessible.name: "Wardrobe"

    Repeater {
        model: Catalog.outfits

        OutfitTile {
            required property int modelData
            objectName: "tile_" + Catalog.outfitRawValue(modelData)
            width: grid.tileWidth
            outfit: modelData
            selected: grid.selection === modelData
            onPicked: grid.picked(modelData)
        }
    }
}
