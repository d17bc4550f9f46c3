import QtQuick
import QtQuick.Layouts
import Velk

// A file on a home shelf: its picture and name; a click marks it, a double click opens it.
Item {
    id: root

    required property var item

    implicitHeight: picture.height + 8 + name.implicitHeight
    Accessible.role: Accessible.ListItem
    Accessible.name: item.displayTitle

    Rectangle {
        id: picture
        width: parent.width
        height: Math.round(width * 0.75)
        radius: 10
        color: Theme.fill
        border.color: Theme.line
        border.width: 1
        clip: true
        FitThumbnail {
            anchors.fill: parent
            item: root.item
            side: 320
        }
    }
    Text {
        id: name
        anchors.top: picture.bottom
        anchors.topMargin: 8
        width: parent.width
        text: root.item.displayTitle
        elide: Text.ElideMiddle
        font.pixelSize: 13
        color: Theme.ink
    }
}
