import QtQuick
import QtQuick.Layouts
import Velk

// How the sentence was understood, as read-only chips.
Flow {
    id: root

    property var chips: []

    spacing: 6
    Accessible.role: Accessible.StaticText
    Accessible.name: "Understood as " + chips.join(", ")

    Symbol {
        name: "sparkles"
        size: 11
        color: Theme.secondary
        height: 22
    }
    Text {
        height: 22
        verticalAlignment: Text.AlignVCenter
        text: "Understood as"
        font.pixelSize: 11
        color: Theme.secondary
    }
    Repeater {
        model: root.chips
        delegate: Rectangle {
            required property string modelData
            required property int index
            readonly property color tint: Theme.pastels[index % Theme.pastels.length]
            width: chipText.implicitWidth + 18
            height: 22
            radius: 11
            color: Qt.rgba(tint.r, tint.g, tint.b, 0.12)
            border.color: Qt.rgba(tint.r, tint.g, tint.b, 0.25)
            border.width: 1
            Text {
                id: chipText
                anchors.centerIn: parent
                text: parent.modelData
                font.pixelSize: 11
                font.weight: Font.Medium
                color: Theme.ink
            }
        }
    }
}
