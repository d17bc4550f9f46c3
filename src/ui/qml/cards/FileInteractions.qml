import QtQuick
import Velk

// What a file tile does with the mouse: a click marks it (Ctrl adds or removes), a double click opens
// it the way its kind is opened, the right button asks for the file menu, and a drag carries the
// file out of the window.
Item {
    id: root

    required property var item
    required property var browser

    signal tapped

    MouseArea {
        id: mouse
        anchors.fill: parent
        acceptedButtons: Qt.LeftButton | Qt.RightButton
        onClicked: event => {
            if (event.button === Qt.RightButton) {
                root.browser.openContextMenu(root.item)
                return
            }
            root.browser.model.tapped(root.item.url, event.modifiers)
            root.tapped()
        }
        onDoubleClicked: event => {
            if (event.button === Qt.LeftButton)
                root.browser.model.doubleTapped(root.item.url)
        }
    }

    DragHandler {
        id: drag
        target: null
    }

    Drag.active: drag.active
    Drag.dragType: Drag.Automatic
    Drag.supportedActions: Qt.CopyAction
    // One string of file URLs: a list here would reach the drop target empty.
    Drag.mimeData: {
        "text/uri-list": drag.active ? root.browser.model.dragUriList(root.item.url) : ""
    }
}
