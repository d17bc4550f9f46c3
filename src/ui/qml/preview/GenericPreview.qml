import QtQuick
import QtQuick.Layouts
import Velk

// What stands for a file that cannot be shown itself: its icon, its name, its kind and its size.
Item {
    id: root

    required property var item

    Accessible.role: Accessible.StaticText
    Accessible.name: item ? item.name + ", " + item.kindDescription : ""

    ColumnLayout {
        anchors.centerIn: parent
        width: Math.min(parent.width - 40, 420)
        spacing: 8

        Image {
            objectName: "genericIcon"
            Layout.alignment: Qt.AlignHCenter
            Layout.preferredWidth: Math.min(128, root.height / 3)
            Layout.preferredHeight: Layout.preferredWidth
            source: root.item && root.item.isValid ? ImageSources.icon(root.item.url) : ""
            sourceSize.width: 256
            sourceSize.height: 256
            fillMode: Image.PreserveAspectFit
            asynchronous: true
        }
        Text {
            Layout.fillWidth: true
            horizontalAlignment: Text.AlignHCenter
            elide: Text.ElideMiddle
            text: root.item ? root.item.name : ""
            font.pixelSize: 15
            font.weight: Font.DemiBold
            color: Theme.ink
        }
        Text {
            Layout.fillWidth: true
            horizontalAlignment: Text.AlignHCenter
            text: root.item ? (root.item.isFolder ? root.item.kindDescription : root.item.kindDescription + " · " + root.item.sizeText) : ""
            font.pixelSize: 12
            color: Theme.secondary
        }
    }
}
