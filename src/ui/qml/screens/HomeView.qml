import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Velk

pragma ComponentBehavior: Bound

// The first screen: a greeting, the library in one line, the six kinds, the main folders and the
// shelves of recent files, all from what the stores already hold.
Flickable {
    id: root

    // The destination on show; the same for every search and for home.
    property string key
    objectName: "homeView"

    contentWidth: width
    contentHeight: column.implicitHeight + 28 + 40
    clip: true
    boundsBehavior: Flickable.StopAtBounds
    ScrollBar.vertical: ScrollBar {}

    readonly property int columns: Math.max(1, Math.floor((width - 2 * 36 + 22) / (240 + 22)))
    readonly property real cellWidth: (width - 2 * 36 - (columns - 1) * 22) / columns

    HomeModel {
        id: home
    }

    ColumnLayout {
        id: column
        x: 36
        y: 28
        width: root.width - 72
        spacing: 34

        RowLayout {
            Layout.fillWidth: true
            ColumnLayout {
                spacing: 4
                Text {
                    objectName: "greeting"
                    text: home.greeting
                    font.pixelSize: 28
                    color: Theme.ink
                    Accessible.role: Accessible.Heading
                    Accessible.name: text
                }
                Text {
                    objectName: "homeSummary"
                    text: home.summary
                    font.pixelSize: 12
                    color: Theme.secondary
                }
            }
            Item {
                Layout.fillWidth: true
            }
            Button {
                objectName: "refreshButton"
                text: "Refresh"
                icon.source: Symbols.source("arrow.clockwise")
                icon.width: 12
                icon.height: 12
                font.pixelSize: 12
                flat: true
                Accessible.name: "Refresh"
                onClicked: AppState.raiseRefreshToken()
            }
        }

        ColumnLayout {
            Layout.fillWidth: true
            spacing: 16
            SectionTitle {
                title: "Library"
                count: 6
            }
            Flow {
                Layout.fillWidth: true
                spacing: 22
                Repeater {
                    model: home.categories
                    delegate: FolderCard {
                        id: tile
                        required property var modelData
                        objectName: "categoryTile:" + modelData.key
                        width: root.cellWidth
                        title: modelData.title
                        tint: Format.categoryTint(modelData.key)
                        count: modelData.count
                        detail: modelData.subtitle
                        previews: modelData.previews
                        TapHandler {
                            onTapped: AppState.selectKey(parent.modelData.key)
                        }
                        TapHandler {
                            acceptedButtons: Qt.RightButton
                            onTapped: tileMenu.popup()
                        }
                        function openMenu() {
                            tileMenu.popup()
                        }
                        Menu {
                            id: tileMenu
                            MenuItem {
                                text: "Open " + tile.modelData.title
                                onTriggered: AppState.selectKey(tile.modelData.key)
                            }
                            MenuItem {
                                text: "Refresh"
                                icon.source: Symbols.source("arrow.clockwise")
                                onTriggered: AppState.raiseRefreshToken()
                            }
                        }
                    }
                }
            }
        }

        CleanupSection {
            Layout.fillWidth: true
            showsHeader: true
        }

        SourcesSection {
            Layout.fillWidth: true
            limit: 8
        }

        ColumnLayout {
            Layout.fillWidth: true
            spacing: 16
            SectionTitle {
                title: "Folders"
            }
            Flow {
                Layout.fillWidth: true
                spacing: 22
                Repeater {
                    model: home.folders
                    delegate: FolderItemCard {
                        required property var modelData
                        width: root.cellWidth
                        url: modelData.url
                        tint: Theme.pastels[modelData.tint]
                        TapHandler {
                            onTapped: AppState.selectKey(parent.modelData.key)
                        }
                    }
                }
            }
        }

        Repeater {
            model: home.shelves
            delegate: ColumnLayout {
                id: shelf
                required property var modelData
                Layout.fillWidth: true
                spacing: 12
                RowLayout {
                    Layout.fillWidth: true
                    SectionTitle {
                        title: shelf.modelData.title
                        count: shelf.modelData.count
                    }
                    Item {
                        Layout.fillWidth: true
                    }
                    Button {
                        text: "See all"
                        flat: true
                        font.pixelSize: 12
                        icon.source: Symbols.source("arrow.right")
                        icon.width: 10
                        icon.height: 10
                        LayoutMirroring.enabled: true
                        onClicked: AppState.selectKey(shelf.modelData.key)
                    }
                }
                ListView {
                    Layout.fillWidth: true
                    Layout.preferredHeight: cardWidth * 0.75 + 60
                    readonly property int cardWidth: AppState.cardSize === "small" ? 200 : AppState.cardSize === "large" ? 320 : 250
                    orientation: ListView.Horizontal
                    spacing: 22
                    clip: true
                    model: shelf.modelData.items
                    delegate: ShelfCard {
                        required property var modelData
                        width: ListView.view.cardWidth
                        item: modelData
                    }
                }
            }
        }
    }
}
