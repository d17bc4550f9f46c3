import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Velk

// A file in the grid: its picture over its name and a tag line.
Item {
    id: root

    objectName: "card:" + (item ? item.name : "")

    required property var item
    required property var browser
    property bool isSelected
    property bool isPlaying
    readonly property bool hovering: hover.hovered

    implicitHeight: pictureArea.height + 8 + titleText.implicitHeight + 2 + tagLine.implicitHeight

    Accessible.role: Accessible.ListItem
    Accessible.name: item.displayTitle
    Accessible.description: tagLine.text
    Accessible.selected: isSelected

    HoverHandler {
        id: hover
    }

    Rectangle {
        id: pictureArea
        width: parent.width
        height: Math.round(width * 0.75)
        radius: 10
        color: Theme.fill
        border.color: root.isSelected ? Theme.ink : Theme.line
        border.width: root.isSelected ? 2 : 1
        clip: true

        FitThumbnail {
            anchors.fill: parent
            item: root.item
            side: Math.max(160, pictureArea.width)
            hovering: root.hovering
            isPlaying: root.isPlaying
            scale: root.hovering ? 1.03 : 1.0
            Behavior on scale {
                NumberAnimation {
                    duration: 150
                }
            }
        }
    }

    Text {
        id: titleText
        anchors.top: pictureArea.bottom
        anchors.topMargin: 8
        width: parent.width
        text: root.item.displayTitle
        elide: Text.ElideMiddle
        font.pixelSize: 13
        color: Theme.ink
    }
    Text {
        id: tagLine
        anchors.top: titleText.bottom
        anchors.topMargin: 2
        width: parent.width
        text: root.browser.model.tagText(root.item)
        elide: Text.ElideRight
        font.pixelSize: 11
        color: Theme.secondary
    }

    FileInteractions {
        anchors.fill: parent
        item: root.item
        browser: root.browser
        onTapped: root.browser.takeFocus()
    }

    // Made only for the card under the pointer: a grid scrolls faster with less in each card.
    Loader {
        anchors.bottom: pictureArea.bottom
        anchors.right: pictureArea.right
        anchors.margins: 8
        active: root.hovering && root.item.category === "images" && root.browser.model.canCopyText(root.item)
        sourceComponent: Button {
            text: "Copy Text"
            icon.source: Symbols.source("text.viewfinder")
            icon.width: 11
            icon.height: 11
            font.pixelSize: 11
            padding: 4
            ToolTip.visible: hovered
            ToolTip.delay: 600
            ToolTip.text: "Copy the text in this image"
            onClicked: root.browser.model.copyText(root.item)
        }
    }

    Loader {
        anchors.top: pictureArea.top
        anchors.right: pictureArea.right
        anchors.margins: 8
        active: root.hovering
        sourceComponent: DotsButton {
            onClicked: root.browser.openContextMenu(root.item)
        }
    }
}
