import QtQuick
import QtQuick.Layouts
import Velk

// A card in the form of a folder: previews of what is inside, the title and a count or detail.
Item {
    id: root

    property string title
    property color tint: Theme.pastel(title)
    property int count: -1
    property string detail
    property var previews: []
    property bool isSelected
    readonly property bool hovering: hover.hovered

    signal clicked
    signal doubleClicked
    signal contextRequested

    implicitHeight: 162

    Accessible.role: Accessible.Button
    Accessible.name: title
    Accessible.description: subtitle.text

    HoverHandler {
        id: hover
    }

    FolderShape {
        anchors.fill: parent
        fillColor: Qt.rgba(root.tint.r, root.tint.g, root.tint.b, root.hovering ? 0.2 : 0.14)
        strokeColor: root.isSelected ? Theme.ink : Qt.rgba(root.tint.r, root.tint.g, root.tint.b, 0.35)
        strokeWidth: root.isSelected ? 2 : 1
        tabWidthFraction: 0.38
        tabHeight: 12
        radius: 12
    }

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: 16
        anchors.topMargin: 24
        spacing: 4

        PreviewStack {
            Layout.preferredHeight: 72
            Layout.fillWidth: true
            items: root.previews
            tint: root.tint
        }
        Item {
            Layout.fillHeight: true
        }
        Text {
            Layout.fillWidth: true
            text: root.title
            elide: Text.ElideMiddle
            font.pixelSize: 15
            color: Theme.ink
        }
        Text {
            id: subtitle
            Layout.fillWidth: true
            text: root.detail !== "" ? root.detail : root.count >= 0 ? Format.counted(root.count, "item") : ""
            font.pixelSize: 12
            color: Theme.secondary
        }
    }
}
