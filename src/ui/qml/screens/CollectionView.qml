import QtQuick
import Velk

// A smart collection or a kind of file.
FileBrowser {
    id: root

    property string key

    source: CollectionSource {
        itemKey: root.key
    }
}
