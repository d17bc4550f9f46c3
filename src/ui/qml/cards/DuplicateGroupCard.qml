import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Velk

pragma ComponentBehavior: Bound

// One group of copies: how many and what trashing the extras frees, the button that does it, and a
// sideways row of the files with the one to keep marked. A click keeps a file instead.
Rectangle {
    id: root

    required property string groupId
    required property string title
    required property string freeable
    required property string trashLabel
    required property var tiles
    property bool isSimilar
    property bool busy

    signal keep(url file)
    signal trash
    signal preview(url file)
    signal reveal(url file)

    implicitHeight: column.implicitHeight + 32
    radius: 16
    color: Theme.card
    border.color: Theme.line
    border.width: 1

    ColumnLayout {
        id: column
        x: 16
        y: 16
        width: parent.width - 32
        spacing: 12

        RowLayout {
            Layout.fillWidth: true
            spacing: 8
            Text {
                text: root.title
                font.pixelSize: 14
                font.weight: Font.DemiBold
                color: Theme.ink
            }
            Text {
                text: root.freeable
                font.pixelSize: 11
                color: Theme.secondary
                Layout.fillWidth: true
                elide: Text.ElideRight
            }
            Button {
                objectName: "keepOne:" + root.groupId
                Accessible.name: text
                text: root.trashLabel
                enabled: !root.busy
                font.pixelSize: 12
                icon.source: Symbols.source("trash")
                icon.width: 12
                icon.height: 12
                onClicked: root.trash()
            }
        }

        ListView {
            id: row
            Layout.fillWidth: true
            Layout.preferredHeight: 168 * 0.75 + 58
            orientation: ListView.Horizontal
            spacing: 12
            clip: true
            boundsBehavior: Flickable.StopAtBounds
            model: root.tiles
            ScrollBar.horizontal: ScrollBar {}
            delegate: Item {
                id: tile
                required property var modelData
                required property int index
                readonly property var file: modelData.item
                readonly property bool isKept: modelData.keep
                objectName: "duplicateTile:" + file.name
                width: 168
                height: row.height
                Accessible.role: Accessible.Button
                Accessible.name: file.name + (isKept ? ", kept" : ", to trash")
                Accessible.description: "Click to keep this copy · double-click to preview"
                Accessible.onPressAction: root.keep(file.url)

                Rectangle {
                    id: picture
                    width: parent.width
                    height: Math.round(width * 0.75)
                    radius: 10
                    color: Theme.fill
                    border.color: tile.isKept ? Theme.green : Theme.line
                    border.width: tile.isKept ? 2 : 1
                    clip: true
                    FitThumbnail {
                        anchors.fill: parent
                        item: tile.file
                        side: 168
                    }
                    Rectangle {
                        anchors.left: parent.left
                        anchors.top: parent.top
                        anchors.margins: 8
                        width: badgeText.implicitWidth + 14
                        height: 20
                        radius: 10
                        color: tile.isKept ? Theme.green : Theme.red
                        Text {
                            id: badgeText
                            anchors.centerIn: parent
                            text: tile.isKept ? "Keep" : "Trash"
                            font.pixelSize: 10
                            font.weight: Font.Bold
                            color: "white"
                        }
                    }
                }
                Text {
                    id: nameText
                    anchors.top: picture.bottom
                    anchors.topMargin: 6
                    width: parent.width
                    text: tile.file.name
                    elide: Text.ElideMiddle
                    font.pixelSize: 12
                    color: Theme.ink
                }
                Text {
                    id: folderText
                    anchors.top: nameText.bottom
                    anchors.topMargin: 1
                    width: parent.width
                    text: tile.modelData.folder
                    elide: Text.ElideMiddle
                    font.pixelSize: 10
                    color: Theme.secondary
                }
                Text {
                    anchors.top: folderText.bottom
                    width: parent.width
                    text: tile.modelData.size + " · " + tile.modelData.date
                    elide: Text.ElideRight
                    font.pixelSize: 10
                    color: Theme.tertiary
                }

                MouseArea {
                    anchors.fill: parent
                    acceptedButtons: Qt.LeftButton | Qt.RightButton
                    hoverEnabled: true
                    cursorShape: Qt.PointingHandCursor
                    ToolTip.visible: containsMouse
                    ToolTip.delay: 800
                    ToolTip.text: "Click to keep this copy · double-click to preview"
                    onClicked: mouse => {
                        if (mouse.button === Qt.RightButton)
                            root.openMenu(tile.file)
                        else
                            root.keep(tile.file.url)
                    }
                    onDoubleClicked: mouse => {
                        if (mouse.button === Qt.LeftButton)
                            root.preview(tile.file.url)
                    }
                }
            }
        }
    }

    // One menu for the card, made when first asked for, about the tile it opened on.
    function openMenu(file) {
        menuLoader.active = true
        menuLoader.item.file = file
        menuLoader.item.popup()
    }
    Loader {
        id: menuLoader
        active: false
        sourceComponent: Menu {
            id: menu
            property var file
            MenuItem {
                text: "Keep This Copy"
                icon.source: Symbols.source("checkmark.circle")
                onTriggered: root.keep(menu.file.url)
            }
            MenuItem {
                text: "Quick Look"
                icon.source: Symbols.source("eye")
                onTriggered: root.preview(menu.file.url)
            }
            MenuItem {
                text: "Show in Files"
                icon.source: Symbols.source("folder")
                onTriggered: root.reveal(menu.file.url)
            }
        }
    }
}
