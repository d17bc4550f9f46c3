import QtQuick
import Velk

// Up to three thumbnails fanned out, the first in front, with "+{extra}" when more are behind them.
Item {
    id: root

    property var items: []
    property int extra: 0
    property color tint: Theme.ink

    implicitWidth: 96
    implicitHeight: 72

    Symbol {
        anchors.centerIn: parent
        visible: root.items.length === 0 && root.extra === 0
        name: "folder"
        size: 30
        color: root.tint
    }

    Repeater {
        model: Math.min(3, root.items.length)
        delegate: Rectangle {
            required property int index
            readonly property var file: root.items[index]
            width: 58
            height: 58
            x: 6 + index * 16
            y: 6 + (2 - index) * 2
            z: 3 - index
            rotation: (index - 1) * 6
            radius: 8
            color: Theme.card
            border.color: Theme.line
            border.width: 1
            clip: true
            Image {
                id: stackThumb
                anchors.fill: parent
                anchors.margins: 2
                source: ImageSources.thumbnail(parent.file.url, 64)
                sourceSize.width: 128
                sourceSize.height: 128
                fillMode: Image.PreserveAspectCrop
                asynchronous: true
                visible: status === Image.Ready && implicitWidth > 1
            }
            Symbol {
                anchors.centerIn: parent
                visible: !stackThumb.visible
                name: Format.categorySymbol(parent.file.category)
                size: 18
                color: Theme.secondary
            }
        }
    }

    Rectangle {
        visible: root.extra > 0
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        width: extraText.implicitWidth + 10
        height: 18
        radius: 9
        color: Theme.ink
        Text {
            id: extraText
            anchors.centerIn: parent
            text: "+" + Math.min(99, root.extra)
            font.pixelSize: 10
            font.weight: Font.DemiBold
            color: Theme.bg
        }
    }
}
