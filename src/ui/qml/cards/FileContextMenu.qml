import QtQuick
import QtQuick.Controls
import Velk

// The file menu of every tile: its entries and their actions come from FileMenu.
Menu {
    id: root
    objectName: "fileContextMenu"

    required property var browser

    function openFor(item) {
        files.prepare(item.url, browser.model)
        popup()
    }

    FileMenu {
        id: files
    }

    Instantiator {
        model: files.entries
        delegate: MenuItem {
            required property var modelData
            text: modelData.text
            icon.source: modelData.symbol ? Symbols.source(modelData.symbol) : ""
            enabled: !modelData.separator
            visible: !modelData.separator
            height: modelData.separator ? 9 : implicitHeight
            // Moving to the Trash reads in red, as a warning.
            palette.windowText: modelData.destructive ? Theme.red : Theme.ink
            palette.text: modelData.destructive ? Theme.red : Theme.ink
            palette.buttonText: modelData.destructive ? Theme.red : Theme.ink
            icon.color: modelData.destructive ? Theme.red : Theme.ink
            onTriggered: files.trigger(modelData.id)
            Accessible.name: modelData.text
        }
        onObjectAdded: (index, object) => root.insertItem(index, object)
        onObjectRemoved: (index, object) => root.removeItem(object)
    }
}
