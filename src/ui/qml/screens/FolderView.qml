import QtQuick

// The direct contents of a folder, read from the disk, with the crumbs of the walk below a place.
FileBrowser {
    id: root

    property string locationKey

    source: FolderSource {
        id: folder
        locationKey: root.locationKey
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
