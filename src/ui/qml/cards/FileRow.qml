import QtQuick
import QtQuick.Layouts
import Velk

// A file in the list: a thumbnail, its name and kind, the app that opens it, its date and size.
Rectangle {
    id: root

    objectName: "card:" + (item ? item.name : "")

    required property var item
    required property var browser
    property bool isSelected
    property bool isPlaying
    readonly property bool hovering: hover.hovered

    implicitHeight: 52
    radius: 8
    color: isSelected ? Qt.rgba(Theme.ink.r, Theme.ink.g, Theme.ink.b, 0.07) : hovering ? Theme.fill : "transparent"

    Accessible.role: Accessible.ListItem
    Accessible.name: item.displayTitle
    Accessible.description: item.kindDescription
    Accessible.selected: isSelected

    HoverHandler {
        id: hover
    }

    RowLayout {
        anchors.fill: parent
        anchors.leftMargin: 8
        anchors.rightMargin: 12
        spacing: 12

        Item {
            Layout.preferredWidth: 40
            Layout.preferredHeight: 40
            Image {
                id: thumb
                anchors.fill: parent
                source: ImageSources.thumbnail(root.item.url, 64)
                sourceSize.width: 80
                sourceSize.height: 80
                fillMode: Image.PreserveAspectFit
                asynchronous: true
                visible: status === Image.Ready && implicitWidth > 1
            }
            Image {
                anchors.fill: parent
                visible: !thumb.visible
                source: ImageSources.icon(root.item.url)
                sourceSize.width: 80
                sourceSize.height: 80
                fillMode: Image.PreserveAspectFit
                asynchronous: true
            }
        }
        ColumnLayout {
            Layout.fillWidth: true
            Layout.preferredWidth: 1
            spacing: 2
            Text {
                Layout.fillWidth: true
                text: root.item.displayTitle
                elide: Text.ElideMiddle
                font.pixelSize: 13
                color: Theme.ink
            }
            Text {
                Layout.fillWidth: true
                text: root.item.kindDescription
                elide: Text.ElideRight
                font.pixelSize: 11
                color: Theme.secondary
            }
        }
        Item {
            Layout.preferredWidth: 20
            Layout.preferredHeight: 20
            Image {
                anchors.fill: parent
                source: ImageSources.defaultApp(root.item.url)
                sourceSize.width: 40
                sourceSize.height: 40
                asynchronous: true
                fillMode: Image.PreserveAspectFit
            }
        }
        ColumnLayout {
            Layout.preferredWidth: 170
            spacing: 2
            Text {
                Layout.fillWidth: true
                horizontalAlignment: Text.AlignRight
                text: root.item.dateText
                font.pixelSize: 11
                color: Theme.secondary
            }
            Text {
                Layout.fillWidth: true
                horizontalAlignment: Text.AlignRight
                text: root.item.sizeText
                font.pixelSize: 11
                color: Theme.tertiary
            }
        }
    }

    FileInteractions {
        anchors.fill: parent
        item: root.item
        browser: root.browser
        onTapped: root.browser.takeFocus()
    }
}
