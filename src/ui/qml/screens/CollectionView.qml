import QtQuick

// A smart collection or a kind of file.
FileBrowser {
    id: root

    property string itemKey

    source: CollectionSource {
        itemKey: root.itemKey
    }
}
