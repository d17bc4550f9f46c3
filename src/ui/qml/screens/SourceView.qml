import QtQuick
import Velk

// The downloads of one source.
FileBrowser {
    id: root

    property string key
    objectName: "sourceView"

    source: SourceItemsSource {
        itemKey: root.key
    }
}
