import QtQuick
import Velk

// The router: the one place that decides which screen fills the area under the top bar.
Rectangle {
    id: root

    readonly property string key: AppState.selectionKey
    readonly property string route: AppState.isSearching ? "search" : key === "" || key === "home" ? "home" : key.startsWith("smart/") || key.startsWith("category/") ? "collection" : key.startsWith("location/") ? "folder" : key === "cleanupHub" ? "cleanupHub" : key.startsWith("cleanup/") ? "cleanup" : key === "sources" ? "sources" : key.startsWith("source/") ? "source" : key === "duplicates" ? "duplicates" : "home"
    readonly property var screens: ({
            "search": "SearchView.qml",
            "home": "HomeView.qml",
            "collection": "CollectionView.qml",
            "folder": "FolderView.qml",
            "cleanupHub": "CleanupHubView.qml",
            "cleanup": "CleanupReviewView.qml",
            "sources": "SourcesHubView.qml",
            "source": "SourceView.qml",
            "duplicates": "DuplicatesView.qml"
        })

    color: Theme.bg

    Loader {
        id: screen
        objectName: "screen:" + root.route
        anchors.fill: parent
        source: Qt.resolvedUrl(root.screens[root.route])
    }

    // The screen learns which destination it shows; a collection or a folder screen stays loaded
    // while the destination changes within its kind.
    Binding {
        target: screen.item
        property: "key"
        value: root.key
        when: screen.status === Loader.Ready && root.route !== "search" && root.route !== "home"
    }
}
