import QtQuick

// The router: the one place that decides which screen fills the area under the top bar.
Rectangle {
    id: root

    readonly property string key: AppState.selectionKey
    readonly property string route: AppState.isSearching ? "search" : key === "" || key === "home" ? "home" : key.startsWith("smart/") || key.startsWith("category/") ? "collection" : key.startsWith("location/") ? "folder" : "other"

    color: Theme.bg

    Loader {
        id: screen
        objectName: "screen:" + root.route
        anchors.fill: parent
        sourceComponent: root.route === "search" ? searchScreen : root.route === "collection" ? collectionScreen : root.route === "folder" ? folderScreen : root.route === "home" ? homeScreen : otherScreen
    }

    Component {
        id: searchScreen
        SearchView {}
    }
    Component {
        id: collectionScreen
        CollectionView {
            itemKey: root.key
        }
    }
    Component {
        id: folderScreen
        FolderView {
            locationKey: root.key
        }
    }
    Component {
        id: homeScreen
        HomeView {}
    }
    Component {
        id: otherScreen
        PendingView {
            key: root.key
        }
    }
}
