import QtQuick
import Velk

// A folder card for any folder: it reads its own contents to count them and show the newest pictures.
FolderCard {
    id: root

    required property url url
    property var item: null
    property var browser: null

    title: folder.title
    count: folder.count
    previews: folder.previews

    FolderPreview {
        id: folder
        url: root.url
    }

    FileInteractions {
        anchors.fill: parent
        visible: root.item !== null && root.browser !== null
        item: root.item
        browser: root.browser
        onTapped: root.browser.takeFocus()
    }
}
