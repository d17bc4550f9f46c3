import QtQuick
import QtQuick.Controls
import Velk

// Every command of the program with its shortcut, active from anywhere in the window, and the primary
// menu that lists them. The commands that must not act under the preview sheet go off while it shows.
Item {
    id: root

    readonly property bool previewOpen: AppState.previewItem !== undefined && AppState.previewItem !== null

    function openMenu(button) {
        menu.popup(button, 0, button.height + 4)
    }
    function go(key) {
        AppState.selectKey(key)
    }

    ShellModel {
        id: shell
    }

    Action {
        id: checkUpdates
        text: "Check for Updates…"
        enabled: AppUpdater.canCheckForUpdates
        onTriggered: AppUpdater.checkForUpdates()
    }
    Action {
        id: copyText
        text: "Copy Text from Image"
        shortcut: "Ctrl+Shift+C"
        onTriggered: shell.copyTextFromImage()
    }
    Action {
        id: find
        text: "Find…"
        shortcut: "Ctrl+F"
        enabled: !root.previewOpen
        onTriggered: AppState.raiseFocusSearchToken()
    }
    Action {
        id: asCards
        text: "as Cards"
        shortcut: "Ctrl+1"
        checkable: true
        checked: AppState.viewMode === "grid"
        enabled: !root.previewOpen
        onTriggered: AppState.viewMode = "grid"
    }
    Action {
        id: asList
        text: "as List"
        shortcut: "Ctrl+2"
        checkable: true
        checked: AppState.viewMode === "list"
        enabled: !root.previewOpen
        onTriggered: AppState.viewMode = "list"
    }
    Action {
        id: toggleSidebar
        text: "Toggle Sidebar"
        shortcut: "F9"
        enabled: !root.previewOpen
        onTriggered: AppState.sidebarCollapsed = !AppState.sidebarCollapsed
    }
    Action {
        id: showDetails
        text: "Show Details"
        shortcut: "Ctrl+I"
        onTriggered: AppState.showInspector = !AppState.showInspector
    }
    Action {
        id: refresh
        text: "Refresh"
        shortcut: "Ctrl+R"
        enabled: !root.previewOpen
        onTriggered: AppState.raiseRefreshToken()
    }
    Action {
        id: goHome
        text: "Home"
        shortcut: "Ctrl+Shift+H"
        enabled: !root.previewOpen
        onTriggered: root.go("home")
    }
    Action {
        id: goRecents
        text: "Recents"
        shortcut: "Ctrl+Shift+F"
        enabled: !root.previewOpen
        onTriggered: root.go("smart/recents")
    }
    Action {
        id: goDuplicates
        text: "Duplicates"
        shortcut: "Ctrl+Shift+D"
        enabled: !root.previewOpen
        onTriggered: root.go("duplicates")
    }
    Action {
        id: goCleanup
        text: "Clean Up"
        shortcut: "Ctrl+Shift+K"
        enabled: !root.previewOpen
        onTriggered: root.go("cleanupHub")
    }
    Action {
        id: goSources
        text: "Downloaded From"
        shortcut: "Ctrl+Shift+J"
        enabled: !root.previewOpen
        onTriggered: root.go("sources")
    }
    Action {
        id: back
        text: "Back"
        shortcut: "Alt+Left"
        enabled: !root.previewOpen
        onTriggered: shell.back()
    }
    Action {
        id: playPause
        text: Player.isPlaying ? "Pause" : "Play"
        shortcut: "Ctrl+Alt+Space"
        onTriggered: Player.togglePlay()
    }
    Action {
        id: next
        text: "Next"
        shortcut: "Ctrl+Alt+Right"
        onTriggered: Player.next()
    }
    Action {
        id: previous
        text: "Previous"
        shortcut: "Ctrl+Alt+Left"
        onTriggered: Player.previous()
    }
    Action {
        id: volumeUp
        text: "Volume Up"
        shortcut: "Ctrl+Up"
        onTriggered: shell.changeVolume(0.1)
    }
    Action {
        id: volumeDown
        text: "Volume Down"
        shortcut: "Ctrl+Down"
        onTriggered: shell.changeVolume(-0.1)
    }

    // Second keys for the same commands: the F-key habits of Linux desktops, Ctrl+[ where a layout
    // has it, and the media keys.
    Shortcut {
        sequences: ["F5"]
        enabled: refresh.enabled
        onActivated: refresh.trigger()
    }
    Shortcut {
        sequences: ["Ctrl+["]
        enabled: back.enabled
        onActivated: back.trigger()
    }
    Shortcut {
        sequences: ["Ctrl+Alt+S"]
        enabled: toggleSidebar.enabled
        onActivated: toggleSidebar.trigger()
    }
    Shortcut {
        sequences: [Qt.Key_MediaTogglePlayPause, Qt.Key_MediaPlay, Qt.Key_MediaPause]
        onActivated: Player.togglePlay()
    }
    Shortcut {
        sequences: [Qt.Key_MediaNext]
        onActivated: Player.next()
    }
    Shortcut {
        sequences: [Qt.Key_MediaPrevious]
        onActivated: Player.previous()
    }

    Action {
        id: goImages
        text: "Images"
        shortcut: "Alt+1"
        enabled: !root.previewOpen
        onTriggered: root.go("category/images")
    }
    Action {
        id: goVideos
        text: "Videos"
        shortcut: "Alt+2"
        enabled: !root.previewOpen
        onTriggered: root.go("category/videos")
    }
    Action {
        id: goMusic
        text: "Music"
        shortcut: "Alt+3"
        enabled: !root.previewOpen
        onTriggered: root.go("category/music")
    }
    Action {
        id: goDocuments
        text: "Documents"
        shortcut: "Alt+4"
        enabled: !root.previewOpen
        onTriggered: root.go("category/documents")
    }
    Action {
        id: goArchives
        text: "Archives"
        shortcut: "Alt+5"
        enabled: !root.previewOpen
        onTriggered: root.go("category/archives")
    }
    Action {
        id: goApps
        text: "Apps"
        shortcut: "Alt+6"
        enabled: !root.previewOpen
        onTriggered: root.go("category/apps")
    }

    // The places are known only when the window opens; they go in before the separator above Back.
    Instantiator {
        model: shell.locations
        delegate: MenuItem {
            required property var modelData
            text: modelData.title
            enabled: !root.previewOpen
            onTriggered: root.go(modelData.key)
        }
        onObjectAdded: (index, object) => goMenu.insertItem(goMenu.count - 2, object)
        onObjectRemoved: (index, object) => goMenu.removeItem(object)
    }

    Menu {
        id: menu
        objectName: "primaryMenu"

        Menu {
            title: "Edit"
            MenuItem { action: copyText }
            MenuItem { action: find }
        }
        Menu {
            title: "View"
            MenuItem { action: asCards }
            MenuItem { action: asList }
            MenuSeparator {}
            MenuItem { action: toggleSidebar }
            MenuItem { action: showDetails }
            MenuItem { action: refresh }
        }
        Menu {
            id: goMenu
            title: "Go"
            MenuItem { action: goHome }
            MenuItem { action: goRecents }
            MenuItem { action: goDuplicates }
            MenuItem { action: goCleanup }
            MenuItem { action: goSources }
            MenuSeparator {}
            MenuItem { action: goImages }
            MenuItem { action: goVideos }
            MenuItem { action: goMusic }
            MenuItem { action: goDocuments }
            MenuItem { action: goArchives }
            MenuItem { action: goApps }
            MenuSeparator {}
            MenuSeparator {
                id: locationsEnd
            }
            MenuItem { action: back }
        }
        Menu {
            title: "Controls"
            MenuItem { action: playPause }
            MenuItem { action: next }
            MenuItem { action: previous }
            MenuSeparator {}
            MenuItem { action: volumeUp }
            MenuItem { action: volumeDown }
        }
        MenuSeparator {}
        MenuItem { action: checkUpdates }
        MenuItem {
            text: "About Velk " + AppUpdater.currentVersion
            enabled: false
        }
    }
}
