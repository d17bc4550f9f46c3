import QtQuick
import Velk

// The direct contents of a folder, read from the disk, with the crumbs of the walk below a place.
FileBrowser {
    id: root

    property string key

    source: FolderSource {
        id: folder
        locationKey: root.key
    }
    accessory: folder.hasBack ? crumbs : null

    Component {
        id: crumbs
        PathBar {
            objectName: "pathBar"
            source: folder
        }
    }
}
