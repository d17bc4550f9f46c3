import QtQuick
import Velk

// A file's picture at its own proportions, or its placeholder while there is none.
Item {
    id: root

    required property var item
    property bool isPlaying
    property bool hovering
    // The side of the picture asked for, in points.
    property int side: 320

    readonly property bool hasPicture: picture.status === Image.Ready && picture.implicitWidth > 1

    PlaceholderCover {
        anchors.fill: parent
        item: root.item
        visible: !root.hasPicture
    }

    Rectangle {
        // A soft shadow under a real picture.
        x: picture.x + (picture.width - picture.paintedWidth) / 2 + 1
        y: picture.y + (picture.height - picture.paintedHeight) / 2 + 3
        width: picture.paintedWidth
        height: picture.paintedHeight
        radius: 4
        color: Qt.rgba(0, 0, 0, 0.18)
        visible: root.hasPicture
    }

    Image {
        id: picture
        anchors.fill: parent
        anchors.margins: 10
        source: root.item && root.item.isValid ? ImageSources.thumbnail(root.item.url, root.side) : ""
        sourceSize.width: root.side * 2
        sourceSize.height: root.side * 2
        fillMode: Image.PreserveAspectFit
        asynchronous: true
        cache: false
        smooth: true
        mipmap: true
        visible: root.hasPicture
    }

    Loader {
        anchors.centerIn: parent
        active: root.item && root.item.category === "videos" && (root.hovering || root.isPlaying)
        sourceComponent: Rectangle {
            width: 36
            height: 36
            radius: 18
            color: Qt.rgba(0, 0, 0, 0.45)
            Symbol {
                anchors.centerIn: parent
                name: "play.fill"
                size: 13
                color: "white"
            }
        }
    }
}
