import QtQuick
import Velk

// The drawing for a file without a picture: an album cover for music, a sheet of paper for the rest.
Item {
    id: root

    required property var item

    readonly property bool music: item && item.category === "music"

    Rectangle {
        visible: root.music
        anchors.centerIn: parent
        width: Math.min(parent.width, parent.height) - 20
        height: width
        radius: 8
        gradient: Gradient {
            GradientStop {
                position: 0
                color: Theme.pastel(root.item ? root.item.album + root.item.artist : "")
            }
            GradientStop {
                position: 1
                color: Qt.darker(Theme.pastel(root.item ? root.item.album + root.item.artist : ""), 1.35)
            }
        }
        Symbol {
            anchors.centerIn: parent
            anchors.verticalCenterOffset: -8
            name: "music.note"
            size: Math.max(16, parent.width / 4)
            color: "white"
        }
        Text {
            anchors.bottom: parent.bottom
            anchors.bottomMargin: 8
            anchors.horizontalCenter: parent.horizontalCenter
            width: parent.width - 16
            horizontalAlignment: Text.AlignHCenter
            elide: Text.ElideRight
            text: root.item ? [root.item.album, root.item.artist].filter(s => s !== "").join(" · ") : ""
            font.pixelSize: 10
            color: "white"
        }
    }

    Rectangle {
        visible: !root.music
        anchors.centerIn: parent
        height: parent.height - 20
        width: Math.min(parent.width - 20, height * 0.78)
        radius: 6
        color: Theme.card
        border.color: Theme.line
        border.width: 1
        Column {
            anchors.centerIn: parent
            spacing: 6
            Symbol {
                anchors.horizontalCenter: parent.horizontalCenter
                name: root.item ? Format.categorySymbol(root.item.category) : "doc"
                size: 22
                color: Theme.secondary
            }
            Text {
                anchors.horizontalCenter: parent.horizontalCenter
                text: root.item && root.item.extension !== "" ? root.item.extension.toUpperCase() : "FILE"
                font.pixelSize: 10
                font.weight: Font.DemiBold
                color: Theme.tertiary
            }
        }
    }
}
